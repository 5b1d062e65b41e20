#include <protocol/BodyCatalogue.h>
#include <protocol/CommandChannel.h>
#include <protocol/TrackingSession.h>

#include <host/Requester.h>
#include <tests/support/FakeHost.h>
#include <tests/support/TestMain.h>

#include <QtTest>

namespace {

const QString kAvailable = QStringLiteral("vimbar multiuser_available");
const QString kOn = QStringLiteral("vimbar multiuser");
const QString kHeadAvailable = QStringLiteral("vimbar multiuser_with_head_available");
const QString kHeadOn = QStringLiteral("vimbar multiuser_with_head");
const QString kReference = QStringLiteral("tracking reference");
const QString kActive = QStringLiteral("status active");

const QString kHeadOffError =
    QStringLiteral("Error: Unable to deactivate multi user Vimbar with head");
const QString kOffError = QStringLiteral("Error: Unable to deactivate multi user Vimbar");
const QString kOnError = QStringLiteral("Error: Unable to activate multi user Vimbar");
const QString kHeadOnError =
    QStringLiteral("Error: Unable to activate multi user Vimbar with head");
const QString kReadReferenceError = QStringLiteral("Error: Unable to get info reference target");
const QString kUnsetReferenceError = QStringLiteral("Error: Unable to unset reference target");
const QString kRestoreReferenceError = QStringLiteral("Error: Unable to restore reference target");
const QString kStatusError = QStringLiteral("Error: Unable to check mea status");

class Listener : public Requester {
public:
    int receiveLine(const char *lineType, const char *) override
    {
        received += lineType;
        return 0;
    }
    int reserved1() override { return 0; }
    int reserved2() override { return 0; }

    QByteArrayList received;
};

struct Setup {
    FakeHost host;
    CommandChannel channel{&host};
    BodyCatalogue catalogue{&channel, &host.versions};
    TrackingSession session{&channel, &catalogue, &host.versions};
    Listener listener;

    void setMultiUser(bool on, bool withHead)
    {
        host.parameters[kAvailable] = host.parameters[kHeadAvailable] = QStringLiteral("yes");
        host.parameters[kOn] = on ? QStringLiteral("yes") : QStringLiteral("no");
        host.parameters[kHeadOn] = withHead ? QStringLiteral("yes") : QStringLiteral("no");
    }

    // What an exchange of its own would be in the way of.
    void makeTrackingAvailable(bool available)
    {
        host.parameters[QStringLiteral("tracking available")] =
            available ? QStringLiteral("yes") : QStringLiteral("no");
        session.readTrackingAvailable();
        host.clearRecords();
    }
};

FakeHost::Answer answerOf(const QByteArray &text, int status = 0)
{
    FakeHost::Answer answer;
    answer.text = text;
    answer.status = status;
    return answer;
}

const QStringList kMultiUserReads = {"get vimbar multiuser_available", "get vimbar multiuser",
                                     "get vimbar multiuser_with_head_available",
                                     "get vimbar multiuser_with_head"};

} // namespace

class tst_TrackingSession : public QObject {
    Q_OBJECT

private slots:
    void onlyNoLocksTheConfiguration_data();
    void onlyNoLocksTheConfiguration();
    void onlyNoMakesTrackingUnavailable_data();
    void onlyNoMakesTrackingUnavailable();
    void trackingIsDecidedAnewAtEachOpening();

    void multiUserIsSwitchedOffAndOnAgain_data();
    void multiUserIsSwitchedOffAndOnAgain();
    void multiUserIsRestoredOnce();
    void failedSwitchesAreReportedAndTheNextIsMade();

    void theReferenceIsUnsetAndRestored_data();
    void theReferenceIsUnsetAndRestored();
    void everyByteOfTheReferenceComesBack();
    void anUnreadableReferenceKeepsTheOneSaved();
    void aReferenceOfNoneForgetsTheOneSaved();
    void theReferenceIsRestoredAtEachClosing();
    void failuresOfTheReferenceAreReported();

    void showingSubscribesInOrder_data();
    void showingSubscribesInOrder();
    void hidingUnsubscribesTheLinesOfShowing();
    void theVimbarLineIsChosenAnewAtEachShowing();
    void aFailedActivationIsNotReported();

    void startingReadsTheStateBack_data();
    void startingReadsTheStateBack();
    void startAndStopAreNotChecked();
    void stoppingAsksFirst_data();
    void stoppingAsksFirst();
    void nothingStartsOrStopsWithoutTracking();
    void aWholeSessionLeavesTheControllerAsItWas();
};

