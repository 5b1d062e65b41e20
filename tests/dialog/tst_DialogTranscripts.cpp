#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <tests/support/TestMain.h>
#include <widgets/bsDoubleWidget.h>

#include <QComboBox>
#include <QtTest>

namespace {

/// What a backend can be asked, in the order of the versions that brought it. A later one knows
/// what the earlier ones know.
enum Knowledge {
    Nothing,
    OutputForm,   ///< from 0.6
    TrackingWord, ///< from 0.17
    LockWord,     ///< from 1.9
    TargetType,   ///< from 1.12
    Deletion,     ///< from 1.17
};

/// The controller as it is when the dialog is opened.
struct Controller {
    Knowledge knowledge = Deletion;
    bool multiUserAvailable = false;
    bool multiUser = false;
    bool headAvailable = false;
    bool head = false;
    QString reference = QStringLiteral("none");
    bool canTrack = true;
    bool changeable = true;
    bool plainForm = false; ///< vimbars come in "6df" lines

    bool isMultiUserOn() const { return multiUserAvailable && multiUser; }
    bool isHeadOn() const { return headAvailable && head; }
    bool knows(Knowledge what) const { return knowledge >= what; }
};

/// A controller on which opening has all there is to switch off.
Controller busyController(Knowledge knowledge)
{
    Controller c;
    c.knowledge = knowledge;
    c.multiUserAvailable = c.multiUser = c.headAvailable = c.head = true;
    c.reference = "standard 02";
    c.plainForm = true;
    return c;
}

struct Version {
    int major = 0;
    int minor = 0;
    int patch = 0;
    Knowledge knowledge = Nothing;

    QByteArray name() const
    {
        return QByteArray::number(major) + '.' + QByteArray::number(minor) + ", patch " +
               QByteArray::number(patch);
    }
};

/// On both sides of every version that brought something.
QVector<Version> versions()
{
    return {
        {0, 5, -1, Nothing},      {0, 5, 99, Nothing},       {0, 6, -5, Nothing},
        {0, 6, -1, OutputForm},   {0, 6, 0, OutputForm},     {0, 7, -5, OutputForm},
        {0, 16, -1, OutputForm},  {0, 17, -5, OutputForm},   {0, 17, -1, TrackingWord},
        {0, 17, 0, TrackingWord}, {0, 18, -5, TrackingWord}, {1, 0, -5, TrackingWord},
        {1, 8, -1, TrackingWord}, {1, 9, -5, TrackingWord},  {1, 9, -1, LockWord},
        {1, 9, 0, LockWord},      {1, 10, -5, LockWord},     {1, 11, -1, LockWord},
        {1, 12, -5, LockWord},    {1, 12, -1, TargetType},   {1, 12, 0, TargetType},
        {1, 13, -5, TargetType},  {1, 16, -1, TargetType},   {1, 17, -5, TargetType},
        {1, 17, -2, TargetType},  {1, 17, -1, Deletion},     {1, 17, 0, Deletion},
        {1, 17, 3, Deletion},     {1, 18, -5, Deletion},     {2, 0, -5, Deletion},
    };
}

/// The markers of a body as a write command shows them.
struct Markers {
    QStringList positions;
    QStringList emissions; ///< empty if all are zero
};

const QString kIdentity =
    QStringLiteral(" 1.00000000 0.00000000 0.00000000 0.00000000 1.00000000 0.00000000 "
                   "0.00000000 0.00000000 1.00000000");

Markers wandMarkers()
{
    return {{"0.000 0.000 0.000", "100.000 0.000 0.000", "0.000 60.000 0.000",
             "30.000 40.000 50.000", "-60.000 20.000 10.000", "20.000 -70.000 30.000"},
            {"0.000 0.000 1.000 60.000", "0.000 1.000 0.000 60.000", "1.000 0.000 0.000 60.000",
             "0.000 0.000 1.000 60.000", "0.000 0.000 1.000 60.000", "0.000 0.000 1.000 60.000"}};
}

/// The wand after its origin was moved by 10 mm along x.
Markers movedWandMarkers()
{
    return {{"-10.000 0.000 0.000", "90.000 0.000 0.000", "-10.000 60.000 0.000",
             "20.000 40.000 50.000", "-70.000 20.000 10.000", "10.000 -70.000 30.000"},
            wandMarkers().emissions};
}

Markers spareProbeMarkers()
{
    return {{"0.000 0.000 0.000", "80.000 0.000 0.000", "0.000 50.000 0.000",
             "20.000 30.000 40.000", "-30.000 10.000 5.000"},
            {}};
}

Markers without(Markers markers, int index)
{
    markers.positions.removeAt(index);
    markers.emissions.removeAt(index);
    return markers;
}

QString twoDigits(int number)
{
    return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
}

QStringList when(bool condition, const QStringList &lines)
{
    return condition ? lines : QStringList();
}

// What is exchanged -------------------------------------------------------------------------------

QStringList multiUserRead(const Controller &c)
{
    return QStringList{"get vimbar multiuser_available"} +
           when(c.multiUserAvailable, {"get vimbar multiuser"});
}

QStringList headRead(const Controller &c)
{
    return QStringList{"get vimbar multiuser_with_head_available"} +
           when(c.headAvailable, {"get vimbar multiuser_with_head"});
}

QStringList listOfType(const Controller &c, int type, const QString &keyword, int bodies)
{
    QStringList lines = {"get body type t" + twoDigits(type),
                         "get body number_of_bodies " + keyword};
    for (int number = 1; number <= bodies; ++number) {
        const QString body = keyword + " b" + twoDigits(number);
        lines += QStringList{"get body type_desc " + keyword, "get body calibrated " + body} +
                 when(c.knows(TargetType), {"get body target_type " + body}) +
                 QStringList{"get body desc " + body};
    }
    return lines;
}

QStringList listBuilding(const Controller &c)
{
    return multiUserRead(c) + QStringList{"get body number_of_types"} +
           listOfType(c, 1, "standard", 5) + listOfType(c, 2, "vimbar", 2);
}

/// Everything before the dialog comes up, but for what tells whether heads are still tracked; a
/// requested body is loaded in between.
QStringList opening(const Controller &c)
{
    return when(c.knows(LockWord), {"get config is_changeable"}) +
           when(c.knows(TrackingWord), {"get tracking available"}) +
           QStringList{"get body number_of_bodies standard", "get body number_of_bodies vimbar"} +
           multiUserRead(c) + headRead(c) +
           when(c.isMultiUserOn() && c.isHeadOn(), {"set vimbar multiuser_with_head no"}) +
           when(c.isMultiUserOn(), {"set vimbar multiuser no"}) +
           QStringList{"get tracking reference"} +
           when(c.reference != "none" && !c.reference.isEmpty(), {"set tracking reference none"}) +
           listBuilding(c);
}

QString vimbarLine(const Controller &c)
{
    return c.plainForm && c.knows(OutputForm) ? "6df" : "6df2";
}

QStringList startOfMeasurement(const Controller &c)
{
    return when(c.canTrack, {"quorel2 tracking start"}) + QStringList{"get status active"};
}

/// While the controller measures.
QStringList stopOfMeasurement(const Controller &c)
{
    return QStringList{"get status active"} + when(c.canTrack, {"quorel2 tracking stop"});
}

QStringList showing(const Controller &c)
{
    return QStringList{"add 6d"} + when(c.knows(OutputForm), {"quorel2 get vimbar output_6df"}) +
           QStringList{"add " + vimbarLine(c),
                       "set output active chmon " + vimbarLine(c) + " yes"} +
           startOfMeasurement(c);
}

QStringList openedAndShown(const Controller &c)
{
    return opening(c) + headRead(c) + showing(c);
}

QStringList unsubscribing(const Controller &c)
{
    return {"remove 6d", "remove " + vimbarLine(c)};
}

QStringList restoring(const Controller &c)
{
    return when(c.isMultiUserOn(), {"set vimbar multiuser yes"}) +
           when(c.isMultiUserOn() && c.isHeadOn(), {"set vimbar multiuser_with_head yes"}) +
           when(c.reference.split(' ').size() == 2, {"set tracking reference " + c.reference});
}

/// The end of OK and Cancel: the measurement has stopped when the dialog is hidden.
QStringList closing(const Controller &c)
{
    return stopOfMeasurement(c) + restoring(c) + QStringList{"get status active"} +
           unsubscribing(c);
}

QStringList loading(const QString &body, int markers)
{
    QStringList lines = {"get body number_of_marker " + body};
    for (int number = 1; number <= markers; ++number) {
        const QString marker = body + " m" + twoDigits(number);
        lines += QStringList{"get body marker " + marker, "get body marker_emission " + marker};
    }
    return lines;
}

QString transform(const QString &body, const QString &translation,
                  const QString &rotation = kIdentity)
{
    return "quorel2 body transform " + body + " " + translation + rotation;
}

/// The transform that Apply writes is not asked after: the dialog reads the body again instead.
QStringList applying(const Controller &c, const QString &transformCommand, const QString &body,
                     int markers)
{
    return when(c.canTrack, {"quorel2 tracking stop"}) + QStringList{transformCommand} +
           when(c.canTrack, {"quorel2 tracking start"}) + loading(body, markers);
}

QStringList deleting(const Controller &c, const QString &body, int marker)
{
    return stopOfMeasurement(c) +
           QStringList{"quorel2 body delete_marker " + body + " m" + twoDigits(marker)} +
           startOfMeasurement(c);
}

QStringList writing(const QString &body, const Markers &markers)
{
    QStringList lines = {
        QStringLiteral("set body number_of_marker %1 %2").arg(body).arg(markers.positions.size())};
    for (int i = 0; i < markers.positions.size(); ++i) {
        const QString marker = body + " m" + twoDigits(i + 1) + " ";
        lines += "set body marker " + marker + markers.positions.at(i);
        if (!markers.emissions.isEmpty())
            lines += "set body marker_emission " + marker + markers.emissions.at(i);
    }
    return lines;
}

QStringList writingBack(const Controller &c, const QString &body, const Markers &markers)
{
    return stopOfMeasurement(c) + writing(body, markers) + startOfMeasurement(c);
}

} // namespace

