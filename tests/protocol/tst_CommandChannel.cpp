#include <protocol/CommandChannel.h>

#include <host/MessageReceiver.h>
#include <host/Requester.h>
#include <tests/support/CommaLocale.h>
#include <tests/support/FakeHost.h>
#include <tests/support/TestMain.h>

#include <QLoggingCategory>
#include <QtTest>

#include <climits>
#include <clocale>
#include <cstdio>
#include <functional>
#include <locale.h>
#include <string>
#include <thread>

namespace {

struct NamedCall {
    const char *name;
    FakeHost::Operation operation;
    const char *format;
    const char *line;
    /// @return what a caller sees of success
    std::function<bool(CommandChannel &)> call;
};

const QString kType = QStringLiteral("standard");

// Every exchange that the channel knows, in the words of the controller.
const QVector<NamedCall> &everyCall()
{
    using Operation = FakeHost::Operation;
    static const QVector<NamedCall> calls = {
        {"start tracking", Operation::Command, "quorel2 tracking start", "quorel2 tracking start",
         [](CommandChannel &c) { return c.startTracking().status == 0; }},
        {"stop tracking", Operation::Command, "quorel2 tracking stop", "quorel2 tracking stop",
         [](CommandChannel &c) { return c.stopTracking().status == 0; }},
        {"vimbar output form", Operation::Command, "quorel2 get vimbar output_6df",
         "quorel2 get vimbar output_6df",
         [](CommandChannel &c) { return c.askVimbarOutputForm().status == 0; }},
        {"delete marker", Operation::Command, "quorel2 body delete_marker %s b%02d m%02d",
         "quorel2 body delete_marker standard b03 m05",
         [](CommandChannel &c) { return c.deleteMarker(kType, 3, 5).status == 0; }},
        {"transform body", Operation::Command,
         "quorel2 body transform %s b%02d %.3f %.3f %.3f %.8f %.8f %.8f %.8f %.8f %.8f %.8f %.8f "
         "%.8f",
         "quorel2 body transform standard b03 1.500 -2.250 1000.125 0.50000000 -0.25000000 "
         "0.12345679 1.00000000 2.00000000 3.00000000 4.00000000 5.00000000 -6.50000000",
         [](CommandChannel &c) {
             return c.transformBody(
                         kType, 3,
                         {1.5, -2.25, 1000.125, 0.5, -0.25, 0.123456789, 1, 2, 3, 4, 5, -6.5})
                        .status == 0;
         }},
        {"configuration changeable", Operation::GetString, "config is_changeable",
         "get config is_changeable",
         [](CommandChannel &c) { return c.readConfigurationChangeable().has_value(); }},
        {"tracking available", Operation::GetString, "tracking available", "get tracking available",
         [](CommandChannel &c) { return c.readTrackingAvailable().has_value(); }},
        {"measurement state", Operation::GetString, "status active", "get status active",
         [](CommandChannel &c) { return c.readMeasurementState().has_value(); }},
        {"reference", Operation::GetString, "tracking reference", "get tracking reference",
         [](CommandChannel &c) { return c.readReference().has_value(); }},
        {"multi-user available", Operation::GetString, "vimbar multiuser_available",
         "get vimbar multiuser_available",
         [](CommandChannel &c) { return c.readMultiUserAvailable().has_value(); }},
        {"multi-user", Operation::GetString, "vimbar multiuser", "get vimbar multiuser",
         [](CommandChannel &c) { return c.readMultiUser().has_value(); }},
        {"multi-user with head available", Operation::GetString,
         "vimbar multiuser_with_head_available", "get vimbar multiuser_with_head_available",
         [](CommandChannel &c) { return c.readMultiUserWithHeadAvailable().has_value(); }},
        {"multi-user with head", Operation::GetString, "vimbar multiuser_with_head",
         "get vimbar multiuser_with_head",
         [](CommandChannel &c) { return c.readMultiUserWithHead().has_value(); }},
        {"number of devices", Operation::GetInt, "vimbar number_of_devices",
         "get vimbar number_of_devices",
         [](CommandChannel &c) { return c.readDeviceCount().has_value(); }},
        {"number of types", Operation::GetInt, "body number_of_types", "get body number_of_types",
         [](CommandChannel &c) { return c.readTypeCount().has_value(); }},
        {"type", Operation::GetString, "body type t%2.2d", "get body type t02",
         [](CommandChannel &c) { return c.readBodyType(2).has_value(); }},
        {"number of bodies", Operation::GetInt, "body number_of_bodies %s",
         "get body number_of_bodies standard",
         [](CommandChannel &c) { return c.readBodyCount(kType).has_value(); }},
        {"number of standard bodies", Operation::GetInt, "body number_of_bodies standard",
         "get body number_of_bodies standard",
         [](CommandChannel &c) { return c.readStandardBodyCount().has_value(); }},
        {"number of vimbars", Operation::GetInt, "body number_of_bodies vimbar",
         "get body number_of_bodies vimbar",
         [](CommandChannel &c) { return c.readVimbarCount().has_value(); }},
        {"type description", Operation::GetString, "body type_desc %s",
         "get body type_desc standard",
         [](CommandChannel &c) { return c.readTypeDescription(kType).has_value(); }},
        {"calibration", Operation::GetString, "body calibrated %s b%2.2d",
         "get body calibrated standard b03",
         [](CommandChannel &c) { return c.readCalibration(kType, 3).has_value(); }},
        {"target type", Operation::GetString, "body target_type %s b%02d",
         "get body target_type standard b03",
         [](CommandChannel &c) { return c.readTargetType(kType, 3).has_value(); }},
        {"description", Operation::GetString, "body desc %s b%2.2d", "get body desc standard b03",
         [](CommandChannel &c) { return c.readDescription(kType, 3).has_value(); }},
        {"number of markers", Operation::GetInt, "body number_of_marker %s b%2.2d",
         "get body number_of_marker standard b03",
         [](CommandChannel &c) { return c.readMarkerCount(kType, 3).has_value(); }},
        {"marker", Operation::GetDoubles, "body marker %s b%2.2d m%2.2d",
         "get body marker standard b03 m12",
         [](CommandChannel &c) { return c.readMarker(kType, 3, 12).has_value(); }},
        {"emission", Operation::GetDoubles, "body marker_emission %s b%2.2d m%2.2d",
         "get body marker_emission standard b03 m12",
         [](CommandChannel &c) { return c.readEmission(kType, 3, 12).has_value(); }},
        {"activate output", Operation::Set, "output active %s %s yes",
         "set output active chmon 6df2 yes",
         [](CommandChannel &c) { return c.activateOutput("6df2"); }},
        {"multi-user on", Operation::Set, "vimbar multiuser yes", "set vimbar multiuser yes",
         [](CommandChannel &c) { return c.setMultiUser(true); }},
        {"multi-user off", Operation::Set, "vimbar multiuser no", "set vimbar multiuser no",
         [](CommandChannel &c) { return c.setMultiUser(false); }},
        {"multi-user with head on", Operation::Set, "vimbar multiuser_with_head yes",
         "set vimbar multiuser_with_head yes",
         [](CommandChannel &c) { return c.setMultiUserWithHead(true); }},
        {"multi-user with head off", Operation::Set, "vimbar multiuser_with_head no",
         "set vimbar multiuser_with_head no",
         [](CommandChannel &c) { return c.setMultiUserWithHead(false); }},
        {"unset reference", Operation::Set, "tracking reference none",
         "set tracking reference none", [](CommandChannel &c) { return c.unsetReference(); }},
        {"restore reference", Operation::Set, "tracking reference %s",
         "set tracking reference standard 2",
         [](CommandChannel &c) { return c.setReference(QStringLiteral("standard 2")); }},
        {"set number of markers", Operation::Set, "body number_of_marker %s b%2.2d %d",
         "set body number_of_marker standard b03 6",
         [](CommandChannel &c) { return c.setMarkerCount(kType, 3, 6); }},
        {"set marker", Operation::Set, "body marker %s b%2.2d m%2.2d %.3f %.3f %.3f",
         "set body marker standard b03 m05 1.500 -0.001 1234567.891",
         [](CommandChannel &c) {
             return c.setMarker(kType, 3, 5, bsVector(1.5, -0.0009, 1234567.8912));
         }},
        {"set emission", Operation::Set,
         "body marker_emission %s b%2.2d m%2.2d %.3f %.3f %.3f %.3f",
         "set body marker_emission standard b03 m05 0.500 -0.250 0.829 60.000",
         [](CommandChannel &c) {
             return c.setEmission(kType, 3, 5, Emission{0.5, -0.25, 0.8291, 60.0});
         }},
    };
    return calls;
}

// A value that satisfies every kind of read.
FakeHost::Answer goodAnswer()
{
    FakeHost::Answer answer;
    answer.text = "1 2 3 4";
    return answer;
}

// Promises numbers and leaves some out.
class ForgetfulHost : public FakeHost {
public:
    int getDoubles(double *values, int, const char *, ...) override
    {
        values[0] = 1.0;
        values[1] = 2.0;
        return 0;
    }
};

class NoRequester : public Requester {
public:
    int receiveLine(const char *, const char *) override { return 0; }
    int reserved1() override { return 0; }
    int reserved2() override { return 0; }
};

class NoReceiver : public MessageReceiver {
public:
    int receiveMessage(int, const char *, const char *) override { return 0; }
};

QByteArray oneAndAHalf()
{
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", 1.5);
    return text;
}

QStringList g_logged;

void keepLogged(QtMsgType, const QMessageLogContext &context, const QString &text)
{
    g_logged += QLatin1String(context.category) + QLatin1String(": ") + text;
}

} // namespace