void tst_TrackingSession::onlyNoLocksTheConfiguration_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("asked");
    QTest::addColumn<bool>("locked");
    QTest::newRow("no") << 1 << 9 << QByteArray("no") << 0 << true << true;
    QTest::newRow("yes") << 1 << 9 << QByteArray("yes") << 0 << true << false;
    QTest::newRow("empty") << 1 << 9 << QByteArray("") << 0 << true << false;
    QTest::newRow("No") << 1 << 9 << QByteArray("No") << 0 << true << false;
    QTest::newRow("no with a blank") << 1 << 9 << QByteArray("no ") << 0 << true << false;
    QTest::newRow("failed read") << 1 << 9 << QByteArray("no") << 1 << true << false;
    QTest::newRow("older backend") << 1 << 8 << QByteArray("no") << 0 << false << false;
}

void tst_TrackingSession::onlyNoLocksTheConfiguration()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(QByteArray, value);
    QFETCH(int, status);
    QFETCH(bool, asked);
    Setup s;
    s.host.setVersion(major, minor);
    s.host.answerExchange(1, answerOf(value, status));
    QTEST(s.session.readConfigurationLocked(), "locked");
    QCOMPARE(s.host.transcript, asked ? QStringList("get config is_changeable") : QStringList());
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_TrackingSession::onlyNoMakesTrackingUnavailable_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("asked");
    QTest::addColumn<bool>("available");
    QTest::newRow("no") << 0 << 17 << QByteArray("no") << 0 << true << false;
    QTest::newRow("yes") << 0 << 17 << QByteArray("yes") << 0 << true << true;
    QTest::newRow("empty") << 0 << 17 << QByteArray("") << 0 << true << true;
    QTest::newRow("NO") << 0 << 17 << QByteArray("NO") << 0 << true << true;
    QTest::newRow("failed read") << 0 << 17 << QByteArray("no") << -1 << true << true;
    QTest::newRow("older backend") << 0 << 16 << QByteArray("no") << 0 << false << true;
}

void tst_TrackingSession::onlyNoMakesTrackingUnavailable()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(QByteArray, value);
    QFETCH(int, status);
    QFETCH(bool, asked);
    QFETCH(bool, available);
    Setup s;
    QVERIFY(!s.session.isTrackingAvailable());
    s.host.setVersion(major, minor);
    s.host.answerExchange(1, answerOf(value, status));
    QCOMPARE(s.session.readTrackingAvailable(), available);
    QCOMPARE(s.session.isTrackingAvailable(), available);
    QCOMPARE(s.host.transcript, asked ? QStringList("get tracking available") : QStringList());
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_TrackingSession::trackingIsDecidedAnewAtEachOpening()
{
    Setup s;
    s.makeTrackingAvailable(false);
    QVERIFY(!s.session.isTrackingAvailable());
    s.makeTrackingAvailable(true);
    QVERIFY(s.session.isTrackingAvailable());
    s.makeTrackingAvailable(false);
    QVERIFY(!s.session.isTrackingAvailable());
}

void tst_TrackingSession::multiUserIsSwitchedOffAndOnAgain_data()
{
    QTest::addColumn<bool>("on");
    QTest::addColumn<bool>("withHead");
    QTest::addColumn<QStringList>("off");
    QTest::addColumn<QStringList>("again");
    QTest::newRow("on, with head")
        << true << true
        << QStringList({"set vimbar multiuser_with_head no", "set vimbar multiuser no"})
        << QStringList({"set vimbar multiuser yes", "set vimbar multiuser_with_head yes"});
    QTest::newRow("on, without head") << true << false << QStringList("set vimbar multiuser no")
                                      << QStringList("set vimbar multiuser yes");
    QTest::newRow("off, with head") << false << true << QStringList() << QStringList();
    QTest::newRow("off") << false << false << QStringList() << QStringList();
}