Q_DECLARE_METATYPE(Controller)
Q_DECLARE_METATYPE(Version)

class TestDialogTranscripts : public DialogTest {
    Q_OBJECT

private:
    QStringList journal() { return host().takeJournal(); }

    void prepare(const Controller &c)
    {
        const auto yesNo = [](bool yes) { return QString(yes ? "yes" : "no"); };
        QMap<QString, QString> &p = host().parameters;
        p["vimbar multiuser_available"] = yesNo(c.multiUserAvailable);
        p["vimbar multiuser"] = yesNo(c.multiUser);
        p["vimbar multiuser_with_head_available"] = yesNo(c.headAvailable);
        p["vimbar multiuser_with_head"] = yesNo(c.head);
        p["tracking reference"] = c.reference;
        p["tracking available"] = yesNo(c.canTrack);
        p["config is_changeable"] = yesNo(c.changeable);
        p["vimbar output_6df"] = yesNo(c.plainForm);
        fixture().makeDialog();
        host().clearRecords();
    }
    void setVersion(const Version &version)
    {
        host().setVersion(version.major, version.minor, version.patch);
    }
    /// All versions, each with a controller that tracks, with one that says it does not, and with
    /// one that says so while someone else measures.
    static void everyBackendIsLeft_data()
    {
        QTest::addColumn<Version>("version");
        QTest::addColumn<bool>("tracks");
        QTest::addColumn<bool>("measuring");
        for (const Version &version : versions()) {
            QTest::newRow(version.name()) << version << true << false;
            QTest::newRow(version.name() + ", no tracking") << version << false << false;
            QTest::newRow(version.name() + ", no tracking, measuring") << version << false << true;
        }
    }
    /// Prepares a busy controller as the data row says.
    /// @return what is exchanged with it: a backend that is too old for the question always tracks
    Controller prepareBackend()
    {
        QFETCH(Version, version);
        QFETCH(bool, tracks);
        QFETCH(bool, measuring);
        Controller c = busyController(version.knowledge);
        c.canTrack = tracks || !c.knows(TrackingWord);
        prepare(c);
        host().parameters["tracking available"] = tracks ? "yes" : "no";
        host().parameters["status active"] = measuring ? "mea" : "idle";
        setVersion(version);
        return c;
    }
    void move(int component, double byMm)
    {
        fixture().changeValue("body_pos_xyzWidget", component, byMm);
    }
    void deleteMarker(int index)
    {
        fixture().selectMarker(index);
        fixture().answers.prepend(QMessageBox::Ok);
        press("pushButton_deleteMarker");
    }
    void cancel(const QVector<QMessageBox::StandardButton> &answers = {})
    {
        fixture().boxes.clear();
        fixture().answers = answers;
        dialog()->reject();
        QCOMPARE(fixture().boxes.size(), answers.size());
    }

private slots:
    void initTestCase() { dropWindowlessWarnings(); }

    // Versions ------------------------------------------------------------------------------------

    void aBackendIsAskedOnlyWhatItKnows_data()
    {
        QTest::addColumn<Version>("version");
        for (const Version &version : versions())
            QTest::newRow(version.name()) << version;
    }

    /// Open, choose, apply, delete, undo, redo, choose another body, cancel.
    void aBackendIsAskedOnlyWhatItKnows()
    {
        QFETCH(Version, version);
        const Controller c = busyController(version.knowledge);
        const bool deletes = c.knows(Deletion);
        prepare(c);
        setVersion(version);
        fixture().quickSession([&] {
            QCOMPARE(journal(), openedAndShown(c));
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(journal(), loading("standard b01", 6));
            move(0, 10.0);
            QCOMPARE(journal(), QStringList());
            press("apply_button");
            QCOMPARE(journal(), applying(c, transform("standard b01", "-10.000 -0.000 -0.000"),
                                         "standard b01", 6));
            if (deletes) {
                deleteMarker(2);
                QCOMPARE(journal(), deleting(c, "standard b01", 3) + loading("standard b01", 5));
                press("undo_button");
                QCOMPARE(journal(), writingBack(c, "standard b01", movedWandMarkers()));
                press("redo_button");
                QCOMPARE(journal(), deleting(c, "standard b01", 3) + loading("standard b01", 5));
            } else {
                fixture().selectMarker(2);
                QVERIFY(!fixture().isEnabled("pushButton_deleteMarker"));
                QTest::keyClick(dialog(), Qt::Key_Delete);
                QCOMPARE(journal(), QStringList());
            }
            fixture().choose(DialogFixture::Probe);
            QCOMPARE(journal(), loading("vimbar b01", 4));
            cancel({QMessageBox::Yes});
            QStringList expected = {transform("standard b01", "10.000 -0.000 -0.000")};
            if (deletes)
                expected = writingBack(c, "standard b01", movedWandMarkers()) + expected;
            QCOMPARE(journal(), expected + closing(c));
        });
        QCOMPARE(journal(), QStringList());
    }

    // Opening and closing -------------------------------------------------------------------------

    void whatOpeningSwitchesOffClosingSwitchesOn_data()
    {
        QTest::addColumn<Controller>("controller");
        QTest::addColumn<bool>("byOk");
        for (const bool byOk : {false, true}) {
            const QByteArray end = byOk ? ", OK" : ", Cancel";
            for (int bits = 0; bits < 16; ++bits) {
                Controller c;
                c.multiUserAvailable = (bits & 1) != 0;
                c.multiUser = (bits & 2) != 0;
                c.headAvailable = (bits & 4) != 0;
                c.head = (bits & 8) != 0;
                QByteArray name = "multi-user";
                name += c.multiUserAvailable ? " available" : "";
                name += c.multiUser ? " on" : "";
                name += c.headAvailable ? ", with head available" : "";
                name += c.head ? ", with head on" : "";
                QTest::newRow(name + end) << c << byOk;
            }
            for (const char *reference : {"none", "02", "standard 02", "standard 02 x",
                                          "standard  02", "", " 02", "None", "no reference"}) {
                Controller c;
                c.reference = reference;
                QTest::newRow("reference \"" + QByteArray(reference) + "\"" + end) << c << byOk;
            }
            Controller c;
            c.changeable = false;
            QTest::newRow("configuration locked" + end) << c << byOk;
        }
    }