class tst_CommandChannel : public QObject {
    Q_OBJECT

private slots:
    void theFakeHostLetsACommaThrough();
    void everyExchangeHasItsFormatAndItsLine_data() { addLocaleRows(); }
    void everyExchangeHasItsFormatAndItsLine();
    void everyExchangeFailsWithItsStatus();
    void everyExchangeFailsWithoutAService();
    void numbersAreReadWithPoints_data() { addLocaleRows(); }
    void numbersAreReadWithPoints();
    void valuesThatAreNoFiniteNumbersFail_data();
    void valuesThatAreNoFiniteNumbersFail();
    void numbersThatTheHostLeavesOutFail();
    void garbageWhereAnIntegerIsDueFails();
    void theLocaleIsTheThreadsOwnAgainAfterwards();
    void otherThreadsKeepTheirLocaleDuringAnExchange();
    void aFailedExchangePutsTheLocaleBackToo();
    void textsAreDataNotFormats();
    void everyByteSurvivesTheWayInAndOut();
    void textsAreNotTrimmed();
    void aBufferFilledToTheBrimIsEnded();
    void longestPromisedAnswersArriveWhole();
    void unwrittenBuffersAreEmpty();
    void onlyTheWholePositiveReplyIsOk_data();
    void onlyTheWholePositiveReplyIsOk();
    void anyOtherStatusThanZeroIsNotOk_data();
    void anyOtherStatusThanZeroIsNotOk();
    void wideNumbersArePrintedWhole();
    void errorsGoToTheStandardWindow();
    void messagesGoToTheModule();
    void subscriptionsAndReceiversArePassedOn();
    void exchangesAreLoggedOnlyWhenAskedFor();
};

