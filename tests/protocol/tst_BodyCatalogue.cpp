#include <protocol/BodyCatalogue.h>
#include <protocol/CommandChannel.h>

#include <tests/support/CommaLocale.h>
#include <tests/support/FakeHost.h>
#include <tests/support/TestMain.h>

#include <QtTest>

namespace {

const QString kStandard = QStringLiteral("standard");
const QString kVimbar = QStringLiteral("vimbar");

struct Setup {
    FakeHost host;
    CommandChannel channel{&host};
    BodyCatalogue catalogue{&channel, &host.versions};

    QStringList listedEntries()
    {
        QStringList entries;
        for (const BodyCatalogue::Item &item : catalogue.readBodyList().items)
            entries += item.entry.toText();
        return entries;
    }
};

// Two standard bodies and one vimbar.
struct ThreeBodies : Setup {
    ThreeBodies()
    {
        host.addBody(kStandard, 1, QStringLiteral("\"Wand\""), true, QStringLiteral("tt_std"),
                     {bsVector(1, 2, 3)});
        host.addBody(kStandard, 2, QString(), false, QStringLiteral("tt_5dof"), {});
        host.addBody(kVimbar, 1, QStringLiteral("Pen"), true, QStringLiteral("tt_std"), {});
    }

    void setMultiUser(const char *available, const char *on)
    {
        host.parameters[QStringLiteral("vimbar multiuser_available")] = QLatin1String(available);
        host.parameters[QStringLiteral("vimbar multiuser")] = QLatin1String(on);
    }
};

FakeHost::Answer value(const char *text)
{
    FakeHost::Answer answer;
    answer.text = text;
    return answer;
}

const QStringList kWholeBuild = {
    "get vimbar multiuser_available",
    "get body number_of_types",
    "get body type t01",
    "get body number_of_bodies standard",
    "get body type_desc standard",
    "get body calibrated standard b01",
    "get body target_type standard b01",
    "get body desc standard b01",
    "get body type_desc standard",
    "get body calibrated standard b02",
    "get body target_type standard b02",
    "get body desc standard b02",
    "get body type t02",
    "get body number_of_bodies vimbar",
    "get body type_desc vimbar",
    "get body calibrated vimbar b01",
    "get body target_type vimbar b01",
    "get body desc vimbar b01",
};

} // namespace

class tst_BodyCatalogue : public QObject {
    Q_OBJECT

private slots:
    void listsEveryBody();
    void startsAnewEachTime();
    void noTypesIsACompleteEmptyList_data();
    void noTypesIsACompleteEmptyList();
    void takesTypesInAnyCaseAndSkipsOthers_data();
    void takesTypesInAnyCaseAndSkipsOthers();
    void aTypeWithoutBodiesListsNone();
    void cleansTheTargetType_data();
    void cleansTheTargetType();
    void targetTypesAreAskedForFromVersion112On_data();
    void targetTypesAreAskedForFromVersion112On();
    void onlyYesIsCalibrated_data();
    void onlyYesIsCalibrated();
    void aFailedCalibrationReadIsReportedAndTheBuildGoesOn();
    void everyOtherFailedReadEndsTheBuild_data();
    void everyOtherFailedReadEndsTheBuild();
    void multiUserIsOnOnlyByTwoYes_data();
    void multiUserIsOnOnlyByTwoYes();
    void vimbarsAreLeftOutWithMultiUserAndDevices_data();
    void vimbarsAreLeftOutWithMultiUserAndDevices();
    void anUnknownNumberOfDevicesCountsAsMultiUserOff();
    void countsBodiesOrFallsBack();
    void loadsMarkersAndEmissions_data() { addLocaleRows(); }
    void loadsMarkersAndEmissions();
    void aBodyOfNoMarkersFailsWithoutAMessage_data();
    void aBodyOfNoMarkersFailsWithoutAMessage();
    void anUnknownNumberOfMarkersIsReported();
    void aFailedMarkerReadKeepsWhatWasReadBefore_data();
    void aFailedMarkerReadKeepsWhatWasReadBefore();
};