    void whatOpeningSwitchesOffClosingSwitchesOn()
    {
        QFETCH(Controller, controller);
        QFETCH(bool, byOk);
        prepare(controller);
        const QMap<QString, QString> before = host().parameters;
        fixture().quickSession([&] {
            QCOMPARE(journal(), openedAndShown(controller));
            if (byOk)
                press("ok_button");
            else
                cancel();
        });
        QCOMPARE(journal(), closing(controller));
        for (const char *name : {"vimbar multiuser", "vimbar multiuser_with_head"})
            QCOMPARE(host().parameters.value(name), before.value(name));
    }

    void aMultiUserModeThatStaysOnHidesTheVimbars_data()
    {
        QTest::addColumn<QString>("devices");
        QTest::addColumn<bool>("hidden");
        QTest::addColumn<QStringList>("posts");
        QTest::newRow("two devices") << "2" << true << QStringList();
        QTest::newRow("no device") << "0" << false << QStringList();
        QTest::newRow("count unknown")
            << "?" << false
            << QStringList{"post standard QUOREL4 1 Error: Unable to get number of vimbars"};
    }

    void aMultiUserModeThatStaysOnHidesTheVimbars()
    {
        QFETCH(QString, devices);
        QFETCH(bool, hidden);
        QFETCH(QStringList, posts);
        Controller c;
        c.multiUserAvailable = c.multiUser = true;
        prepare(c);
        host().parameters["vimbar number_of_devices"] = devices;
        host().failLine("set vimbar multiuser no");
        QStringList expected = {"get config is_changeable", "get tracking available",
                                "get body number_of_bodies standard",
                                "get body number_of_bodies vimbar"};
        expected += multiUserRead(c) + headRead(c) +
                    QStringList{"set vimbar multiuser no",
                                "post standard QUOREL4 1 Error: Unable to deactivate multi user "
                                "Vimbar",
                                "get tracking reference"} +
                    multiUserRead(c) + QStringList{"get vimbar number_of_devices"} + posts +
                    QStringList{"get body number_of_types"} + listOfType(c, 1, "standard", 5);
        expected += hidden ? QStringList{"get body type t02"} : listOfType(c, 2, "vimbar", 2);
        fixture().quickSession([&] {
            QCOMPARE(journal(), expected + headRead(c) + showing(c));
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void aFormThatIsNotPlainlyToldCountsAsTheOtherOne_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("plain");
        QTest::newRow("yes") << 0 << QByteArray("quorel2 set vimbar output_6df yes") << true;
        QTest::newRow("no") << 0 << QByteArray("quorel2 set vimbar output_6df no") << false;
        QTest::newRow("trailing blank")
            << 0 << QByteArray("quorel2 set vimbar output_6df yes ") << false;
        QTest::newRow("ok") << 0 << QByteArray("quorel2 ok") << false;
        QTest::newRow("error") << 0 << QByteArray("quorel2 err 7") << false;
        QTest::newRow("nothing") << 0 << QByteArray("") << false;
        QTest::newRow("failed") << 1 << QByteArray() << false;
        QTest::newRow("failed, yet told")
            << 1 << QByteArray("quorel2 set vimbar output_6df yes") << false;
    }

    void aFormThatIsNotPlainlyToldCountsAsTheOtherOne()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, reply);
        QFETCH(bool, plain);
        Controller c;
        prepare(c);
        host().answerLine("quorel2 get vimbar output_6df", {status, reply, true});
        c.plainForm = plain;
        fixture().quickSession([&] {
            QCOMPARE(journal(), openedAndShown(c));
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void theFormIsAskedForAtEachShowing()
    {
        Controller c;
        prepare(c);
        for (const bool plain : {true, false, true}) {
            c.plainForm = plain;
            host().parameters["vimbar output_6df"] = plain ? "yes" : "no";
            fixture().quickSession([&] { QCOMPARE(journal(), openedAndShown(c)); });
            QCOMPARE(journal(), closing(c));
        }
        // An older backend has taken over meanwhile.
        host().setVersion(0, 5);
        c.knowledge = Nothing;
        fixture().quickSession([&] { QCOMPARE(journal(), openedAndShown(c)); });
        QCOMPARE(journal(), closing(c));
    }

    void withoutTrackingNothingIsStartedAndNothingStopped_data()
    {
        QTest::addColumn<bool>("measuring");
        QTest::newRow("idle controller") << false;
        QTest::newRow("someone else measures") << true;
    }

    void withoutTrackingNothingIsStartedAndNothingStopped()
    {
        QFETCH(bool, measuring);
        Controller c;
        c.canTrack = false;
        prepare(c);
        host().parameters["status active"] = measuring ? "mea" : "idle";
        fixture().quickSession([&] {
            QCOMPARE(journal(), openedAndShown(c));
            QCOMPARE(fixture().isEnabled("online_checkbox"), false);
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(journal(), loading("standard b01", 6));
            QCOMPARE(fixture().isEnabled("online_checkbox"), measuring);
            move(0, 10.0);
            press("apply_button");
            QCOMPARE(journal(), applying(c, transform("standard b01", "-10.000 -0.000 -0.000"),
                                         "standard b01", 6));
            deleteMarker(5);
            QCOMPARE(journal(), deleting(c, "standard b01", 6) + loading("standard b01", 5));
            press("undo_button");
            QCOMPARE(journal(), writingBack(c, "standard b01", movedWandMarkers()));
            press("ok_button");
        });
        QCOMPARE(journal(), closing(c));
        QCOMPARE(host().parameters.value("status active"), QString(measuring ? "mea" : "idle"));
    }

    void onlyThePlainWordNoDenies_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("value");
        QTest::newRow("other case") << 0 << QByteArray("NO");
        QTest::newRow("trailing blank") << 0 << QByteArray("no ");
        QTest::newRow("another word") << 0 << QByteArray("maybe");
        QTest::newRow("nothing") << 0 << QByteArray("");
        QTest::newRow("failed") << 1 << QByteArray();
        QTest::newRow("failed, yet told") << 1 << QByteArray("no");
    }

    void onlyThePlainWordNoDenies()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, value);
        const Controller c;
        prepare(c);
        host().answerLine("get tracking available", {status, value, true});
        host().answerLine("get config is_changeable", {status, value, true});
        fixture().quickSession([&] {
            QCOMPARE(journal(), openedAndShown(c));
            fixture().choose(DialogFixture::Wand);
            QVERIFY(fixture().isEnabled("body_pos_xyzWidget"));
            journal();
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void onlyThePlainWordYesAffirms_data()
    {
        QTest::addColumn<QString>("word");
        for (const char *word : {"Yes", "yes ", "", "1", "on"})
            QTest::addRow("\"%s\"", word) << word;
    }

    void onlyThePlainWordYesAffirms()
    {
        QFETCH(QString, word);
        Controller c;
        c.multiUserAvailable = c.headAvailable = true;
        prepare(c);
        host().parameters["vimbar multiuser"] = word;
        host().parameters["vimbar multiuser_with_head"] = word;
        host().parameters["body calibrated standard b01"] = word;
        fixture().quickSession([&] {
            QCOMPARE(journal(), openedAndShown(c));
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(journal(), QStringList());
            cancel();
        });
        QCOMPARE(journal(), closing(c));
        c.multiUserAvailable = c.headAvailable = false;
        host().parameters["vimbar multiuser_available"] = word;
        host().parameters["vimbar multiuser_with_head_available"] = word;
        fixture().quickSession([&] { QCOMPARE(journal(), openedAndShown(c)); });
        QCOMPARE(journal(), closing(c));
    }

    void aReferenceThatCannotBeReadLeavesTheSavedOne()
    {
        Controller c;
        c.reference = "standard 02";
        prepare(c);
        fixture().quickSession(nullptr);
        journal();
        host().parameters["tracking reference"] = "standard 05";
        host().failLine("get tracking reference");
        fixture().quickSession([&] {
            QCOMPARE(host().errors(), QStringList{"Error: Unable to get info reference target"});
            QVERIFY(!journal().contains("set tracking reference none"));
            cancel();
        });
        QCOMPARE(journal(), closing(c));
        // The next one that can be read replaces it.
        host().clearFaults();
        c.reference = "none";
        host().parameters["tracking reference"] = c.reference;
        fixture().quickSession([&] { QCOMPARE(journal(), openedAndShown(c)); });
        QCOMPARE(journal(), closing(c));
    }

    void anOlderBackendTracksWhateverItWouldSay()
    {
        // Below 0.17 the words exist, but are not asked for.
        Controller c;
        c.knowledge = OutputForm;
        prepare(c);
        host().parameters["tracking available"] = "no";
        host().parameters["config is_changeable"] = "no";
        host().setVersion(0, 16);
        fixture().quickSession([&] {
            QCOMPARE(journal(), openedAndShown(c));
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void anotherWordThanMeaIsNotStopped()
    {
        Controller c;
        prepare(c);
        host().answerLine("get status active", {0, "measuring", true});
        fixture().quickSession([&] {
            QCOMPARE(journal(), openedAndShown(c));
            cancel();
        });
        QCOMPARE(journal(), QStringList{"get status active"} + QStringList{"get status active"} +
                                unsubscribing(c));
    }

    void hidingStopsAndUnsubscribes_data()
    {
        QTest::addColumn<Controller>("controller");
        Controller c;
        QTest::newRow("6df2") << c;
        c.plainForm = true;
        QTest::newRow("6df") << c;
        c.canTrack = false;
        QTest::newRow("no tracking") << c;
        c = Controller();
        c.multiUserAvailable = c.multiUser = c.headAvailable = c.head = true;
        c.reference = "standard 02";
        QTest::newRow("with something to restore") << c;
    }

    void hidingStopsAndUnsubscribes()
    {
        QFETCH(Controller, controller);
        prepare(controller);
        fixture().quickSession([&] {
            journal();
            dialog()->hide();
            QCOMPARE(journal(), stopOfMeasurement(controller) + unsubscribing(controller));
        });
        // Whoever hides the dialog ends it: the user's settings come back.
        QCOMPARE(journal(), restoring(controller));
    }

    void everyBackendIsLeftByHiding_data() { everyBackendIsLeft_data(); }

    void everyBackendIsLeftByHiding()
    {
        const Controller c = prepareBackend();
        for (const bool chosen : {false, true}) {
            fixture().quickSession([&] {
                QCOMPARE(journal(), openedAndShown(c));
                if (chosen)
                    fixture().choose(DialogFixture::SpareProbe);
                QCOMPARE(journal(), when(chosen, loading("vimbar b02", 5)));
                dialog()->hide();
                QCOMPARE(journal(), stopOfMeasurement(c) + unsubscribing(c));
            });
            QCOMPARE(journal(), restoring(c));
        }
    }

    // Choosing ------------------------------------------------------------------------------------

    void choosingReadsTheMarkersOfACalibratedBody_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<int>("minor");
        QTest::addColumn<QStringList>("expected");
        for (const int minor : {17, 11}) {
            const auto add = [minor](const char *name, int position, const QStringList &lines) {
                QTest::addRow("%s, 1.%d", name, minor) << position << minor << lines;
            };
            add("standard with emissions", DialogFixture::Wand, loading("standard b01", 6));
            add("standard without emissions", DialogFixture::Plain, loading("standard b02", 4));
            add("five degrees of freedom", DialogFixture::Pen, loading("standard b03", 4));
            add("cylinder", DialogFixture::Tube, loading("standard b04", 4));
            add("uncalibrated", DialogFixture::Raw, {});
            add("vimbar", DialogFixture::Probe, loading("vimbar b01", 4));
            add("second vimbar", DialogFixture::SpareProbe, loading("vimbar b02", 5));
        }
    }

    void choosingReadsTheMarkersOfACalibratedBody()
    {
        QFETCH(int, position);
        QFETCH(int, minor);
        QFETCH(QStringList, expected);
        const Controller c;
        prepare(c);
        host().setVersion(1, minor);
        fixture().quickSession([&] {
            journal();
            fixture().choose(position);
            QCOMPARE(journal(), expected);
            // Before target types were told every body counts as standard and can be edited.
            QCOMPARE(fixture().isEnabled("body_pos_xyzWidget"),
                     position != DialogFixture::Raw &&
                         (minor == 11 ||
                          (position != DialogFixture::Pen && position != DialogFixture::Tube)));
            fixture().choose(-1);
            QCOMPARE(journal(), QStringList());
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void bodiesAreAskedForAsTheControllerSpellsTheirType()
    {
        const Controller c;
        prepare(c);
        host().addBody("StanDard", 1, "", true, "tt_std",
                       {{0, 0, 0}, {100, 0, 0}, {0, 60, 0}, {1, 2, 3}, {30, 40, 50}});
        host().addType("gadget", "Gadget");
        const QStringList list =
            opening(c) + listOfType(c, 3, "StanDard", 1) + QStringList{"get body type t04"};
        const QString body = "StanDard b01";
        fixture().quickSession([&] {
            QCOMPARE(journal(), list + headRead(c) + showing(c));
            fixture().choose(7);
            QCOMPARE(journal(), loading(body, 5));
            move(2, 1.0);
            press("apply_button");
            QCOMPARE(withPlainZeros(journal()),
                     applying(c, transform(body, "0.000 0.000 -1.000"), body, 5));
            deleteMarker(3);
            QCOMPARE(journal().mid(0, 5), deleting(c, body, 4));
            cancel({QMessageBox::Yes});
            const QStringList ended = journal();
            QVERIFY(ended.contains("set body number_of_marker " + body + " 5"));
            QVERIFY(withPlainZeros(ended).contains(transform(body, "0.000 0.000 1.000")));
        });
    }

    void workingOnABodyAsksNothing()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            journal();
            move(2, -7.5);
            press("set_origin_cog_button");
            press("pushButton_due_to_body");
            press("undo_button");
            press("redo_button");
            press("reset_view_button");
            goOnline();
            host().deliver("6d", "6d 1 [0 1.0][1 2 3][1 0 0 0 1 0 0 0 1]");
            dialog()->update_track();
            press("adjust_axes_to_room_button");
            dialog()->toggled_switch_view();
            dialog()->toggled_switch_view();
            QCOMPARE(journal(), QStringList());
            fixture().answers = {QMessageBox::No};
            fixture().choose(DialogFixture::Plain);
            QCOMPARE(journal(), loading("standard b02", 4));
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void leavingAChangedBodyWritesItBeforeTheNextOneIsRead_data()
    {
        QTest::addColumn<int>("next");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("to another body") << int(DialogFixture::Probe) << loading("vimbar b01", 4);
        QTest::newRow("to an uncalibrated body") << int(DialogFixture::Raw) << QStringList();
    }

    void leavingAChangedBodyWritesItBeforeTheNextOneIsRead()
    {
        QFETCH(int, next);
        QFETCH(QStringList, expected);
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Pen);
            fixture().changeValue("body_ori_xyzWidget", 0, 30.0);
            journal();
            fixture().answers = {QMessageBox::Yes};
            fixture().choose(next);
            const QString written =
                transform("standard b03", "0.000 0.000 0.000",
                          " 1.00000000 0.00000000 0.00000000 0.00000000 0.86602540 -0.50000000 "
                          "0.00000000 0.50000000 0.86602540");
            QCOMPARE(withPlainZeros(journal()), QStringList{written} + expected);
            cancel({QMessageBox::Yes});
            const QString back =
                transform("standard b03", "0.000 0.000 0.000",
                          " 1.00000000 0.00000000 0.00000000 0.00000000 0.86602540 0.50000000 "
                          "0.00000000 -0.50000000 0.86602540");
            QCOMPARE(withPlainZeros(journal()), QStringList{back} + closing(c));
        });
    }

    // Apply, OK, Cancel ---------------------------------------------------------------------------

    void okWritesWhatIsNotAppliedAndCloses_data() { everyBackendIsLeft_data(); }

    /// With nothing changed, with a change, and with one that was applied already.
    void okWritesWhatIsNotAppliedAndCloses()
    {
        const Controller c = prepareBackend();
        const QString written = transform("vimbar b02", "0.000 12.350 0.000");
        for (const auto &change : {qMakePair(false, false), {true, false}, {true, true}}) {
            const bool edited = change.first;
            const bool applied = change.second;
            fixture().quickSession([&] {
                QCOMPARE(journal(), openedAndShown(c));
                fixture().choose(DialogFixture::SpareProbe);
                QCOMPARE(journal(), loading("vimbar b02", 5));
                if (edited)
                    move(1, -12.3456);
                QCOMPARE(journal(), QStringList());
                if (applied)
                    press("apply_button");
                QCOMPARE(withPlainZeros(journal()),
                         when(applied, applying(c, written, "vimbar b02", 5)));
                press("ok_button");
            });
            QCOMPARE(withPlainZeros(journal()), when(edited && !applied, {written}) + closing(c));
        }
        QCOMPARE(fixture().boxes.size(), 0);
    }

    void aGestureThatIsStillOpenCounts_data()
    {
        QTest::addColumn<QByteArray>("button");
        QTest::addColumn<QStringList>("expected");
        const Controller c;
        const QString written = transform("standard b02", "0.000 0.000 -4.000");
        QTest::newRow("Apply") << QByteArray("apply_button")
                               << applying(c, written, "standard b02", 4);
        QTest::newRow("OK") << QByteArray("ok_button") << QStringList{written} + closing(c);
        QTest::newRow("Cancel") << QByteArray("cancel_button") << closing(c);
        QTest::newRow("another body")
            << QByteArray() << QStringList{written} + loading("vimbar b01", 4);
    }

    void aGestureThatIsStillOpenCounts()
    {
        QFETCH(QByteArray, button);
        QFETCH(QStringList, expected);
        prepare(Controller());
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Plain);
            journal();
            auto *group = fixture().child<QWidget>("body_pos_xyzWidget");
            group->findChildren<bsDoubleWidget *>().at(2)->adjustValue(4.0);
            const bool isAsked = button.isEmpty() || button == "cancel_button";
            if (isAsked)
                fixture().answers = {QMessageBox::Yes};
            if (button.isEmpty())
                fixture().choose(DialogFixture::Probe);
            else
                press(button);
            QCOMPARE(fixture().boxes.size(), isAsked ? 1 : 0);
            QCOMPARE(withPlainZeros(journal()), expected);
        });
    }

    void aSecondOkSwitchesNothingOnAgain()
    {
        Controller c;
        c.multiUserAvailable = c.multiUser = c.headAvailable = c.head = true;
        c.reference = "standard 02";
        prepare(c);
        fixture().quickSession([&] {
            journal();
            press("ok_button");
            QCOMPARE(journal(), closing(c));
            dialog()->on_ok_button_clicked();
            QCOMPARE(journal(),
                     (QStringList{"get status active", "set tracking reference standard 02"}));
        });
    }

    void whatOkKeptIsNotTakenBackAtTheNextOpening()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(0);
            move(0, 10.0);
            press("apply_button");
            journal();
            press("ok_button");
        });
        QCOMPARE(journal(), closing(c));
        fixture().quickSession([&] {
            QCOMPARE(journal(), openedAndShown(c));
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(journal(), loading("standard b01", 5));
            QVERIFY(!fixture().isEnabled("undo_button"));
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void cancelTakesBackWhatWasWritten_data()
    {
        QTest::addColumn<bool>("edited");
        QTest::addColumn<bool>("applied");
        QTest::addColumn<bool>("deleted");
        for (int bits = 0; bits < 8; ++bits) {
            const bool edited = (bits & 1) != 0;
            const bool applied = (bits & 2) != 0;
            const bool deleted = (bits & 4) != 0;
            QByteArray name = bits == 0 ? "nothing" : "";
            name += applied ? "applied " : "";
            name += deleted ? "deleted " : "";
            name += edited ? "edited" : "";
            QTest::newRow(name) << edited << applied << deleted;
        }
    }

    void cancelTakesBackWhatWasWritten()
    {
        QFETCH(bool, edited);
        QFETCH(bool, applied);
        QFETCH(bool, deleted);
        Controller c;
        c.multiUserAvailable = c.multiUser = true;
        prepare(c);
        const QMap<QString, QString> before = host().parameters;
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            if (applied) {
                move(0, 10.0);
                press("apply_button");
            }
            if (deleted)
                deleteMarker(2);
            if (edited)
                move(0, 3.0);
            journal();
            const bool asked = edited || applied;
            cancel(asked ? QVector<QMessageBox::StandardButton>{QMessageBox::Yes}
                         : QVector<QMessageBox::StandardButton>());
            if (asked)
                QCOMPARE(fixture().boxes.first().text,
                         QStringLiteral("Discard the changes for all bodies?"));
        });
        const Markers saved = applied ? movedWandMarkers() : wandMarkers();
        QCOMPARE(journal(), (deleted ? writingBack(c, "standard b01", saved) : QStringList()) +
                                when(applied, {transform("standard b01", "10.000 -0.000 -0.000")}) +
                                closing(c));
        QCOMPARE(host().markers("standard", 1).size(), 6);
        QCOMPARE(host().parameters.value("vimbar multiuser"), before.value("vimbar multiuser"));
    }