// The other cases mean something only if a host in the comma's locale shows it.
void tst_CommandChannel::theFakeHostLetsACommaThrough()
{
    const CommaLocale locale;
    if (!locale.isAsWanted())
        QSKIP("NOT TESTED: this system has no locale with a decimal comma and cannot make one");
    FakeHost host;
    host.addBody(kType, 1, QString(), true, QStringLiteral("tt_std"), {bsVector(1.5, 2.5, 3.5)});
    host.setParameter("body marker %s b%2.2d m%2.2d %.3f", "standard", 1, 1, 1.5);
    QCOMPARE(host.transcript.last(), QStringLiteral("set body marker standard b01 m01 1,500"));
    double values[3] = {};
    QVERIFY(host.getDoubles(values, 3, "body marker standard b01 m01") != 0 || values[0] != 1.5);
}

void tst_CommandChannel::everyExchangeHasItsFormatAndItsLine()
{
    UNDER_LOCALE_OF_ROW();
    FakeHost host;
    CommandChannel channel(&host);
    FakeHost::Exchange seen{};
    host.hook = [&seen](const FakeHost::Exchange &exchange) {
        seen = exchange;
        return goodAnswer();
    };
    for (const NamedCall &named : everyCall()) {
        host.clearRecords();
        QVERIFY2(named.call(channel), named.name);
        QCOMPARE(host.transcript, QStringList(QLatin1String(named.line)));
        QCOMPARE(seen.format, QByteArray(named.format));
        QVERIFY2(seen.operation == named.operation, named.name);
    }
}