void tst_TrackingSession::multiUserIsSwitchedOffAndOnAgain()
{
    QFETCH(bool, on);
    QFETCH(bool, withHead);
    QFETCH(QStringList, off);
    QFETCH(QStringList, again);
    Setup s;
    s.setMultiUser(on, withHead);
    const auto before = s.host.parameters;
    s.session.switchOffMultiUser();
    QCOMPARE(s.host.transcript, kMultiUserReads + off);
    QCOMPARE(s.host.parameters.value(kOn), QStringLiteral("no"));
    s.host.clearRecords();
    s.session.restoreMultiUser();
    QCOMPARE(s.host.transcript, again);
    QCOMPARE(s.host.parameters, before);
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_TrackingSession::multiUserIsRestoredOnce()
{
    Setup s;
    s.session.restoreMultiUser();
    QCOMPARE(s.host.transcript, QStringList());

    s.setMultiUser(true, true);
    s.session.switchOffMultiUser();
    s.host.failLine(QStringLiteral("set vimbar multiuser yes"));
    s.session.restoreMultiUser();
    s.host.clearFaults();
    s.host.clearRecords();
    s.session.restoreMultiUser(); // even after a failure
    QCOMPARE(s.host.transcript, QStringList());

    // A user who switches it off between two openings is not overruled.
    s.setMultiUser(true, true);
    s.session.switchOffMultiUser();
    s.setMultiUser(false, false);
    s.session.switchOffMultiUser();
    s.host.clearRecords();
    s.session.restoreMultiUser();
    QCOMPARE(s.host.transcript, QStringList());
}

void tst_TrackingSession::failedSwitchesAreReportedAndTheNextIsMade()
{
    Setup s;
    s.setMultiUser(true, true);
    s.host.failExchange(5);
    s.host.failExchange(6);
    s.session.switchOffMultiUser();
    QCOMPARE(s.host.errors(), QStringList({kHeadOffError, kOffError}));
    QCOMPARE(s.host.transcript, kMultiUserReads + QStringList({"set vimbar multiuser_with_head no",
                                                               "set vimbar multiuser no"}));

    s.host.clearFaults();
    s.host.clearRecords();
    s.host.failExchange(1);
    s.host.failExchange(2);
    s.session.restoreMultiUser();
    QCOMPARE(s.host.errors(), QStringList({kOnError, kHeadOnError}));
    QCOMPARE(s.host.transcript,
             QStringList({"set vimbar multiuser yes", "set vimbar multiuser_with_head yes"}));
}

void tst_TrackingSession::theReferenceIsUnsetAndRestored_data()
{
    QTest::addColumn<QString>("reference");
    QTest::addColumn<bool>("unset");
    QTest::addColumn<bool>("restored");
    QTest::newRow("two words") << "standard b02" << true << true;
    QTest::newRow("one word") << "standard" << true << false;
    QTest::newRow("three words") << "standard b02 now" << true << false;
    QTest::newRow("two blanks between") << "standard  b02" << true << false;
    QTest::newRow("blank behind two words") << "standard b02 " << true << false;
    QTest::newRow("blank behind one word") << "standard " << true << true;
    QTest::newRow("blank before one word") << " standard" << true << true;
    QTest::newRow("one blank") << " " << true << true;
    QTest::newRow("tabulator between") << "standard\tb02" << true << false;
    QTest::newRow("format letters") << "%s %n" << true << true;
    QTest::newRow("none") << "none" << false << false;
    QTest::newRow("empty") << "" << false << false;
    QTest::newRow("None") << "None" << true << false;
    QTest::newRow("none and a blank") << "none " << true << true;
}

void tst_TrackingSession::theReferenceIsUnsetAndRestored()
{
    QFETCH(QString, reference);
    QFETCH(bool, unset);
    QFETCH(bool, restored);
    Setup s;
    s.host.parameters[kReference] = reference;
    s.session.saveAndUnsetReference();
    QStringList expected = {"get tracking reference"};
    if (unset)
        expected += QStringLiteral("set tracking reference none");
    QCOMPARE(s.host.transcript, expected);
    s.host.clearRecords();
    s.session.restoreReference();
    QCOMPARE(s.host.transcript,
             restored ? QStringList("set tracking reference " + reference) : QStringList());
    if (restored)
        QCOMPARE(s.host.parameters.value(kReference), reference);
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_TrackingSession::everyByteOfTheReferenceComesBack()
{
    QByteArray text = "K\xF6rper\x01\xFF|;\"' %d\xA0\x80";
    QCOMPARE(text.count(' '), 1);
    Setup s;
    s.host.answerExchange(1, answerOf(text));
    s.session.saveAndUnsetReference();
    s.session.restoreReference();
    QCOMPARE(s.host.transcript.last().toLatin1(), "set tracking reference " + text);
}

void tst_TrackingSession::anUnreadableReferenceKeepsTheOneSaved()
{
    Setup s;
    s.host.parameters[kReference] = QStringLiteral("standard b02");
    s.session.saveAndUnsetReference();
    s.host.clearRecords();
    s.host.answerExchange(1, answerOf("vimbar b01", 1));
    s.session.saveAndUnsetReference();
    QCOMPARE(s.host.errors(), QStringList(kReadReferenceError));
    QCOMPARE(s.host.transcript, QStringList("get tracking reference"));
    s.session.restoreReference();
    QCOMPARE(s.host.transcript.last(), QStringLiteral("set tracking reference standard b02"));
}

void tst_TrackingSession::aReferenceOfNoneForgetsTheOneSaved()
{
    Setup s;
    s.host.parameters[kReference] = QStringLiteral("standard b02");
    s.session.saveAndUnsetReference();
    s.host.parameters[kReference] = QStringLiteral("none");
    s.session.saveAndUnsetReference();
    s.host.clearRecords();
    s.session.restoreReference();
    QCOMPARE(s.host.transcript, QStringList());
}

void tst_TrackingSession::theReferenceIsRestoredAtEachClosing()
{
    Setup s;
    s.host.parameters[kReference] = QStringLiteral("standard b02");
    s.session.saveAndUnsetReference();
    s.session.restoreReference();
    s.host.clearRecords();
    s.session.restoreReference();
    QCOMPARE(s.host.transcript, QStringList("set tracking reference standard b02"));
}

void tst_TrackingSession::failuresOfTheReferenceAreReported()
{
    Setup s;
    s.host.parameters[kReference] = QStringLiteral("standard b02");
    s.host.failExchange(2);
    s.session.saveAndUnsetReference();
    QCOMPARE(s.host.errors(), QStringList(kUnsetReferenceError));
    s.host.clearFaults();
    s.host.clearRecords();
    s.host.failExchange(1);
    s.session.restoreReference();
    QCOMPARE(s.host.errors(), QStringList(kRestoreReferenceError));
    QCOMPARE(s.host.transcript, QStringList("set tracking reference standard b02"));
}

void tst_TrackingSession::showingSubscribesInOrder_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("asked");
    QTest::addColumn<QString>("line");
    const QByteArray yes = "quorel2 set vimbar output_6df yes";
    QTest::newRow("output is 6df") << 0 << 6 << yes << 0 << true << "6df";
    QTest::newRow("output is 6df, newer backend") << 1 << 17 << yes << 0 << true << "6df";
    QTest::newRow("output is not 6df")
        << 0 << 6 << QByteArray("quorel2 set vimbar output_6df no") << 0 << true << "6df2";
    QTest::newRow("only the value") << 0 << 6 << QByteArray("yes") << 0 << true << "6df2";
    QTest::newRow("blank behind") << 0 << 6 << yes + ' ' << 0 << true << "6df2";
    QTest::newRow("other case") << 0 << 6 << yes.toUpper() << 0 << true << "6df2";
    QTest::newRow("empty reply") << 0 << 6 << QByteArray("") << 0 << true << "6df2";
    QTest::newRow("error") << 0 << 6 << QByteArray("quorel2 err") << 0 << true << "6df2";
    QTest::newRow("failed") << 0 << 6 << yes << 1 << true << "6df2";
    QTest::newRow("backend older than 0.6") << 0 << 5 << yes << 0 << false << "6df2";
    QTest::newRow("odd patch of 0.6") << 0 << -6 << yes << 0 << false << "6df2";
}

void tst_TrackingSession::showingSubscribesInOrder()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(QByteArray, reply);
    QFETCH(int, status);
    QFETCH(bool, asked);
    QFETCH(QString, line);
    Setup s;
    s.host.setVersion(major, qAbs(minor), minor < 0 ? -2 : -1);
    s.host.answerLine(QStringLiteral("quorel2 get vimbar output_6df"), answerOf(reply, status));
    s.session.subscribe(&s.listener);

    QStringList expected = {"add 6d"};
    if (asked)
        expected += QStringLiteral("quorel2 get vimbar output_6df");
    expected += QStringLiteral("add ") + line;
    expected += QStringLiteral("set output active chmon %1 yes").arg(line);
    QCOMPARE(s.host.journal, expected);
    QCOMPARE(s.host.requesters.keys(), QStringList({"6d", line}));
    QCOMPARE(s.host.parameters.value(QStringLiteral("output active chmon ") + line),
             QStringLiteral("yes"));
    for (const char *type : {"6d", "6df", "6df2", "3d"})
        s.host.deliver(type, QByteArray(type) + " 0");
    QCOMPARE(s.listener.received, QByteArrayList({"6d", line.toLatin1()}));
}