    void noToTheQuestionKeepsTheDialogOpen()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            move(0, 10.0);
            press("apply_button");
            deleteMarker(2);
            journal();
            cancel({QMessageBox::No});
            QVERIFY(dialog()->isVisible());
            QCOMPARE(journal(), writingBack(c, "standard b01", movedWandMarkers()));
            // They are there again.
            cancel({QMessageBox::No});
            QCOMPARE(journal(), QStringList());
            press("redo_button");
            QCOMPARE(journal(), deleting(c, "standard b01", 3) + loading("standard b01", 5));
            press("ok_button");
        });
        QCOMPARE(journal(), closing(c));
    }

    void discardingWalksThroughTheListFromTheTop()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            const DialogFixture::Position order[] = {DialogFixture::SpareProbe, DialogFixture::Wand,
                                                     DialogFixture::Pen};
            for (const int position : order) {
                fixture().choose(position);
                if (position == DialogFixture::Pen)
                    fixture().changeValue("body_ori_xyzWidget", 2, 90.0);
                else
                    move(1, 20.0);
                press("apply_button");
            }
            journal();
            cancel({QMessageBox::Yes});
        });
        QCOMPARE(withPlainZeros(journal()),
                 (QStringList{transform("standard b01", "0.000 20.000 0.000"),
                              transform("standard b03", "0.000 0.000 0.000",
                                        " 0.00000000 1.00000000 0.00000000 -1.00000000 0.00000000 "
                                        "0.00000000 0.00000000 0.00000000 1.00000000"),
                              transform("vimbar b02", "0.000 20.000 0.000")} +
                  closing(c)));
    }

    void twoAppliesAreTakenBackByOneCommand()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            for (const int component : {0, 1}) {
                move(component, 10.0);
                press("apply_button");
            }
            journal();
            cancel({QMessageBox::Yes});
        });
        QCOMPARE(withPlainZeros(journal()),
                 QStringList{transform("standard b01", "10.000 10.000 0.000")} + closing(c));
    }

    void aTurnAfterAMoveTakesASecondCommand()
    {
        // Written: move by -10, then turn by -90 degrees. Their product in the other order leads
        // back to (-10, 10, 0) only.
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            move(0, 10.0);
            press("apply_button");
            fixture().changeValue("body_ori_xyzWidget", 2, 90.0);
            press("apply_button");
            journal();
            cancel({QMessageBox::Yes});
        });
        const QString quarterTurn = " 0.00000000 1.00000000 0.00000000 -1.00000000 0.00000000 "
                                    "0.00000000 0.00000000 0.00000000 1.00000000";
        QCOMPARE(withPlainZeros(journal()),
                 (QStringList{transform("standard b01", "0.000 10.000 0.000", quarterTurn),
                              transform("standard b01", "10.000 -10.000 0.000")} +
                  closing(c)));
    }

    void bodiesOfOneNumberTakeASecondCommandEach()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            move(0, 10.0);
            press("apply_button");
            fixture().choose(DialogFixture::Probe);
            move(0, 5.0);
            press("apply_button");
            journal();
            cancel({QMessageBox::Yes});
        });
        QCOMPARE(withPlainZeros(journal()),
                 (QStringList{transform("standard b01", "15.000 0.000 0.000"),
                              transform("standard b01", "-5.000 0.000 0.000"),
                              transform("vimbar b01", "15.000 0.000 0.000"),
                              transform("vimbar b01", "-10.000 0.000 0.000")} +
                  closing(c)));
    }

    // Deleting markers ----------------------------------------------------------------------------

    void fourMarkersRemain()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Plain);
            journal();
            fixture().selectMarker(0);
            QVERIFY(!fixture().isEnabled("pushButton_deleteMarker"));
            QTest::keyClick(dialog(), Qt::Key_Delete);
            QVERIFY(fixture().boxes.isEmpty());
            QCOMPARE(journal(), QStringList());
            cancel();
        });
    }

    void deletionsAreUndoneAndRedoneOneByOne()
    {
        const Controller c;
        prepare(c);
        const QString body = "standard b01";
        const Markers six = wandMarkers();
        const Markers five = without(six, 2);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            journal();
            deleteMarker(2);
            QCOMPARE(journal(), deleting(c, body, 3) + loading(body, 5));
            deleteMarker(4);
            QCOMPARE(journal(), deleting(c, body, 5) + loading(body, 4));
            for (int round = 0; round < 2; ++round) {
                press("undo_button");
                QCOMPARE(journal(), writingBack(c, body, five));
                press("undo_button");
                QCOMPARE(journal(), writingBack(c, body, six));
                QVERIFY(!fixture().isEnabled("undo_button"));
                press("redo_button");
                QCOMPARE(journal(), deleting(c, body, 3) + loading(body, 5));
                press("redo_button");
                QCOMPARE(journal(), deleting(c, body, 5) + loading(body, 4));
                QVERIFY(!fixture().isEnabled("redo_button"));
            }
            cancel();
        });
        // What was there at opening, in one go.
        QCOMPARE(journal(), writingBack(c, body, six) + closing(c));
    }

    void aNewDeletionReplacesTheOnesThatCouldBeRedone()
    {
        const Controller c;
        prepare(c);
        const QString body = "standard b01";
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            press("undo_button");
            QVERIFY(fixture().isEnabled("redo_button"));
            deleteMarker(4);
            QVERIFY(!fixture().isEnabled("redo_button"));
            journal();
            press("undo_button");
            QCOMPARE(journal(), writingBack(c, body, wandMarkers()));
            press("redo_button");
            QCOMPARE(journal(), deleting(c, body, 5) + loading(body, 5));
            QVERIFY(!fixture().isEnabled("redo_button"));
            cancel();
        });
        QCOMPARE(journal(), writingBack(c, body, wandMarkers()) + closing(c));
    }

    void whatWasSavedMovesWithTheBody()
    {
        const Controller c;
        prepare(c);
        const QString body = "standard b01";
        const QString moved = transform(body, "-10.000 -0.000 -0.000");
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            deleteMarker(3);
            move(0, 10.0);
            journal();
            press("apply_button");
            QCOMPARE(journal(), applying(c, moved, body, 4));
            press("undo_button");
            QCOMPARE(journal(), writingBack(c, body, without(movedWandMarkers(), 2)));
            press("undo_button");
            QCOMPARE(journal(), writingBack(c, body, movedWandMarkers()));
            cancel({QMessageBox::Yes});
        });
        QCOMPARE(journal(), QStringList{transform(body, "10.000 -0.000 -0.000")} + closing(c));
    }

    void anUndoneDeletionIsNotWrittenBackAgain()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(0);
            press("undo_button");
            journal();
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void theQuestionBeforeADeletionCanBeDeclined()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            journal();
            fixture().selectMarker(1);
            fixture().answers = {QMessageBox::Cancel};
            press("pushButton_deleteMarker");
            QCOMPARE(fixture().boxes.size(), 1);
            QCOMPARE(journal(), QStringList());
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void aDeletionWithOpenChangesAsksForThemBeforeTheBodyIsReadAgain_data()
    {
        QTest::addColumn<bool>("apply");
        QTest::newRow("Yes") << true;
        QTest::newRow("No") << false;
    }

    void aDeletionWithOpenChangesAsksForThemBeforeTheBodyIsReadAgain()
    {
        QFETCH(bool, apply);
        const Controller c;
        prepare(c);
        const QString body = "standard b01";
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            move(0, 10.0);
            journal();
            fixture().answers = {apply ? QMessageBox::Yes : QMessageBox::No};
            deleteMarker(2);
            QCOMPARE(fixture().boxes.size(), 2);
            QCOMPARE(journal(), deleting(c, body, 3) +
                                    when(apply, {transform(body, "-10.000 -0.000 -0.000")}) +
                                    loading(body, 5));
            cancel(apply ? QVector<QMessageBox::StandardButton>{QMessageBox::Yes}
                         : QVector<QMessageBox::StandardButton>());
        });
        QCOMPARE(journal(), writingBack(c, body, apply ? movedWandMarkers() : wandMarkers()) +
                                when(apply, {transform(body, "10.000 -0.000 -0.000")}) +
                                closing(c));
        QCOMPARE(host().markers("standard", 1).at(1).x, 100.0);
    }

    void theBodyIndexStandsInForAListPosition()
    {
        // After a deletion of vimbar 2 the second entry of the list is chosen, whatever it is; the
        // deletion waits for its own body.
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::SpareProbe);
            journal();
            deleteMarker(1);
            QCOMPARE(journal(), deleting(c, "vimbar b02", 2) + loading("standard b02", 4));
            QCOMPARE(fixture().child<QComboBox>("body_name")->currentIndex(), 1);
            QVERIFY(!fixture().isEnabled("undo_button"));
            fixture().choose(DialogFixture::SpareProbe);
            QCOMPARE(journal(), loading("vimbar b02", 4));
            // Without a value in any emission only the places are written.
            press("undo_button");
            QCOMPARE(journal(), writingBack(c, "vimbar b02", spareProbeMarkers()));
            press("redo_button");
            QCOMPARE(journal(), deleting(c, "vimbar b02", 2) + loading("standard b02", 4));
            cancel();
        });
        QCOMPARE(journal(), writingBack(c, "vimbar b02", spareProbeMarkers()) + closing(c));
    }

    void oneMarkerWithAnEmissionHasThemAllWritten()
    {
        Controller c;
        prepare(c);
        host().parameters["body marker_emission vimbar b02 m04"] = "0.0 0.0 0.0 45.0";
        Markers markers = spareProbeMarkers();
        const QString zero = "0.000 0.000 0.000 0.000";
        markers.emissions = QStringList{zero, zero, zero, "0.000 0.000 0.000 45.000", zero};
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::SpareProbe);
            deleteMarker(4);
            journal();
            cancel();
        });
        QCOMPARE(journal(), writingBack(c, "vimbar b02", markers) + closing(c));
    }

    void severalBodiesAreWrittenBackInTheOrderOfTheirFirstDeletion()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::SpareProbe);
            deleteMarker(0);
            fixture().choose(DialogFixture::Wand);
            deleteMarker(0);
            deleteMarker(0);
            journal();
            cancel();
        });
        QCOMPARE(journal(), stopOfMeasurement(c) + writing("vimbar b02", spareProbeMarkers()) +
                                writing("standard b01", wandMarkers()) + startOfMeasurement(c) +
                                closing(c));
    }

    // What a failure leaves out -------------------------------------------------------------------

    void aListThatCannotBeReadEndsThere_data()
    {
        QTest::addColumn<QString>("failed");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("endsThere");
        QTest::addColumn<int>("bodies");
        const auto add = [](const char *failed, const char *text, bool endsThere, int bodies) {
            QTest::newRow(failed) << failed << text << endsThere << bodies;
        };
        add("get body number_of_types", "get number of types for body", true, 0);
        add("get body type t01", "check body type", true, 0);
        add("get body type t02", "check body type", true, 5);
        add("get body number_of_bodies vimbar", "check number of bodies for body", true, 5);
        add("get body type_desc vimbar", "check body type description", true, 5);
        add("get body calibrated standard b02", "check body cali info", false, 7);
        add("get body target_type standard b04", "check body target_type", true, 3);
        add("get body desc vimbar b02", "check body description", true, 6);
    }

    void aListThatCannotBeReadEndsThere()
    {
        QFETCH(QString, failed);
        QFETCH(QString, text);
        QFETCH(bool, endsThere);
        QFETCH(int, bodies);
        const Controller c;
        prepare(c);
        host().failLine(failed);
        QStringList list = listBuilding(c);
        const int place = list.indexOf(failed);
        QVERIFY(place >= 0);
        list.insert(place + 1, "post standard QUOREL4 1 Error: Unable to " + text);
        if (endsThere)
            list = list.mid(0, place + 2);
        const QStringList all = openedAndShown(c);
        const int start = opening(c).size() - listBuilding(c).size();
        fixture().quickSession([&] {
            QCOMPARE(journal(), all.mid(0, start) + list + headRead(c) + showing(c));
            QCOMPARE(fixture().child<QComboBox>("body_name")->count(), bodies);
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void markersThatCannotBeReadEndTheLoading_data()
    {
        QTest::addColumn<QString>("failed");
        QTest::addColumn<QString>("text");
        QTest::newRow("count") << "get body number_of_marker standard b02"
                               << "marker info";
        QTest::newRow("place") << "get body marker standard b02 m02"
                               << "marker info";
        QTest::newRow("emission") << "get body marker_emission standard b02 m04"
                                  << "marker emission info";
    }

    void markersThatCannotBeReadEndTheLoading()
    {
        QFETCH(QString, failed);
        QFETCH(QString, text);
        const Controller c;
        prepare(c);
        host().failLine(failed);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            journal();
            fixture().choose(DialogFixture::Plain);
            const QStringList all = loading("standard b02", 4);
            QCOMPARE(journal(), all.mid(0, all.indexOf(failed) + 1) +
                                    QStringList{"post standard QUOREL4 1 Error: Unable to check "
                                                "body " +
                                                text});
            // What is written goes to the body that is still shown.
            move(0, 10.0);
            press("apply_button");
            QCOMPARE(journal(), applying(c, transform("standard b01", "-10.000 -0.000 -0.000"),
                                         "standard b01", 6));
            cancel({QMessageBox::Yes});
        });
    }

    void whatCannotBeWrittenIsLeftOutAndTheRestFollows_data()
    {
        QTest::addColumn<QString>("failed");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("endsThere");
        QTest::newRow("count") << "set body number_of_marker standard b01 6"
                               << "target_type" << true;
        QTest::newRow("place") << "set body marker standard b01 m02 100.000 0.000 0.000"
                               << "marker values" << false;
        QTest::newRow("emission")
            << "set body marker_emission standard b01 m03 1.000 0.000 0.000 60.000"
            << "marker emission" << false;
    }

    /// Cancel has to write them once more: the body is not as it was at opening.
    void whatCannotBeWrittenIsLeftOutAndTheRestFollows()
    {
        QFETCH(QString, failed);
        QFETCH(QString, text);
        QFETCH(bool, endsThere);
        const Controller c;
        prepare(c);
        host().failLine(failed);
        QStringList written = writing("standard b01", wandMarkers());
        const int place = written.indexOf(failed);
        QVERIFY(place >= 0);
        written.insert(place + 1, "post standard QUOREL4 1 Error: Unable to set body " + text);
        if (endsThere)
            written = written.mid(0, place + 2);
        written = stopOfMeasurement(c) + written + startOfMeasurement(c);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            journal();
            press("undo_button");
            QCOMPARE(journal(), written);
            host().clearFaults();
            cancel();
        });
        QCOMPARE(journal(), writingBack(c, "standard b01", wandMarkers()) + closing(c));
    }

    void anUnknownStateIsNotStopped()
    {
        const Controller c;
        prepare(c);
        const QString unknown = "post standard QUOREL4 1 Error: Unable to check mea status";
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            journal();
            host().failLine("get status active");
            deleteMarker(2);
            QCOMPARE(
                journal(),
                (QStringList{"get status active", "quorel2 body delete_marker standard b01 m03",
                             "quorel2 tracking start", "get status active", unknown} +
                 loading("standard b01", 5)));
            press("ok_button");
        });
        QCOMPARE(journal(),
                 (QStringList{"get status active", "get status active"} + unsubscribing(c)));
    }

    void aRefusedDeletionIsToldAndTheBodyReadAgain_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("times");
        QTest::newRow("refused") << 0 << QByteArray("quorel2 err 3") << 1;
        QTest::newRow("failed") << 1 << QByteArray() << 2;
        QTest::newRow("failed, yet told") << 1 << QByteArray("quorel2 ok") << 1;
    }

    void aRefusedDeletionIsToldAndTheBodyReadAgain()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, reply);
        QFETCH(int, times);
        const Controller c;
        prepare(c);
        const QString body = "standard b01";
        const auto refusedDeletion = [&](int marker, int remaining) {
            QStringList lines = deleting(c, body, marker) + loading(body, remaining);
            for (int time = 0; time < times; ++time)
                lines.insert(3, "post standard QUOREL4 1 Error: Unable to delete marker of body");
            return lines;
        };
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            journal();
            host().answerLine("quorel2 body delete_marker standard b01 m03", {status, reply, true});
            deleteMarker(2);
            QCOMPARE(journal(), refusedDeletion(3, 6));
            // It was none: the next one is the only one to undo.
            host().clearFaults();
            deleteMarker(2);
            deleteMarker(3);
            press("undo_button");
            press("undo_button");
            QVERIFY(!fixture().isEnabled("undo_button"));
            journal();
            host().answerLine("quorel2 body delete_marker standard b01 m03", {status, reply, true});
            press("redo_button");
            QCOMPARE(journal(), refusedDeletion(3, 6));
            // The marker to delete next was counted without the one that is still there.
            QVERIFY(!fixture().isEnabled("redo_button"));
            cancel();
        });
        QCOMPARE(journal(), writingBack(c, body, wandMarkers()) + closing(c));
    }

    void aRefusedDiscardIsPassedOverAndAFailedOneEndsIt_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("endsThere");
        QTest::newRow("refused") << 0 << QByteArray("quorel2 err 3") << false;
        QTest::newRow("failed") << 1 << QByteArray() << true;
        QTest::newRow("failed, yet told") << 1 << QByteArray("quorel2 ok") << true;
    }

    void aRefusedDiscardIsPassedOverAndAFailedOneEndsIt()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, reply);
        QFETCH(bool, endsThere);
        const Controller c;
        prepare(c);
        const QString wandBack = transform("standard b01", "10.000 -0.000 -0.000");
        host().answerLine(wandBack, {status, reply, true});
        fixture().quickSession([&] {
            for (const int position : {DialogFixture::Wand, DialogFixture::Plain}) {
                fixture().choose(position);
                move(0, 10.0);
                press("apply_button");
            }
            journal();
            cancel({QMessageBox::Yes});
        });
        QCOMPARE(journal(),
                 (QStringList{wandBack,
                              "post standard QUOREL4 1 Error: Unable to set body transformation"} +
                  when(!endsThere, {transform("standard b02", "10.000 -0.000 -0.000")}) +
                  closing(c)));
    }

    void whereADiscardIsRefusedNothingFurtherIsSent()
    {
        const Controller c;
        prepare(c);
        const QString wandBack = transform("standard b01", "15.000 -0.000 -0.000");
        host().answerLine(wandBack, {0, "quorel2 err 3", true});
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            move(0, 10.0);
            press("apply_button");
            fixture().choose(DialogFixture::Probe);
            move(0, 5.0);
            press("apply_button");
            journal();
            cancel({QMessageBox::Yes});
        });
        QCOMPARE(withPlainZeros(journal()),
                 withPlainZeros(
                     QStringList{wandBack,
                                 "post standard QUOREL4 1 Error: Unable to set body transformation",
                                 transform("vimbar b01", "15.000 0.000 0.000"),
                                 transform("vimbar b01", "-10.000 0.000 0.000")} +
                     closing(c)));
    }

    void aRefusedTransformLeavesTheBodyAndItsSavedMarkersWhereTheyAre()
    {
        const Controller c;
        prepare(c);
        const QString moved = transform("standard b01", "-10.000 -0.000 -0.000");
        const QString refused = "post standard QUOREL4 1 Error: Unable to set body transformation";
        host().answerLine(moved, {0, "quorel2 err 3", true});
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            move(0, 10.0);
            journal();
            press("apply_button");
            QStringList expected = applying(c, moved, "standard b01", 5);
            expected.insert(2, refused);
            QCOMPARE(journal(), expected);
            press("undo_button");
            QCOMPARE(journal(), writingBack(c, "standard b01", wandMarkers()));
            // If it cannot be read again either, the change stays open.
            host().failLine("get body number_of_marker standard b01");
            move(0, 10.0);
            press("apply_button");
            host().clearFaults();
            journal();
            press("ok_button");
        });
        QCOMPARE(journal(), QStringList{moved} + closing(c));
    }

    void aRefusedTransformIsDiscardedAsIfItHadBeenTaken()
    {
        // Which moves the body; a second command brings it back.
        const Controller c;
        prepare(c);
        host().answerLine(transform("standard b01", "-10.000 -0.000 -0.000"),
                          {0, "quorel2 err 3", true});
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            move(0, 10.0);
            press("apply_button");
            host().clearFaults();
            journal();
            cancel({QMessageBox::Yes});
        });
        QCOMPARE(withPlainZeros(journal()),
                 (QStringList{transform("standard b01", "10.000 0.000 0.000"),
                              transform("standard b01", "-10.000 0.000 0.000")} +
                  closing(c)));
        QCOMPARE(host().markers("standard", 1).at(1).x, 100.0);
    }

    void aFailedTransformIsNotDiscarded()
    {
        const Controller c;
        prepare(c);
        host().failLine(transform("standard b01", "-10.000 -0.000 -0.000"));
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            move(0, 10.0);
            press("apply_button");
            journal();
            cancel();
        });
        QCOMPARE(journal(), closing(c));
    }

    void anEntryThatCannotBeReadIsNotWrittenTo()
    {
        const Controller c;
        prepare(c);
        fixture().quickSession([&] {
            fixture().child<QComboBox>("body_name")->setItemData(1, QString("standard|2"));
            fixture().choose(DialogFixture::Wand);
            journal();
            fixture().choose(DialogFixture::Plain);
            QCOMPARE(journal(), QStringList());
            move(0, 10.0);
            press("apply_button");
            QCOMPARE(journal(), (QStringList{"quorel2 tracking stop",
                                             transform("standard b01", "-10.000 -0.000 -0.000"),
                                             "quorel2 tracking start"}));
            cancel({QMessageBox::Yes});
        });
        QCOMPARE(journal(),
                 QStringList{transform("standard b01", "10.000 -0.000 -0.000")} + closing(c));
    }

    // Requests ------------------------------------------------------------------------------------

    void aRequestIsAnsweredWhenTheDialogHasClosed_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QStringList>("loaded");
        QTest::addColumn<bool>("byOk");
        QTest::newRow("standard, Cancel") << "standard|1" << loading("standard b01", 6) << false;
        QTest::newRow("vimbar, OK") << "vimbar|2" << loading("vimbar b02", 5) << true;
        QTest::newRow("type only, OK") << "standard" << loading("standard b01", 6) << true;
        QTest::newRow("uncalibrated, OK") << "standard|5" << QStringList() << true;
        QTest::newRow("not there, Cancel") << "vimbar|3" << QStringList() << false;
        QTest::newRow("a word too many, OK") << "vimbar|2 extra" << QStringList() << true;
        QTest::newRow("no body, Cancel") << "" << QStringList() << false;
    }

    void aRequestIsAnsweredWhenTheDialogHasClosed()
    {
        QFETCH(QString, body);
        QFETCH(QStringList, loaded);
        QFETCH(bool, byOk);
        Controller c;
        c.multiUserAvailable = c.multiUser = c.headAvailable = c.head = true;
        c.reference = "standard 02";
        prepare(c);
        fixture().quickRequestedSession("Calibration", body, [&] {
            QCOMPARE(journal(), opening(c) + loaded + headRead(c) + showing(c));
            if (byOk)
                press("ok_button");
            else
                cancel();
        });
        QCOMPARE(journal(),
                 closing(c) + QStringList{"post Calibration BodyAdjustmentModule 1 reopen"});
        // The next opening is the user's own.
        fixture().quickSession([&] { QCOMPARE(journal(), openedAndShown(c)); });
        QCOMPARE(journal(), closing(c));
    }

    void aRequesterIsAnsweredAfterADialogThatWasHidden()
    {
        const Controller c;
        prepare(c);
        fixture().quickRequestedSession("Calibration", "standard|1", [&] {
            journal();
            dialog()->hide();
        });
        QCOMPARE(journal(), stopOfMeasurement(c) + unsubscribing(c) +
                                QStringList{"post Calibration BodyAdjustmentModule 1 reopen"});
    }

    // The object's life ---------------------------------------------------------------------------

    void theReceiverIsRegisteredOnceAndTakenBackOnce()
    {
        fixture().makeDialog();
        QCOMPARE(journal(), QStringList{"register BodyAdjustmentModule"});
        fixture().quickSession(nullptr);
        journal();
        fixture().dialog.reset();
        QCOMPARE(journal(), QStringList{"unregister BodyAdjustmentModule"});
    }

    void aProgramThatQuitsWhileTheDialogIsOpenLeavesTheControllerAsItWas()
    {
        Controller c;
        c.multiUserAvailable = c.multiUser = c.headAvailable = c.head = true;
        c.reference = "standard 02";
        prepare(c);
        fixture().makeDialog();
        runWhen([] { return true; }, [&] { dialog()->update_and_exec(); });
        runWhen([&] { return dialog()->isVisible(); },
                [&] {
                    journal();
                    QCoreApplication::quit();
                });
        QCoreApplication::exec();
        QVERIFY(!dialog()->isVisible());
        QCOMPARE(journal(), stopOfMeasurement(c) + unsubscribing(c) + restoring(c));
    }

    void anEndWhileTheDialogIsOpenRestoresTheController()
    {
        Controller c;
        c.multiUserAvailable = c.multiUser = c.headAvailable = c.head = true;
        c.reference = "standard 02";
        prepare(c);
        fixture().quickSession([&] {
            journal();
            fixture().dialog.reset();
        });
        QCOMPARE(journal(), QStringList{"unregister BodyAdjustmentModule"} + unsubscribing(c) +
                                stopOfMeasurement(c) + restoring(c));
    }
};

QUOREL2_TEST_MAIN(TestDialogTranscripts)
#include "tst_DialogTranscripts.moc"