void tst_CommandChannel::everyExchangeFailsWithItsStatus()
{
    for (const int status : {1, -1, 256, 65536, INT_MIN, INT_MAX}) {
        FakeHost host;
        CommandChannel channel(&host);
        host.hook = [status](const FakeHost::Exchange &) {
            FakeHost::Answer answer = goodAnswer();
            answer.status = status;
            return answer;
        };
        for (const NamedCall &named : everyCall())
            QVERIFY2(!named.call(channel), named.name);
        // Reporting is the caller's.
        QVERIFY(host.messages.isEmpty());
    }
}

void tst_CommandChannel::everyExchangeFailsWithoutAService()
{
    CommandChannel channel(nullptr);
    for (const NamedCall &named : everyCall())
        QVERIFY2(!named.call(channel), named.name);
    NoRequester requester;
    NoReceiver receiver;
    channel.addRequester("6d", &requester);
    channel.removeRequester("6d", &requester);
    channel.registerReceiver("module", &receiver);
    channel.unregisterReceiver("module", &receiver);
    channel.postError("Error: Unable to check mea status");
    channel.postMessage(QStringLiteral("module"), "reopen");
}

void tst_CommandChannel::numbersAreReadWithPoints()
{
    UNDER_LOCALE_OF_ROW();
    FakeHost host;
    CommandChannel channel(&host);
    FakeHost::Answer answer;
    answer.text = "1.5 -2.25 1e2 0.125";
    host.answerLine(QStringLiteral("get body marker standard b01 m02"), answer);
    host.answerLine(QStringLiteral("get body marker_emission standard b01 m02"), answer);

    const auto marker = channel.readMarker(kType, 1, 2);
    QVERIFY(marker.has_value());
    QCOMPARE(marker->x, 1.5);
    QCOMPARE(marker->y, -2.25);
    QCOMPARE(marker->z, 100.0);
    const auto emission = channel.readEmission(kType, 1, 2);
    QVERIFY(emission.has_value());
    QCOMPARE(emission->x, 1.5);
    QCOMPARE(emission->y, -2.25);
    QCOMPARE(emission->z, 100.0);
    QCOMPARE(emission->angleDeg, 0.125);
}

void tst_CommandChannel::valuesThatAreNoFiniteNumbersFail_data()
{
    QTest::addColumn<QByteArray>("value");
    for (const char *value :
         {"", " ", "nan 0 0 0", "0 nan 0 0", "0 0 nan 0", "inf 0 0 0", "0 -inf 0 0", "0 0 1e999 0",
          "0 0 infinity 0", "1 2", "1 2 x", "x 1 2 3", "1,5 2,5 3,5 4,5", "yes"})
        QTest::addRow("\"%s\"", value) << QByteArray(value);
}

void tst_CommandChannel::valuesThatAreNoFiniteNumbersFail()
{
    QFETCH(QByteArray, value);
    FakeHost host;
    CommandChannel channel(&host);
    host.hook = [&value](const FakeHost::Exchange &) {
        FakeHost::Answer answer;
        answer.text = value;
        return answer;
    };
    for (const bool comma : {false, true}) {
        const CommaLocale locale(comma);
        QVERIFY(!channel.readMarker(kType, 1, 1).has_value());
        QVERIFY(!channel.readEmission(kType, 1, 1).has_value());
    }
}

void tst_CommandChannel::numbersThatTheHostLeavesOutFail()
{
    ForgetfulHost host;
    CommandChannel channel(&host);
    QVERIFY(!channel.readMarker(kType, 1, 1).has_value());
    QVERIFY(!channel.readEmission(kType, 1, 1).has_value());
}

void tst_CommandChannel::garbageWhereAnIntegerIsDueFails()
{
    FakeHost host;
    CommandChannel channel(&host);
    host.parameters[QStringLiteral("body number_of_types")] = QStringLiteral("many");
    QVERIFY(!channel.readTypeCount().has_value());
    host.parameters[QStringLiteral("body number_of_types")] = QString();
    QVERIFY(!channel.readTypeCount().has_value());
    host.parameters[QStringLiteral("body number_of_types")] = QStringLiteral("-2");
    QCOMPARE(channel.readTypeCount().value_or(0), -2);
}