void tst_BodyCatalogue::listsEveryBody()
{
    ThreeBodies s;
    const BodyCatalogue::List list = s.catalogue.readBodyList();
    QVERIFY(list.complete);
    QVERIFY(!list.multiUserWarning);
    QCOMPARE(list.items.size(), 3);
    QCOMPARE(list.items.at(0).entry.toText(), QStringLiteral("standard|1|calibrated|tt_std"));
    QCOMPARE(list.items.at(0).displayText, QStringLiteral("Wand (Standard body 01)"));
    QCOMPARE(list.items.at(1).entry.toText(), QStringLiteral("standard|2|uncalibrated|tt_5dof"));
    QCOMPARE(list.items.at(1).displayText, QStringLiteral("Standard body 02"));
    QCOMPARE(list.items.at(2).entry.toText(), QStringLiteral("vimbar|1|calibrated|tt_std"));
    QCOMPARE(list.items.at(2).displayText, QStringLiteral("Pen (Vimbar 01)"));
    QCOMPARE(s.host.transcript, kWholeBuild);
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_BodyCatalogue::startsAnewEachTime()
{
    ThreeBodies s;
    QCOMPARE(s.catalogue.readBodyList().items.size(), 3);
    s.host.addBody(kStandard, 3, QStringLiteral("New"), true, QStringLiteral("tt_std"), {});
    QCOMPARE(s.catalogue.readBodyList().items.size(), 4);
}

void tst_BodyCatalogue::noTypesIsACompleteEmptyList_data()
{
    QTest::addColumn<QString>("count");
    QTest::newRow("0") << "0";
    QTest::newRow("negative") << "-1";
}

void tst_BodyCatalogue::noTypesIsACompleteEmptyList()
{
    QFETCH(QString, count);
    Setup s;
    s.host.parameters[QStringLiteral("body number_of_types")] = count;
    const BodyCatalogue::List list = s.catalogue.readBodyList();
    QVERIFY(list.complete);
    QVERIFY(list.items.isEmpty());
    QCOMPARE(s.host.transcript,
             QStringList({"get vimbar multiuser_available", "get body number_of_types"}));
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_BodyCatalogue::takesTypesInAnyCaseAndSkipsOthers_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<bool>("taken");
    for (const char *type : {"standard", "Standard", "STANDARD", "vimbar", "Vimbar", "VIMBAR"})
        QTest::addRow("\"%s\"", type) << type << true;
    for (const char *type :
         {"", "standard ", " standard", "standards", "vim", "\"standard\"", "glove", "%s", "%1"})
        QTest::addRow("\"%s\"", type) << type << false;
}

void tst_BodyCatalogue::takesTypesInAnyCaseAndSkipsOthers()
{
    QFETCH(QString, type);
    QFETCH(bool, taken);
    Setup s;
    s.host.addBody(type, 1, QStringLiteral("Body"), true, QStringLiteral("tt_std"), {});
    const BodyCatalogue::List list = s.catalogue.readBodyList();
    QVERIFY(list.complete);
    QCOMPARE(list.items.size(), taken ? 1 : 0);
    if (taken) {
        QCOMPARE(list.items.first().entry.type, type);
        QVERIFY(s.host.transcript.contains(QStringLiteral("get body number_of_bodies ") + type));
    } else {
        QCOMPARE(s.host.transcript.last(), QStringLiteral("get body type t01"));
    }
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_BodyCatalogue::aTypeWithoutBodiesListsNone()
{
    Setup s;
    s.host.addType(kStandard, QStringLiteral("Standard body"));
    s.host.addBody(kVimbar, 1, QString(), true, QStringLiteral("tt_std"), {});
    QCOMPARE(s.listedEntries(), QStringList("vimbar|1|calibrated|tt_std"));
}

void tst_BodyCatalogue::cleansTheTargetType_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("targetType");
    QTest::newRow("plain") << "tt_std"
                           << "tt_std";
    QTest::newRow("quoted, blank behind") << "'tt_5dof' "
                                          << "tt_5dof";
    QTest::newRow("blank inside the quotes") << "' tt_5dof '"
                                             << "tt_5dof";
    QTest::newRow("quotes anywhere") << "t't_'5dof''"
                                     << "tt_5dof";
    QTest::newRow("other white space") << "\t tt_x_cyl \r\n"
                                       << "tt_x_cyl";
    QTest::newRow("double quotes stay") << "\"tt_std\""
                                        << "\"tt_std\"";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("only quotes") << "''"
                                 << "";
}

void tst_BodyCatalogue::cleansTheTargetType()
{
    QFETCH(QString, value);
    Setup s;
    s.host.addBody(kStandard, 1, QString(), true, value, {});
    const BodyCatalogue::List list = s.catalogue.readBodyList();
    QCOMPARE(list.items.size(), 1);
    QTEST(list.items.first().entry.targetType, "targetType");
}

void tst_BodyCatalogue::targetTypesAreAskedForFromVersion112On_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("patch");
    QTest::addColumn<bool>("asked");
    QTest::newRow("1.12") << 1 << 12 << -1 << true;
    QTest::newRow("1.12, odd patch") << 1 << 12 << -2 << false;
    QTest::newRow("2.0") << 2 << 0 << 0 << true;
    QTest::newRow("1.11") << 1 << 11 << 9 << false;
    QTest::newRow("0.17") << 0 << 17 << 0 << false;
}