void tst_TrackingSession::hidingUnsubscribesTheLinesOfShowing()
{
    for (const char *form : {"yes", "no"}) {
        Setup s;
        s.host.parameters[QStringLiteral("vimbar output_6df")] = QLatin1String(form);
        s.session.subscribe(&s.listener);
        // What the controller says by now does not matter.
        s.host.parameters[QStringLiteral("vimbar output_6df")] = QStringLiteral("?");
        s.host.clearRecords();
        s.session.unsubscribe(&s.listener);
        const QString line =
            form == QByteArray("yes") ? QStringLiteral("6df") : QStringLiteral("6df2");
        QCOMPARE(s.host.journal, QStringList({"remove 6d", "remove " + line}));
        QVERIFY(s.host.requesters.isEmpty());
    }
}

void tst_TrackingSession::theVimbarLineIsChosenAnewAtEachShowing()
{
    Setup s;
    s.host.parameters[QStringLiteral("vimbar output_6df")] = QStringLiteral("yes");
    s.session.subscribe(&s.listener);
    s.session.unsubscribe(&s.listener);
    s.host.parameters[QStringLiteral("vimbar output_6df")] = QStringLiteral("no");
    s.session.subscribe(&s.listener);
    QCOMPARE(s.host.requesters.keys(), QStringList({"6d", "6df2"}));
    s.session.unsubscribe(&s.listener);
    QVERIFY(s.host.requesters.isEmpty());

    // A backend that cannot be asked any more does not leave the form of last time in force.
    s.host.parameters[QStringLiteral("vimbar output_6df")] = QStringLiteral("yes");
    s.session.subscribe(&s.listener);
    s.session.unsubscribe(&s.listener);
    s.host.setVersion(0, 5);
    s.session.subscribe(&s.listener);
    QCOMPARE(s.host.requesters.keys(), QStringList({"6d", "6df2"}));
}