void tst_CommandChannel::theLocaleIsTheThreadsOwnAgainAfterwards()
{
    const CommaLocale locale;
    if (!locale.isAsWanted())
        QSKIP("NOT TESTED: this system has no locale with a decimal comma and cannot make one");
    const std::string processLocale = std::setlocale(LC_ALL, nullptr);
    FakeHost host;
    CommandChannel channel(&host);
    QByteArray during;
    host.hook = [&during](const FakeHost::Exchange &) {
        during = oneAndAHalf();
        return goodAnswer();
    };
    for (const NamedCall &named : everyCall()) {
        QCOMPARE(oneAndAHalf(), QByteArray("1,5"));
        named.call(channel);
        QCOMPARE(during, QByteArray("1.5"));
        QCOMPARE(oneAndAHalf(), QByteArray("1,5"));
        QVERIFY(uselocale(nullptr) == LC_GLOBAL_LOCALE);
        QCOMPARE(std::string(std::setlocale(LC_ALL, nullptr)), processLocale);
    }

    // A thread with a locale of its own gets that one back.
    const locale_t own = newlocale(LC_ALL_MASK, "C", nullptr);
    uselocale(own);
    channel.startTracking();
    QVERIFY(uselocale(nullptr) == own);
    uselocale(LC_GLOBAL_LOCALE);
    freelocale(own);
}

void tst_CommandChannel::otherThreadsKeepTheirLocaleDuringAnExchange()
{
    const CommaLocale locale;
    if (!locale.isAsWanted())
        QSKIP("NOT TESTED: this system has no locale with a decimal comma and cannot make one");
    FakeHost host;
    CommandChannel channel(&host);
    QByteArray elsewhere;
    host.hook = [&elsewhere](const FakeHost::Exchange &) {
        std::thread([&elsewhere] { elsewhere = oneAndAHalf(); }).join();
        return goodAnswer();
    };
    channel.readMarker(kType, 1, 1);
    QCOMPARE(elsewhere, QByteArray("1,5"));
}

void tst_CommandChannel::aFailedExchangePutsTheLocaleBackToo()
{
    FakeHost host;
    CommandChannel channel(&host);
    host.hook = [](const FakeHost::Exchange &) {
        FakeHost::Answer answer;
        answer.status = 1;
        return answer;
    };
    for (const NamedCall &named : everyCall()) {
        named.call(channel);
        QVERIFY2(uselocale(nullptr) == LC_GLOBAL_LOCALE, named.name);
    }
}

void tst_CommandChannel::textsAreDataNotFormats()
{
    FakeHost host;
    CommandChannel channel(&host);
    host.hook = [](const FakeHost::Exchange &) { return goodAnswer(); };
    const QString hostile = QStringLiteral("%s%n%100d%%|%1");
    channel.setReference(hostile);
    channel.deleteMarker(hostile, 1, 2);
    channel.transformBody(hostile, 1, {});
    channel.readBodyCount(hostile);
    channel.readTypeDescription(hostile);
    channel.readCalibration(hostile, 1);
    channel.readTargetType(hostile, 1);
    channel.readDescription(hostile, 1);
    channel.readMarkerCount(hostile, 1);
    channel.readMarker(hostile, 1, 2);
    channel.readEmission(hostile, 1, 2);
    channel.setMarkerCount(hostile, 1, 2);
    channel.setMarker(hostile, 1, 2, bsVector());
    channel.setEmission(hostile, 1, 2, Emission());
    QCOMPARE(host.transcript.size(), 14);
    for (const QString &line : qAsConst(host.transcript))
        QVERIFY2(line.contains(hostile), qPrintable(line));
    QCOMPARE(host.transcript.first(), QStringLiteral("set tracking reference ") + hostile);
}

void tst_CommandChannel::everyByteSurvivesTheWayInAndOut()
{
    FakeHost host;
    CommandChannel channel(&host);
    for (int first = 1; first < 256; first += 100) {
        FakeHost::Answer answer;
        for (int code = first; code < qMin(first + 100, 256); ++code)
            answer.text.append(static_cast<char>(code));
        host.answerLine(QStringLiteral("get tracking reference"), answer);
        const auto reference = channel.readReference();
        QVERIFY(reference.has_value());
        QCOMPARE(reference->size(), answer.text.size());
        channel.setReference(*reference);
        QCOMPARE(host.transcript.last().toLatin1(), "set tracking reference " + answer.text);
    }
}

void tst_CommandChannel::textsAreNotTrimmed()
{
    FakeHost host;
    CommandChannel channel(&host);
    host.parameters[QStringLiteral("tracking available")] = QStringLiteral(" no\t");
    QCOMPARE(channel.readTrackingAvailable().value_or(QString()), QStringLiteral(" no\t"));
}