void tst_BodyCatalogue::targetTypesAreAskedForFromVersion112On()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(int, patch);
    QFETCH(bool, asked);
    ThreeBodies s;
    s.host.setVersion(major, minor, patch);
    const QStringList entries = s.listedEntries();
    QStringList expectedLines = kWholeBuild;
    if (asked) {
        QCOMPARE(entries.at(1), QStringLiteral("standard|2|uncalibrated|tt_5dof"));
    } else {
        for (const QString &line : kWholeBuild.filter(QStringLiteral("target_type")))
            expectedLines.removeAll(line);
        for (const QString &entry : entries)
            QVERIFY2(entry.endsWith(QLatin1String("|tt_std")), qPrintable(entry));
    }
    QCOMPARE(s.host.transcript, expectedLines);
}

void tst_BodyCatalogue::onlyYesIsCalibrated_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("calibrated");
    QTest::newRow("yes") << "yes" << true;
    for (const char *value : {"no", "", "Yes", "YES", "yes ", " yes", "1", "true", "calibrated"})
        QTest::addRow("\"%s\"", value) << value << false;
}

void tst_BodyCatalogue::onlyYesIsCalibrated()
{
    QFETCH(QString, value);
    ThreeBodies s;
    s.host.parameters[QStringLiteral("body calibrated standard b01")] = value;
    const BodyCatalogue::List list = s.catalogue.readBodyList();
    QTEST(list.items.first().entry.calibrated, "calibrated");
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_BodyCatalogue::aFailedCalibrationReadIsReportedAndTheBuildGoesOn()
{
    ThreeBodies s;
    FakeHost::Answer failed = value("yes"); // what a failed read leaves behind does not count
    failed.status = 1;
    s.host.answerLine(QStringLiteral("get body calibrated standard b01"), failed);
    const BodyCatalogue::List list = s.catalogue.readBodyList();
    QVERIFY(list.complete);
    QCOMPARE(list.items.size(), 3);
    QVERIFY(!list.items.at(0).entry.calibrated);
    QVERIFY(list.items.at(2).entry.calibrated);
    QCOMPARE(s.host.transcript, kWholeBuild);
    QCOMPARE(s.host.errors(), QStringList("Error: Unable to check body cali info"));
}

void tst_BodyCatalogue::everyOtherFailedReadEndsTheBuild_data()
{
    QTest::addColumn<int>("exchange");
    QTest::addColumn<int>("itemCount");
    QTest::addColumn<QString>("error");
    const struct {
        const char *part;
        const char *error;
    } errors[] = {
        {"number_of_types", "Error: Unable to get number of types for body"},
        {"body type t", "Error: Unable to check body type"},
        {"number_of_bodies", "Error: Unable to check number of bodies for body"},
        {"type_desc", "Error: Unable to check body type description"},
        {"target_type", "Error: Unable to check body target_type"},
        {"body desc", "Error: Unable to check body description"},
    };
    int items = 0;
    for (int index = 0; index < kWholeBuild.size(); ++index) {
        const QString &line = kWholeBuild.at(index);
        for (const auto &error : errors) {
            if (line.contains(QLatin1String(error.part)))
                QTest::addRow("%d: %s", index + 1, qPrintable(line))
                    << index + 1 << items << error.error;
        }
        if (line.startsWith(QLatin1String("get body desc")))
            ++items;
    }
}

void tst_BodyCatalogue::everyOtherFailedReadEndsTheBuild()
{
    QFETCH(int, exchange);
    QFETCH(QString, error);
    ThreeBodies s;
    s.host.failExchange(exchange);
    const BodyCatalogue::List list = s.catalogue.readBodyList();
    QVERIFY(!list.complete);
    QTEST(list.items.size(), "itemCount");
    QCOMPARE(s.host.transcript, QStringList(kWholeBuild.mid(0, exchange)));
    QCOMPARE(s.host.errors(), QStringList(error));
}

void tst_BodyCatalogue::multiUserIsOnOnlyByTwoYes_data()
{
    QTest::addColumn<QString>("available");
    QTest::addColumn<QString>("state");
    QTest::addColumn<int>("failingRead");
    QTest::addColumn<bool>("on");
    QTest::addColumn<int>("reads");
    QTest::newRow("on") << "yes"
                        << "yes" << 0 << true << 2;
    QTest::newRow("off") << "yes"
                         << "no" << 0 << false << 2;
    QTest::newRow("not available") << "no"
                                   << "yes" << 0 << false << 1;
    QTest::newRow("other case") << "Yes"
                                << "yes" << 0 << false << 1;
    QTest::newRow("blank behind") << "yes"
                                  << "yes " << 0 << false << 2;
    QTest::newRow("empty") << ""
                           << "yes" << 0 << false << 1;
    QTest::newRow("first read fails") << "yes"
                                      << "yes" << 1 << false << 1;
    QTest::newRow("second read fails") << "yes"
                                       << "yes" << 2 << false << 2;
}

void tst_BodyCatalogue::multiUserIsOnOnlyByTwoYes()
{
    QFETCH(QString, available);
    QFETCH(QString, state);
    QFETCH(int, failingRead);
    QFETCH(bool, on);
    QFETCH(int, reads);
    for (const bool withHead : {false, true}) {
        Setup s;
        const QString name = withHead ? QStringLiteral("vimbar multiuser_with_head")
                                      : QStringLiteral("vimbar multiuser");
        s.host.parameters[name + QStringLiteral("_available")] = available;
        s.host.parameters[name] = state;
        if (failingRead > 0)
            s.host.failExchange(failingRead);
        QCOMPARE(withHead ? s.catalogue.isMultiUserWithHeadOn() : s.catalogue.isMultiUserOn(), on);
        const QStringList lines = {QStringLiteral("get %1_available").arg(name),
                                   QStringLiteral("get ") + name};
        QCOMPARE(s.host.transcript, QStringList(lines.mid(0, reads)));
        QCOMPARE(s.host.errors(), QStringList());
    }
}

void tst_BodyCatalogue::vimbarsAreLeftOutWithMultiUserAndDevices_data()
{
    QTest::addColumn<QString>("on");
    QTest::addColumn<QString>("devices");
    QTest::addColumn<bool>("leftOut");
    QTest::newRow("on, two devices") << "yes"
                                     << "2" << true;
    QTest::newRow("on, no device") << "yes"
                                   << "0" << false;
    QTest::newRow("on, odd number of devices") << "yes"
                                               << "-1" << true;
    QTest::newRow("off, two devices") << "no"
                                      << "2" << false;
}

void tst_BodyCatalogue::vimbarsAreLeftOutWithMultiUserAndDevices()
{
    QFETCH(QString, on);
    QFETCH(QString, devices);
    QFETCH(bool, leftOut);
    ThreeBodies s;
    s.setMultiUser("yes", on.toLatin1().constData());
    s.host.parameters[QStringLiteral("vimbar number_of_devices")] = devices;
    const BodyCatalogue::List list = s.catalogue.readBodyList();
    QVERIFY(list.complete);
    QCOMPARE(list.multiUserWarning, leftOut);
    QCOMPARE(list.items.size(), leftOut ? 2 : 3);

    QStringList expected = {"get vimbar multiuser_available", "get vimbar multiuser"};
    if (on == QLatin1String("yes"))
        expected += QStringLiteral("get vimbar number_of_devices");
    // The types are all asked for, the bodies of a type left out are not.
    const int end =
        leftOut ? kWholeBuild.indexOf(QStringLiteral("get body type t02")) + 1 : kWholeBuild.size();
    expected += kWholeBuild.mid(1, end - 1);
    QCOMPARE(s.host.transcript, expected);
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_BodyCatalogue::anUnknownNumberOfDevicesCountsAsMultiUserOff()
{
    ThreeBodies s;
    s.setMultiUser("yes", "yes");
    s.host.failLine(QStringLiteral("get vimbar number_of_devices"));
    const BodyCatalogue::List list = s.catalogue.readBodyList();
    QVERIFY(list.complete);
    QVERIFY(!list.multiUserWarning);
    QCOMPARE(list.items.size(), 3);
    QCOMPARE(s.host.errors(), QStringList("Error: Unable to get number of vimbars"));
}

void tst_BodyCatalogue::countsBodiesOrFallsBack()
{
    ThreeBodies s;
    QCOMPARE(s.catalogue.readStandardBodyCount(), 2);
    QCOMPARE(s.catalogue.readVimbarCount(), 1);
    QCOMPARE(s.host.transcript, QStringList({"get body number_of_bodies standard",
                                             "get body number_of_bodies vimbar"}));
    s.host.failLine(QStringLiteral("get body number_of_bodies standard"));
    s.host.answerLine(QStringLiteral("get body number_of_bodies vimbar"), value("none"));
    QCOMPARE(s.catalogue.readStandardBodyCount(), 50);
    QCOMPARE(s.catalogue.readVimbarCount(), 20);
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_BodyCatalogue::loadsMarkersAndEmissions()
{
    UNDER_LOCALE_OF_ROW();
    Setup s;
    s.host.addBody(kStandard, 12, QString(), true, QStringLiteral("tt_std"),
                   {bsVector(1.5, -2.25, 1000.125), bsVector(0.001, 0, -7)},
                   {Emission{0.6, -0.8, 0, 60.5}, Emission{}});
    QVector<bsVector> positions(5);
    QVector<Emission> emissions(7);
    QVERIFY(s.catalogue.loadMarkers(kStandard, 12, &positions, &emissions));
    QCOMPARE(positions.size(), 2);
    QCOMPARE(positions.at(0).x, 1.5);
    QCOMPARE(positions.at(0).y, -2.25);
    QCOMPARE(positions.at(0).z, 1000.125);
    QCOMPARE(positions.at(1).x, 0.001);
    QCOMPARE(positions.at(1).z, -7.0);
    QCOMPARE(emissions.size(), 2);
    QCOMPARE(emissions.at(0).x, 0.6);
    QCOMPARE(emissions.at(0).y, -0.8);
    QCOMPARE(emissions.at(0).z, 0.0);
    QCOMPARE(emissions.at(0).angleDeg, 60.5);
    QCOMPARE(emissions.at(1).angleDeg, 0.0);
    QCOMPARE(s.host.transcript,
             QStringList(
                 {"get body number_of_marker standard b12", "get body marker standard b12 m01",
                  "get body marker_emission standard b12 m01", "get body marker standard b12 m02",
                  "get body marker_emission standard b12 m02"}));
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_BodyCatalogue::aBodyOfNoMarkersFailsWithoutAMessage_data()
{
    QTest::addColumn<QByteArray>("count");
    QTest::newRow("0") << QByteArray("0");
    QTest::newRow("negative") << QByteArray("-4");
}

void tst_BodyCatalogue::aBodyOfNoMarkersFailsWithoutAMessage()
{
    QFETCH(QByteArray, count);
    ThreeBodies s;
    s.host.answerExchange(1, value(count.constData()));
    QVector<bsVector> positions(5);
    QVector<Emission> emissions(7);
    QVERIFY(!s.catalogue.loadMarkers(kStandard, 2, &positions, &emissions));
    QCOMPARE(positions.size(), 5);
    QCOMPARE(emissions.size(), 7);
    QCOMPARE(s.host.transcript, QStringList("get body number_of_marker standard b02"));
    QVERIFY(s.host.messages.isEmpty());
}

void tst_BodyCatalogue::anUnknownNumberOfMarkersIsReported()
{
    ThreeBodies s;
    s.host.failExchange(1);
    QVector<bsVector> positions(5);
    QVector<Emission> emissions(7);
    QVERIFY(!s.catalogue.loadMarkers(kStandard, 1, &positions, &emissions));
    QCOMPARE(positions.size(), 5);
    QCOMPARE(emissions.size(), 7);
    QCOMPARE(s.host.errors(), QStringList("Error: Unable to check body marker info"));
}

void tst_BodyCatalogue::aFailedMarkerReadKeepsWhatWasReadBefore_data()
{
    QTest::addColumn<int>("exchange");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("loaded");
    QTest::addColumn<QString>("error");
    const QString marker = QStringLiteral("Error: Unable to check body marker info");
    const QString emission = QStringLiteral("Error: Unable to check body marker emission info");
    QTest::newRow("first marker fails") << 2 << QByteArray() << 0 << marker;
    QTest::newRow("first emission fails") << 3 << QByteArray() << 0 << emission;
    QTest::newRow("third marker fails") << 6 << QByteArray() << 2 << marker;
    QTest::newRow("third emission fails") << 7 << QByteArray() << 2 << emission;
    QTest::newRow("marker is garbage") << 4 << QByteArray("here and there") << 1 << marker;
    QTest::newRow("marker of two numbers") << 4 << QByteArray("1 2") << 1 << marker;
    QTest::newRow("marker at infinity") << 4 << QByteArray("1 inf 3") << 1 << marker;
    QTest::newRow("marker is empty") << 4 << QByteArray(" ") << 1 << marker;
    QTest::newRow("emission without an angle") << 5 << QByteArray("0 0 1") << 1 << emission;
    QTest::newRow("emission is not a number") << 5 << QByteArray("0 0 1 nan") << 1 << emission;
}

void tst_BodyCatalogue::aFailedMarkerReadKeepsWhatWasReadBefore()
{
    QFETCH(int, exchange);
    QFETCH(QByteArray, text);
    QFETCH(int, loaded);
    QFETCH(QString, error);
    Setup s;
    s.host.addBody(kStandard, 1, QString(), true, QStringLiteral("tt_std"),
                   {bsVector(1, 0, 0), bsVector(2, 0, 0), bsVector(3, 0, 0)});
    if (text.isNull())
        s.host.failExchange(exchange);
    else
        s.host.answerExchange(exchange, value(text.constData()));
    QVector<bsVector> positions(5);
    QVector<Emission> emissions(7);
    QVERIFY(!s.catalogue.loadMarkers(kStandard, 1, &positions, &emissions));
    QCOMPARE(positions.size(), loaded);
    QCOMPARE(emissions.size(), loaded);
    for (int index = 0; index < loaded; ++index)
        QCOMPARE(positions.at(index).x, index + 1.0);
    QCOMPARE(s.host.transcript.size(), exchange);
    QCOMPARE(s.host.errors(), QStringList(error));
}

QUOREL2_TEST_MAIN(tst_BodyCatalogue)
#include "tst_BodyCatalogue.moc"