void tst_TrackingSession::aFailedActivationIsNotReported()
{
    Setup s;
    s.host.failLine(QStringLiteral("set output active chmon 6df2 yes"));
    s.session.subscribe(&s.listener);
    QVERIFY(s.host.messages.isEmpty());
    QCOMPARE(s.host.requesters.size(), 2);
}

void tst_TrackingSession::startingReadsTheStateBack_data()
{
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("running");
    QTest::addColumn<QStringList>("errors");
    QTest::newRow("measuring") << QByteArray("mea") << 0 << true << QStringList();
    QTest::newRow("idle") << QByteArray("idle") << 0 << false << QStringList();
    QTest::newRow("empty") << QByteArray("") << 0 << false << QStringList();
    QTest::newRow("other case") << QByteArray("Mea") << 0 << false << QStringList();
    QTest::newRow("longer") << QByteArray("mea ") << 0 << false << QStringList();
    QTest::newRow("failed") << QByteArray("mea") << 1 << false << QStringList(kStatusError);
}

void tst_TrackingSession::startingReadsTheStateBack()
{
    QFETCH(QByteArray, state);
    QFETCH(int, status);
    QFETCH(bool, running);
    for (const bool ranBefore : {false, true}) {
        Setup s;
        s.makeTrackingAvailable(true);
        if (ranBefore)
            s.session.startMeasurement();
        QCOMPARE(s.session.isMeasurementRunning(), ranBefore);
        s.host.clearRecords();
        s.host.answerLine(QStringLiteral("get status active"), answerOf(state, status));
        s.session.startMeasurement();
        QCOMPARE(s.host.transcript, QStringList({"quorel2 tracking start", "get status active"}));
        // What is not "mea" leaves the flag as it was.
        QCOMPARE(s.session.isMeasurementRunning(), running || ranBefore);
        QTEST(s.host.errors(), "errors");
    }
}

void tst_TrackingSession::startAndStopAreNotChecked()
{
    Setup s;
    s.makeTrackingAvailable(true);
    s.host.parameters[kActive] = QStringLiteral("mea");
    for (const auto &answer : {answerOf("quorel2 err"), answerOf("", 1)}) {
        s.host.answerLine(QStringLiteral("quorel2 tracking start"), answer);
        s.host.answerLine(QStringLiteral("quorel2 tracking stop"), answer);
        s.session.startMeasurement();
        QVERIFY(s.session.isMeasurementRunning());
        s.session.stopMeasurement();
        QVERIFY(!s.session.isMeasurementRunning());
        s.session.startTracking();
        s.session.stopTracking();
    }
    QVERIFY(s.host.messages.isEmpty());
}