void tst_CommandChannel::aBufferFilledToTheBrimIsEnded()
{
    FakeHost host;
    CommandChannel channel(&host);
    FakeHost::Answer answer;
    answer.terminated = false;
    host.hook = [&answer](const FakeHost::Exchange &) { return answer; };

    answer.text = QByteArray(128, 'x');
    QCOMPARE(channel.readConfigurationChangeable().value_or(QString()),
             QString(127, QLatin1Char('x')));
    QCOMPARE(channel.readTrackingAvailable().value_or(QString()), QString(127, QLatin1Char('x')));

    answer.text = QByteArray(1024, 'x');
    const QString longest(1023, QLatin1Char('x'));
    QCOMPARE(channel.readMeasurementState().value_or(QString()), longest);
    QCOMPARE(channel.readDescription(kType, 1).value_or(QString()), longest);
    QCOMPARE(channel.readReference().value_or(QString()), longest);
    QCOMPARE(channel.startTracking().text, longest.toLatin1());
    QCOMPARE(channel.transformBody(kType, 1, {}).text, longest.toLatin1());
}

void tst_CommandChannel::longestPromisedAnswersArriveWhole()
{
    FakeHost host;
    CommandChannel channel(&host);
    FakeHost::Answer answer;
    host.hook = [&answer](const FakeHost::Exchange &) { return answer; };
    answer.text = QByteArray(127, 'v');
    QCOMPARE(channel.readTrackingAvailable().value_or(QString()), QString(127, QLatin1Char('v')));
    QCOMPARE(channel.readDescription(kType, 1).value_or(QString()), QString(127, QLatin1Char('v')));
    answer.text = QByteArray(207, 'r');
    QCOMPARE(channel.startTracking().text, answer.text);
}

void tst_CommandChannel::unwrittenBuffersAreEmpty()
{
    FakeHost host;
    CommandChannel channel(&host);
    FakeHost::Answer answer;
    answer.terminated = false; // not even a NUL is written
    host.hook = [&answer](const FakeHost::Exchange &) { return answer; };
    QCOMPARE(channel.readTrackingAvailable().value_or(QStringLiteral("?")), QString());
    QCOMPARE(channel.readReference().value_or(QStringLiteral("?")), QString());
    QCOMPARE(channel.startTracking().text, QByteArray());
    answer.text = "abc"; // no NUL behind it, but what was there before is zero
    QCOMPARE(channel.readTrackingAvailable().value_or(QString()), QStringLiteral("abc"));
    QCOMPARE(channel.startTracking().text, QByteArray("abc"));
}

void tst_CommandChannel::onlyTheWholePositiveReplyIsOk_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("ok");
    QTest::newRow("positive") << QByteArray("quorel2 ok") << true;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("trailing blank") << QByteArray("quorel2 ok ") << false;
    QTest::newRow("leading blank") << QByteArray(" quorel2 ok") << false;
    QTest::newRow("line end") << QByteArray("quorel2 ok\n") << false;
    QTest::newRow("other case") << QByteArray("quorel2 OK") << false;
    QTest::newRow("shorter") << QByteArray("quorel2 o") << false;
    QTest::newRow("longer") << QByteArray("quorel2 okay") << false;
    QTest::newRow("error") << QByteArray("quorel2 err no such body") << false;
}

void tst_CommandChannel::onlyTheWholePositiveReplyIsOk()
{
    QFETCH(QByteArray, reply);
    FakeHost host;
    CommandChannel channel(&host);
    FakeHost::Answer answer;
    answer.text = reply;
    host.answerExchange(1, answer);
    const CommandChannel::Reply got = channel.deleteMarker(kType, 1, 1);
    QCOMPARE(got.status, 0);
    QCOMPARE(got.text, reply);
    QTEST(got.isOk(), "ok");
    QTEST(got.isPositive(), "ok");
}

void tst_CommandChannel::anyOtherStatusThanZeroIsNotOk_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {1, -1, 256, INT_MIN, INT_MAX})
        QTest::addRow("%d", status) << status;
}

void tst_CommandChannel::anyOtherStatusThanZeroIsNotOk()
{
    QFETCH(int, status);
    FakeHost host;
    CommandChannel channel(&host);
    FakeHost::Answer answer;
    answer.status = status;
    answer.text = "quorel2 ok";
    host.answerExchange(1, answer);
    const CommandChannel::Reply reply = channel.deleteMarker(kType, 1, 1);
    QCOMPARE(reply.status, status);
    QVERIFY(!reply.isOk());
    QVERIFY(reply.isPositive());
}

void tst_CommandChannel::wideNumbersArePrintedWhole()
{
    FakeHost host;
    CommandChannel channel(&host);
    channel.deleteMarker(kType, 100, 123);
    channel.readBodyType(100);
    channel.readDescription(kType, 1234);
    QCOMPARE(host.transcript, QStringList({"quorel2 body delete_marker standard b100 m123",
                                           "get body type t100", "get body desc standard b1234"}));
}

void tst_CommandChannel::errorsGoToTheStandardWindow()
{
    FakeHost host;
    CommandChannel channel(&host);
    channel.postError("Error: Unable to check 100%s of it");
    QCOMPARE(host.messages.size(), 1);
    QCOMPARE(host.messages.first().destination, QStringLiteral("standard"));
    QCOMPARE(host.messages.first().source, QStringLiteral("QUOREL4"));
    QCOMPARE(host.messages.first().kind, 1);
    QCOMPARE(host.messages.first().text, QStringLiteral("Error: Unable to check 100%s of it"));
    QVERIFY(host.transcript.isEmpty());
}

void tst_CommandChannel::messagesGoToTheModule()
{
    FakeHost host;
    CommandChannel channel(&host);
    channel.postMessage(QStringLiteral("M\u00f6dule"), "reopen");
    QCOMPARE(host.messages.size(), 1);
    QCOMPARE(host.messages.first().destination, QStringLiteral("M\u00f6dule"));
    QCOMPARE(host.messages.first().source, QStringLiteral("BodyAdjustmentModule"));
    QCOMPARE(host.messages.first().kind, 1);
    QCOMPARE(host.messages.first().text, QStringLiteral("reopen"));
    QVERIFY(host.errors().isEmpty());
}

void tst_CommandChannel::subscriptionsAndReceiversArePassedOn()
{
    FakeHost host;
    CommandChannel channel(&host);
    NoRequester requester;
    NoReceiver receiver;
    channel.addRequester("6df2", &requester);
    QCOMPARE(host.requesters.value(QStringLiteral("6df2")), QVector<Requester *>{&requester});
    channel.removeRequester("6df2", &requester);
    QVERIFY(host.requesters.isEmpty());
    channel.registerReceiver("BodyAdjustmentModule", &receiver);
    QCOMPARE(host.receivers.size(), 1);
    QCOMPARE(host.receivers.first().first, QStringLiteral("BodyAdjustmentModule"));
    QCOMPARE(host.receivers.first().second, static_cast<MessageReceiver *>(&receiver));
    channel.unregisterReceiver("BodyAdjustmentModule", &receiver);
    QVERIFY(host.receivers.isEmpty());
}

void tst_CommandChannel::exchangesAreLoggedOnlyWhenAskedFor()
{
    FakeHost host;
    CommandChannel channel(&host);
    host.addBody(kType, 1, QString(), true, QStringLiteral("tt_std"), {bsVector(1.5, 2.5, 3.5)});

    g_logged.clear();
    const QtMessageHandler before = qInstallMessageHandler(keepLogged);
    for (const NamedCall &named : everyCall())
        named.call(channel);
    const QStringList quiet = g_logged;
    QLoggingCategory::setFilterRules(QStringLiteral("quorel2.protocol.debug=true"));
    for (const NamedCall &named : everyCall())
        named.call(channel);
    g_logged.clear();
    channel.readMarker(kType, 1, 1);
    channel.postError("Error: Unable to check mea status");
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler(before);

    QCOMPARE(quiet, QStringList());
    QCOMPARE(g_logged.size(), 2);
    QVERIFY2(g_logged.first().startsWith(QLatin1String("quorel2.protocol: get numbers")),
             qPrintable(g_logged.first()));
    QVERIFY2(g_logged.first().contains(QLatin1String("standard")), qPrintable(g_logged.first()));
    QVERIFY2(g_logged.first().contains(QLatin1String("1.5, 2.5, 3.5")),
             qPrintable(g_logged.first()));
}

QUOREL2_TEST_MAIN(tst_CommandChannel)
#include "tst_CommandChannel.moc"