void tst_TrackingSession::stoppingAsksFirst_data()
{
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("stops");
    QTest::newRow("measuring") << QByteArray("mea") << 0 << true;
    QTest::newRow("idle") << QByteArray("idle") << 0 << false;
    QTest::newRow("empty") << QByteArray("") << 0 << false;
    QTest::newRow("longer") << QByteArray("meas") << 0 << false;
    QTest::newRow("failed") << QByteArray("mea") << 1 << false;
}

void tst_TrackingSession::stoppingAsksFirst()
{
    QFETCH(QByteArray, state);
    QFETCH(int, status);
    QFETCH(bool, stops);
    Setup s;
    s.makeTrackingAvailable(true);
    s.session.startMeasurement();
    QVERIFY(s.session.isMeasurementRunning());
    s.host.clearRecords();
    s.host.answerLine(QStringLiteral("get status active"), answerOf(state, status));
    s.session.stopMeasurement();
    QStringList expected = {"get status active"};
    if (stops)
        expected += QStringLiteral("quorel2 tracking stop");
    QCOMPARE(s.host.transcript, expected);
    QCOMPARE(s.session.isMeasurementRunning(), !stops);
    QVERIFY(s.host.messages.isEmpty());
}

void tst_TrackingSession::nothingStartsOrStopsWithoutTracking()
{
    Setup s;
    s.makeTrackingAvailable(false);
    s.host.parameters[kActive] = QStringLiteral("mea");
    s.session.startTracking();
    s.session.stopTracking();
    QCOMPARE(s.host.transcript, QStringList());
    s.session.startMeasurement();
    QCOMPARE(s.host.transcript, QStringList("get status active"));
    QVERIFY(s.session.isMeasurementRunning());
    s.session.stopMeasurement();
    QCOMPARE(s.host.transcript, QStringList({"get status active", "get status active"}));
    QVERIFY(!s.session.isMeasurementRunning());
}

void tst_TrackingSession::aWholeSessionLeavesTheControllerAsItWas()
{
    Setup s;
    s.setMultiUser(true, true);
    s.host.parameters[kReference] = QStringLiteral("standard b02");
    s.host.parameters[QStringLiteral("output active chmon 6df2")] = QStringLiteral("yes");
    const auto before = s.host.parameters;

    QVERIFY(!s.session.readConfigurationLocked());
    QVERIFY(s.session.readTrackingAvailable());
    s.session.switchOffMultiUser();
    s.session.saveAndUnsetReference();
    QVERIFY(!s.catalogue.isMultiUserOn());
    QVERIFY(!s.catalogue.isMultiUserWithHeadOn());
    s.session.subscribe(&s.listener);
    s.session.startMeasurement();
    QVERIFY(s.session.isMeasurementRunning());
    s.session.stopMeasurement();
    s.session.restoreMultiUser();
    s.session.restoreReference();
    s.session.stopMeasurement();
    s.session.unsubscribe(&s.listener);

    QCOMPARE(s.host.parameters, before);
    QCOMPARE(s.host.errors(), QStringList());
    QCOMPARE(s.host.journal, QStringList({"get config is_changeable",
                                          "get tracking available",
                                          "get vimbar multiuser_available",
                                          "get vimbar multiuser",
                                          "get vimbar multiuser_with_head_available",
                                          "get vimbar multiuser_with_head",
                                          "set vimbar multiuser_with_head no",
                                          "set vimbar multiuser no",
                                          "get tracking reference",
                                          "set tracking reference none",
                                          "get vimbar multiuser_available",
                                          "get vimbar multiuser",
                                          "get vimbar multiuser_with_head_available",
                                          "get vimbar multiuser_with_head",
                                          "add 6d",
                                          "quorel2 get vimbar output_6df",
                                          "add 6df2",
                                          "set output active chmon 6df2 yes",
                                          "quorel2 tracking start",
                                          "get status active",
                                          "get status active",
                                          "quorel2 tracking stop",
                                          "set vimbar multiuser yes",
                                          "set vimbar multiuser_with_head yes",
                                          "set tracking reference standard b02",
                                          "get status active",
                                          "remove 6d",
                                          "remove 6df2"}));
}

QUOREL2_TEST_MAIN(tst_TrackingSession)
#include "tst_TrackingSession.moc"
