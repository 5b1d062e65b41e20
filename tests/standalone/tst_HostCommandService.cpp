#include "ScriptedController.h"

#include <host/MessageReceiver.h>
#include <host/Requester.h>
#include <standalone/ControllerConnection.h>
#include <standalone/DataReceiver.h>
#include <standalone/HostCommandService.h>
#include <tests/support/CommaLocale.h>
#include <tests/support/TestMain.h>

#include <QSignalSpy>
#include <QtTest>

#include <array>
#include <cstring>
#include <memory>
#include <thread>
#include <utility>

namespace {

constexpr int kTimeoutMs = 20000;
/// What a buffer holds before a call, to see what the call wrote.
constexpr char kUntouched = '\x7e';

class RecordingReceiver : public MessageReceiver {
public:
    int receiveMessage(int kind, const char *source, const char *text) override
    {
        received.append(QByteArray::number(kind) + '|' + source + '|' + text);
        thread = std::this_thread::get_id();
        return 0;
    }
    QVector<QByteArray> received;
    std::thread::id thread;
};

class CountingRequester : public Requester {
public:
    int receiveLine(const char *, const char *) override { return 0; }
    int reserved1() override { return 0; }
    int reserved2() override { return 0; }
};

/// A buffer with a known surrounding.
struct Buffer {
    Buffer() { bytes.fill(kUntouched); }
    char *data() { return bytes.data(); }
    bool isUntouchedFrom(size_t index) const
    {
        for (size_t i = index; i < bytes.size(); ++i) {
            if (bytes[i] != kUntouched)
                return false;
        }
        return true;
    }
    std::array<char, 4096> bytes;
};

/// The addresses of an object's virtual operations, as a caller built elsewhere sees them.
void *slotOf(IOManager *manager, int index)
{
    void **table = nullptr;
    std::memcpy(&table, static_cast<const void *>(manager), sizeof table);
    return table[index];
}

} // namespace

class HostCommandServiceTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void sendCommandGivesTheWholeReply();
    void sendCommandSucceedsForAnErrorReplyToo();
    void sendCommandTakesNoBuffer();
    void aReplyOf207CharactersFits();
    void aReplyOf208CharactersIsAFailedExchange();
    void getStringAsksAndCopiesTheValueOnly_data();
    void getStringAsksAndCopiesTheValueOnly();
    void aReplyToAnotherQueryFails_data();
    void aReplyToAnotherQueryFails();
    void afterAReplyToSomethingElseTheNextOneIsRight();
    void afterALineThatAnswersNoCommandTheNextReplyIsRight_data();
    void afterALineThatAnswersNoCommandTheNextReplyIsRight();
    void anAnswerOfTheControllerKeepsTheConnection_data();
    void anAnswerOfTheControllerKeepsTheConnection();
    void aReadAnsweredByAnotherValueIsNoAnswer();
    void afterALineThatIsTooLongTheNextWriteAndReadAreRight();
    void theHostsOwnCommandWaitsForItsAnswer();
    void aValueOf127CharactersFits();
    void aValueOf128CharactersIsAFailedExchange();
    void aValueWithANulIsAFailedExchange();
    void getIntReadsWholeNumbersOnly_data();
    void getIntReadsWholeNumbersOnly();
    void getDoublesReadsExactlyThatManyFiniteNumbers_data();
    void getDoublesReadsExactlyThatManyFiniteNumbers();
    void setParameterSendsTheValueAndWantsOk_data();
    void setParameterSendsTheValueAndWantsOk();
    void numbersAreWrittenInTheCLocale_data();
    void numbersAreWrittenInTheCLocale();
    void theLocaleOfTheCallerIsAsBefore();
    void aCommandOfTheGreatestLengthIsSent();
    void aLongerCommandIsNotSent();
    void textThatBreaksTheLineIsNotSent_data();
    void textThatBreaksTheLineIsNotSent();
    void everyKindOfFailureHasAStatusOtherThanZero();
    void aFailedReadLeavesNumbersAlone();
    void everyExchangeIsPublished();
    void aRefusedRequestIsPublishedToo();
    void theOrderOfTheOperationsIsTheInterfaces();
    void reservedOperationsDoNothing();
    void messagesToStandardGoToTheWindow();
    void messagesToARegisteredModuleReachIt();
    void messagesToNobodyAreReported();
    void onlyTheSameReceiverIsUnregistered();
    void aReceiverMayUnregisterItselfWhileItReceives();
    void aMessageFromAnotherThreadIsDeliveredOnThisOne();
    void missingTextsAreEmpty();

private:
    using Answer = std::function<QByteArray(const QByteArray &)>;
    /// Replies are lines without their end; a null one is silence.
    Answer m_answer;
    std::unique_ptr<ScriptedController> m_controller;
    std::unique_ptr<ControllerConnection> m_connection;
    std::unique_ptr<DataReceiver> m_dataReceiver;
    std::unique_ptr<HostCommandService> m_service;

    QByteArray lastRequest() const { return m_controller->requests().back(); }
    /// Replies to each query with this value.
    void answerWithValue(const QByteArray &value)
    {
        m_answer = [value](const QByteArray &request) {
            return QByteArray("quorel2 set " + request.mid(int(strlen("quorel2 get "))) + ' ' +
                              value);
        };
    }
};

void HostCommandServiceTest::init()
{
    m_answer = [](const QByteArray &) { return QByteArray("quorel2 ok"); };
    m_controller = std::make_unique<ScriptedController>(
        [this](const QByteArray &request, const ScriptedController::Client &client) {
            const QByteArray reply = m_answer(request);
            if (!reply.isNull())
                client.send(reply + '\n');
        });
    QVERIFY(m_controller->start());
    m_connection = std::make_unique<ControllerConnection>();
    m_connection->setTimeoutMs(kTimeoutMs);
    m_connection->open(QStringLiteral("127.0.0.1"), m_controller->port());
    QVERIFY(m_connection->waitForConnected(kTimeoutMs));
    m_dataReceiver = std::make_unique<DataReceiver>();
    m_service = std::make_unique<HostCommandService>(m_connection.get(), m_dataReceiver.get());
}

void HostCommandServiceTest::cleanup()
{
    m_service.reset();
    m_dataReceiver.reset();
    m_connection.reset();
    m_controller.reset();
}

void HostCommandServiceTest::sendCommandGivesTheWholeReply()
{
    m_answer = [](const QByteArray &) { return QByteArray("quorel2 set vimbar output_6df yes"); };
    Buffer reply;
    QCOMPARE(m_service->sendCommand(reply.data(), "quorel2 get %s %s", "vimbar", "output_6df"), 0);
    QCOMPARE(lastRequest(), QByteArray("quorel2 get vimbar output_6df"));
    QCOMPARE(QByteArray(reply.data()), QByteArray("quorel2 set vimbar output_6df yes"));
    QVERIFY(reply.isUntouchedFrom(strlen(reply.data()) + 1));
}

void HostCommandServiceTest::sendCommandSucceedsForAnErrorReplyToo()
{
    m_answer = [](const QByteArray &) { return QByteArray("quorel2 err no such body"); };
    Buffer reply;
    QCOMPARE(m_service->sendCommand(reply.data(), "quorel2 tracking start"), 0);
    QCOMPARE(QByteArray(reply.data()), QByteArray("quorel2 err no such body"));
}

void HostCommandServiceTest::sendCommandTakesNoBuffer()
{
    QCOMPARE(m_service->sendCommand(nullptr, "quorel2 tracking start"), 0);
    QCOMPARE(lastRequest(), QByteArray("quorel2 tracking start"));
}

void HostCommandServiceTest::aReplyOf207CharactersFits()
{
    QByteArray text(207, 'r');
    m_answer = [=](const QByteArray &) { return QByteArray(text); };
    Buffer reply;
    QCOMPARE(m_service->sendCommand(reply.data(), "a"), 0);
    QCOMPARE(QByteArray(reply.data()), text);
    QVERIFY(reply.isUntouchedFrom(208));
}

void HostCommandServiceTest::aReplyOf208CharactersIsAFailedExchange()
{
    for (const int length : {208, 1023, 1024, 100000}) {
        m_answer = [=](const QByteArray &) { return QByteArray(length, 'r'); };
        Buffer reply;
        QVERIFY(m_service->sendCommand(reply.data(), "a") != 0);
        QCOMPARE(reply.bytes[0], '\0');
        QVERIFY(reply.isUntouchedFrom(1));
    }
    m_answer = [](const QByteArray &) { return QByteArray("quorel2 ok"); };
    QCOMPARE(m_service->sendCommand(nullptr, "a"), 0);
}

void HostCommandServiceTest::getStringAsksAndCopiesTheValueOnly_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QByteArray>("value");
    const QByteArray head = "quorel2 set body desc standard b03";
    QTest::newRow("one word") << head + " yes" << QByteArray("yes");
    QTest::newRow("quoted words") << head + " \"Wand, short\"" << QByteArray("\"Wand, short\"");
    QTest::newRow("blanks stay") << head + "   a  b " << QByteArray("  a  b ");
    QTest::newRow("empty with blank") << head + " " << QByteArray();
    QTest::newRow("empty without blank") << head << QByteArray();
    QTest::newRow("bytes beyond ASCII") << head + " Gr\xf6\xdf"
                                                  "e"
                                        << QByteArray("Gr\xf6\xdf"
                                                      "e");
    QTest::newRow("looks like an error") << head + " quorel2 err" << QByteArray("quorel2 err");
}

void HostCommandServiceTest::getStringAsksAndCopiesTheValueOnly()
{
    QFETCH(QByteArray, reply);
    QFETCH(QByteArray, value);
    m_answer = [=](const QByteArray &) { return reply; };
    Buffer buffer;
    QCOMPARE(m_service->getString(buffer.data(), "body desc %s b%2.2d", "standard", 3), 0);
    QCOMPARE(lastRequest(), QByteArray("quorel2 get body desc standard b03"));
    QCOMPARE(QByteArray(buffer.data()), value);
    QVERIFY(buffer.isUntouchedFrom(size_t(value.size()) + 1));
}

void HostCommandServiceTest::aReplyToAnotherQueryFails_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("error") << QByteArray("quorel2 err no such body");
    QTest::newRow("bare error") << QByteArray("quorel2 err");
    QTest::newRow("ok") << QByteArray("quorel2 ok");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("other parameter") << QByteArray("quorel2 set body desc standard b04 x");
    QTest::newRow("longer parameter") << QByteArray("quorel2 set body desc standard b031 x");
    QTest::newRow("other word in front") << QByteArray("quorel3 set body desc standard b03 x");
    QTest::newRow("get instead of set") << QByteArray("quorel2 get body desc standard b03 x");
    QTest::newRow("other case") << QByteArray("quorel2 set body desc Standard b03 x");
    QTest::newRow("nonsense") << QByteArray("\x01\xff");
}

void HostCommandServiceTest::aReplyToAnotherQueryFails()
{
    QFETCH(QByteArray, reply);
    m_answer = [=](const QByteArray &) { return reply; };
    Buffer buffer;
    QVERIFY(m_service->getString(buffer.data(), "body desc standard b03") != 0);
    QCOMPARE(buffer.bytes[0], '\0');
    QVERIFY(buffer.isUntouchedFrom(1));
}

void HostCommandServiceTest::afterAReplyToSomethingElseTheNextOneIsRight()
{
    // The controller says something of its own accord, so that on this connection each reply comes
    // one request late.
    QByteArray late = "quorel2 warning hot";
    m_answer = [&](const QByteArray &request) {
        const QByteArray reply =
            "quorel2 set " + request.mid(int(strlen("quorel2 get "))) + " right";
        return m_controller->connectionCount() == 1 ? std::exchange(late, reply) : reply;
    };
    Buffer buffer;
    QVERIFY(m_service->getString(buffer.data(), "first") != 0);
    for (const char *parameter : {"second", "third", "fourth"}) {
        QCOMPARE(m_service->getString(buffer.data(), "%s", parameter), 0);
        QCOMPARE(QByteArray(buffer.data()), QByteArray("right"));
    }
}

void HostCommandServiceTest::afterALineThatAnswersNoCommandTheNextReplyIsRight_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("fits");
    QTest::newRow("a warning") << QByteArray("quorel2 warning camera 3 hot") << true;
    QTest::newRow("looks like ok") << QByteArray("quorel2 okay") << true;
    QTest::newRow("looks like an error") << QByteArray("quorel2 errand") << true;
    QTest::newRow("empty") << QByteArray("") << true;
    QTest::newRow("another language") << QByteArray("ok") << true;
    QTest::newRow("a value") << QByteArray("quorel2 set status active mea") << true;
    QTest::newRow("too long") << QByteArray(300, 'w') << false;
    QTest::newRow("longer than any line") << QByteArray(3000, 'w') << false;
    QTest::newRow("with a NUL") << QByteArray("w\0w", 3) << false;
}

void HostCommandServiceTest::afterALineThatAnswersNoCommandTheNextReplyIsRight()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, fits);
    // The controller says something of its own accord before the first answer, which is still on
    // its way when the next command is sent.
    QByteArray late = line;
    m_answer = [&](const QByteArray &request) {
        const QByteArray reply = "quorel2 ok " + request;
        return m_controller->connectionCount() == 1 ? std::exchange(late, reply) : reply;
    };
    Buffer buffer;
    QCOMPARE(m_service->sendCommand(buffer.data(), "quorel2 body transform") == 0, fits);
    QCOMPARE(QByteArray(buffer.data()), fits ? line : QByteArray());
    for (const char *command : {"second", "third"}) {
        QCOMPARE(m_service->sendCommand(buffer.data(), "%s", command), 0);
        QCOMPARE(QByteArray(buffer.data()), QByteArray("quorel2 ok ") + command);
    }
    QCOMPARE(m_controller->connectionCount(), 2);
}

void HostCommandServiceTest::anAnswerOfTheControllerKeepsTheConnection_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("reply");
    for (const char *reply : {"quorel2 ok", "quorel2 ok then", "quorel2 err", "quorel2 err hot"})
        QTest::newRow(reply) << QByteArray("quorel2 tracking start") << QByteArray(reply);
    for (const char *reply :
         {"quorel2 err", "quorel2 err hot", "quorel2 set vimbar output_6df yes"})
        QTest::addRow("read: %s", reply)
            << QByteArray("quorel2 get vimbar output_6df") << QByteArray(reply);
}

void HostCommandServiceTest::anAnswerOfTheControllerKeepsTheConnection()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    m_answer = [=](const QByteArray &) { return reply; };
    Buffer buffer;
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(m_service->sendCommand(buffer.data(), "%s", request.constData()), 0);
        QCOMPARE(QByteArray(buffer.data()), reply);
    }
    QCOMPARE(m_controller->connectionCount(), 1);
}

void HostCommandServiceTest::aReadAnsweredByAnotherValueIsNoAnswer()
{
    m_answer = [](const QByteArray &) { return QByteArray("quorel2 set status active mea"); };
    Buffer buffer;
    QCOMPARE(m_service->sendCommand(buffer.data(), "quorel2 get vimbar output_6df"), 0);
    QCOMPARE(m_service->sendCommand(buffer.data(), "quorel2 get vimbar output_6df"), 0);
    QCOMPARE(m_controller->connectionCount(), 2);
}

void HostCommandServiceTest::afterALineThatIsTooLongTheNextWriteAndReadAreRight()
{
    // Before the answer to the first write, which is a refusal that is still on its way.
    bool isFirst = true;
    m_answer = [&](const QByteArray &) {
        return std::exchange(isFirst, false)
                   ? QByteArray(3000, 'w') + "\nquorel2 err first"
                   : QByteArray(m_controller->connectionCount() == 1 ? "quorel2 err late"
                                                                     : "quorel2 ok");
    };
    QVERIFY(m_service->setParameter("first 1") != 0);
    QCOMPARE(m_service->setParameter("second 2"), 0);
    QCOMPARE(m_controller->connectionCount(), 2);
    isFirst = true;
    int value = 0;
    QVERIFY(m_service->getInt(&value, "p") != 0);
    QCOMPARE(m_service->setParameter("third 3"), 0);
    QCOMPARE(m_controller->connectionCount(), 3);
}

void HostCommandServiceTest::theHostsOwnCommandWaitsForItsAnswer()
{
    m_answer = [](const QByteArray &) {
        return QByteArray("hello\n") + QByteArray(3000, 'w') + "\nquorel2 set a b\nquorel2 ok";
    };
    for (int i = 0; i < 2; ++i) {
        const Exchange exchange = m_service->command("quorel2 data connect 5000");
        QVERIFY(exchange.status == ExchangeStatus::Done);
        QCOMPARE(exchange.reply, QByteArray("quorel2 ok"));
    }
    QCOMPARE(m_controller->connectionCount(), 1);
}

void HostCommandServiceTest::aValueOf127CharactersFits()
{
    const QByteArray value(127, 'v');
    answerWithValue(value);
    Buffer buffer;
    QCOMPARE(m_service->getString(buffer.data(), "p"), 0);
    QCOMPARE(QByteArray(buffer.data()), value);
    QVERIFY(buffer.isUntouchedFrom(128));
}

void HostCommandServiceTest::aValueOf128CharactersIsAFailedExchange()
{
    for (const int length : {128, 207, 1000, 1024, 100000}) {
        answerWithValue(QByteArray(length, 'v'));
        Buffer buffer;
        QVERIFY(m_service->getString(buffer.data(), "p") != 0);
        QCOMPARE(buffer.bytes[0], '\0');
        QVERIFY(buffer.isUntouchedFrom(1));
    }
}

void HostCommandServiceTest::aValueWithANulIsAFailedExchange()
{
    answerWithValue(QByteArray("yes\0no", 6));
    Buffer buffer;
    QVERIFY(m_service->getString(buffer.data(), "p") != 0);
    QCOMPARE(buffer.bytes[0], '\0');
    QVERIFY(buffer.isUntouchedFrom(1));
    m_answer = [](const QByteArray &) { return QByteArray("quorel2 ok\0", 11); };
    QVERIFY(m_service->sendCommand(buffer.data(), "p") != 0);
}

void HostCommandServiceTest::getIntReadsWholeNumbersOnly_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<int>("number");
    QTest::newRow("zero") << QByteArray("0") << true << 0;
    QTest::newRow("leading zero") << QByteArray("08") << true << 8;
    QTest::newRow("negative") << QByteArray("-17") << true << -17;
    QTest::newRow("greatest") << QByteArray("2147483647") << true << 2147483647;
    QTest::newRow("blanks around") << QByteArray(" 4 ") << true << 4;
    QTest::newRow("too great") << QByteArray("2147483648") << false << 0;
    QTest::newRow("far too great") << QByteArray("99999999999999999999") << false << 0;
    QTest::newRow("empty") << QByteArray("") << false << 0;
    QTest::newRow("blank") << QByteArray(" ") << false << 0;
    QTest::newRow("word") << QByteArray("four") << false << 0;
    QTest::newRow("number and word") << QByteArray("4x") << false << 0;
    QTest::newRow("two numbers") << QByteArray("4 5") << false << 0;
    QTest::newRow("fraction") << QByteArray("4.0") << false << 0;
    QTest::newRow("hexadecimal") << QByteArray("0x10") << false << 0;
    QTest::newRow("tab") << QByteArray("\t4") << false << 0;
}

void HostCommandServiceTest::getIntReadsWholeNumbersOnly()
{
    QFETCH(QByteArray, value);
    QFETCH(bool, valid);
    QFETCH(int, number);
    answerWithValue(value);
    int result = 12345;
    QCOMPARE(m_service->getInt(&result, "body number_of_bodies %s", "standard") == 0, valid);
    QCOMPARE(lastRequest(), QByteArray("quorel2 get body number_of_bodies standard"));
    QCOMPARE(result, valid ? number : 12345);
}

void HostCommandServiceTest::getDoublesReadsExactlyThatManyFiniteNumbers_data()
{
    QTest::addColumn<bool>("comma");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("valid");
    for (const bool comma : {false, true}) {
        const auto row = [comma](const char *name, const QByteArray &value, bool valid) {
            QTest::addRow("%s%s", name, comma ? ", decimal comma" : "") << comma << value << valid;
        };
        row("three", "1.5 -2.25 0.000", true);
        row("many blanks", "  1.5   -2.25  0 ", true);
        row("exponents", "15e-1 -2.25E+00 0", true);
        row("two", "1.5 -2.25", false);
        row("four", "1.5 -2.25 0 0", false);
        row("none", "", false);
        row("comma", "1,5 -2,25 0", false);
        row("not a number", "1.5 -2.25 nan", false);
        row("infinite", "1.5 -2.25 inf", false);
        row("too great", "1.5 -2.25 1e999", false);
        row("word", "1.5 -2.25 x", false);
        row("word at a number", "1.5 -2.25 0mm", false);
        row("hexadecimal", "1.5 -2.25 0x1p3", false);
        row("parted by commas", "1.5, -2.25, 0", false);
        row("parted by tabs", "1.5\t-2.25\t0", false);
    }
}

void HostCommandServiceTest::getDoublesReadsExactlyThatManyFiniteNumbers()
{
    UNDER_LOCALE_OF_ROW();
    QFETCH(QByteArray, value);
    QFETCH(bool, valid);
    answerWithValue(value);
    double numbers[4] = {9.0, 9.0, 9.0, 9.0};
    QCOMPARE(m_service->getDoubles(numbers, 3, "body marker %s b%2.2d m%2.2d", "standard", 1, 2) ==
                 0,
             valid);
    QCOMPARE(lastRequest(), QByteArray("quorel2 get body marker standard b01 m02"));
    QCOMPARE(numbers[0], valid ? 1.5 : 9.0);
    QCOMPARE(numbers[1], valid ? -2.25 : 9.0);
    QCOMPARE(numbers[2], valid ? 0.0 : 9.0);
    QCOMPARE(numbers[3], 9.0);
}

void HostCommandServiceTest::setParameterSendsTheValueAndWantsOk_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("good");
    QTest::newRow("ok") << QByteArray("quorel2 ok") << true;
    QTest::newRow("ok with more") << QByteArray("quorel2 ok ") << false;
    QTest::newRow("other case") << QByteArray("quorel2 OK") << false;
    QTest::newRow("error") << QByteArray("quorel2 err out of range") << false;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("the value set") << QByteArray("quorel2 set tracking reference none") << false;
}

void HostCommandServiceTest::setParameterSendsTheValueAndWantsOk()
{
    QFETCH(QByteArray, reply);
    QFETCH(bool, good);
    m_answer = [=](const QByteArray &) { return reply; };
    QCOMPARE(m_service->setParameter("tracking reference %s", "none") == 0, good);
    QCOMPARE(lastRequest(), QByteArray("quorel2 set tracking reference none"));
}

void HostCommandServiceTest::numbersAreWrittenInTheCLocale_data()
{
    addLocaleRows();
}

void HostCommandServiceTest::numbersAreWrittenInTheCLocale()
{
    UNDER_LOCALE_OF_ROW();
    m_service->sendCommand(nullptr, "quorel2 body transform %s b%02d %.3f %.8f", "standard", 7,
                           1234.5, -0.5);
    QCOMPARE(lastRequest(), QByteArray("quorel2 body transform standard b07 1234.500 -0.50000000"));
    m_service->setParameter("body marker %s b%2.2d m%2.2d %.3f %.3f %.3f", "vimbar", 1, 20, 0.001,
                            -1.0, 1e6);
    QCOMPARE(lastRequest(),
             QByteArray("quorel2 set body marker vimbar b01 m20 0.001 -1.000 1000000.000"));
    Buffer buffer;
    m_service->getString(buffer.data(), "p %g", 2.5);
    QCOMPARE(lastRequest(), QByteArray("quorel2 get p 2.5"));
    int number = 0;
    m_service->getInt(&number, "p %.1f", 3.5);
    QCOMPARE(lastRequest(), QByteArray("quorel2 get p 3.5"));
    double numbers[1] = {};
    m_service->getDoubles(numbers, 1, "p %.2f", 4.5);
    QCOMPARE(lastRequest(), QByteArray("quorel2 get p 4.50"));
}

void HostCommandServiceTest::theLocaleOfTheCallerIsAsBefore()
{
    const CommaLocale comma;
    if (!comma.isAsWanted())
        QSKIP("NOT TESTED: this system has no locale with a decimal comma and cannot make one");
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", 0.5);
    QCOMPARE(QByteArray(text), QByteArray("0,5"));
    m_service->sendCommand(nullptr, "%.1f", 0.5);
    m_service->setParameter("%.1f", 0.5);
    std::snprintf(text, sizeof text, "%.1f", 0.5);
    QCOMPARE(QByteArray(text), QByteArray("0,5"));
}

void HostCommandServiceTest::aCommandOfTheGreatestLengthIsSent()
{
    const QByteArray text(ControllerConnection::kLongestLine, 'x');
    QCOMPARE(m_service->sendCommand(nullptr, "%s", text.constData()), 0);
    QCOMPARE(lastRequest(), text);
    const int parameterLength = ControllerConnection::kLongestLine - int(strlen("quorel2 set "));
    const QByteArray parameter = text.left(parameterLength);
    QCOMPARE(m_service->setParameter("%s", parameter.constData()), 0);
    QCOMPARE(lastRequest(), "quorel2 set " + parameter);
}

void HostCommandServiceTest::aLongerCommandIsNotSent()
{
    for (const int surplus : {1, 2, 1000, 1000000}) {
        const QByteArray text(ControllerConnection::kLongestLine + surplus, 'x');
        Buffer reply;
        QVERIFY(m_service->sendCommand(reply.data(), "%s", text.constData()) != 0);
        QCOMPARE(reply.bytes[0], '\0');
        QVERIFY(reply.isUntouchedFrom(1));
    }
    const QByteArray text(ControllerConnection::kLongestLine - int(strlen("quorel2 set ")) + 1,
                          'x');
    QVERIFY(m_service->setParameter("%s", text.constData()) != 0);
    QVERIFY(m_service->getString(Buffer().data(), "%s", text.constData()) != 0);
    QVERIFY(m_controller->requests().empty());
}

void HostCommandServiceTest::textThatBreaksTheLineIsNotSent_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<char>("character");
    QTest::newRow("line feed in a text") << QByteArray("a\nb") << ' ';
    QTest::newRow("carriage return in a text") << QByteArray("a\r") << ' ';
    QTest::newRow("NUL character") << QByteArray("a") << '\0';
}

void HostCommandServiceTest::textThatBreaksTheLineIsNotSent()
{
    QFETCH(QByteArray, text);
    QFETCH(char, character);
    Buffer buffer;
    int number = 1;
    double numbers[1] = {1.0};
    const char *words = text.constData();
    QVERIFY(m_service->sendCommand(buffer.data(), "%s %cx", words, character) != 0);
    QVERIFY(m_service->getString(buffer.data(), "%s %cx", words, character) != 0);
    QVERIFY(m_service->getInt(&number, "%s %cx", words, character) != 0);
    QVERIFY(m_service->getDoubles(numbers, 1, "%s %cx", words, character) != 0);
    QVERIFY(m_service->setParameter("%s %cx", words, character) != 0);
    QVERIFY(m_controller->requests().empty());
    QCOMPARE(m_service->sendCommand(nullptr, "good"), 0);
    QCOMPARE(m_controller->requests().size(), size_t(1));
}

void HostCommandServiceTest::everyKindOfFailureHasAStatusOtherThanZero()
{
    Buffer buffer;
    m_answer = [](const QByteArray &) { return QByteArray(); };
    m_connection->setTimeoutMs(50);
    QCOMPARE(m_service->sendCommand(buffer.data(), "silence"), int(ExchangeStatus::TimedOut));
    QCOMPARE(buffer.bytes[0], '\0');
    m_controller->stop();
    m_connection->setTimeoutMs(kTimeoutMs);
    int number = 77;
    QVERIFY(m_service->sendCommand(buffer.data(), "a") != 0);
    QVERIFY(m_service->getString(buffer.data(), "a") != 0);
    QVERIFY(m_service->getInt(&number, "a") != 0);
    QVERIFY(m_service->setParameter("a") != 0);
    QCOMPARE(number, 77);
    QVERIFY(buffer.isUntouchedFrom(1));
}

void HostCommandServiceTest::aFailedReadLeavesNumbersAlone()
{
    m_answer = [](const QByteArray &) { return QByteArray("quorel2 err unknown"); };
    int number = 77;
    QCOMPARE(m_service->getInt(&number, "p"), int(ExchangeStatus::Refused));
    QCOMPARE(number, 77);
    double numbers[2] = {1.0, 2.0};
    QCOMPARE(m_service->getDoubles(numbers, 2, "p"), int(ExchangeStatus::Refused));
    QCOMPARE(numbers[0], 1.0);
    QCOMPARE(numbers[1], 2.0);
}

void HostCommandServiceTest::everyExchangeIsPublished()
{
    QVector<Exchange> published;
    connect(m_service.get(), &HostCommandService::exchanged, this,
            [&](const Exchange &exchange) { published.append(exchange); });
    m_answer = [](const QByteArray &request) {
        if (request.startsWith("quorel2 get int"))
            return QByteArray("quorel2 set int x");
        if (request.startsWith("quorel2 get "))
            return "quorel2 set " + request.mid(int(strlen("quorel2 get "))) + " 1 2";
        return QByteArray("quorel2 ok");
    };
    Buffer buffer;
    int number = 0;
    double numbers[2] = {};
    m_service->sendCommand(buffer.data(), "quorel2 tracking start");
    m_service->getString(buffer.data(), "text");
    m_service->getInt(&number, "int");
    m_service->getDoubles(numbers, 2, "doubles");
    m_service->setParameter("a b");
    QByteArray value;
    m_service->query("version", &value);
    QCOMPARE(value, QByteArray("1 2"));

    QVector<QByteArray> lines;
    for (const Exchange &exchange : qAsConst(published)) {
        QVERIFY(exchange.replied);
        QVERIFY(exchange.milliseconds > 0.0);
        lines.append(exchange.request + " -> " + exchange.reply + " = " +
                     QByteArray::number(int(exchange.status)));
    }
    QCOMPARE(lines, (QVector<QByteArray>{"quorel2 tracking start -> quorel2 ok = 0",
                                         "quorel2 get text -> quorel2 set text 1 2 = 0",
                                         "quorel2 get int -> quorel2 set int x = 5",
                                         "quorel2 get doubles -> quorel2 set doubles 1 2 = 0",
                                         "quorel2 set a b -> quorel2 ok = 0",
                                         "quorel2 get version -> quorel2 set version 1 2 = 0"}));
}

void HostCommandServiceTest::aRefusedRequestIsPublishedToo()
{
    QVector<Exchange> published;
    connect(m_service.get(), &HostCommandService::exchanged, this,
            [&](const Exchange &exchange) { published.append(exchange); });
    m_service->sendCommand(nullptr, "a\nb");
    m_service->getString(Buffer().data(), "c\nd");
    QCOMPARE(published.size(), 2);
    QCOMPARE(published.at(0).request, QByteArray("a\nb"));
    QCOMPARE(published.at(0).status, ExchangeStatus::BadRequest);
    QVERIFY(published.at(0).time.isValid());
    QCOMPARE(published.at(1).request, QByteArray("quorel2 get c\nd"));
    QCOMPARE(published.at(1).status, ExchangeStatus::BadRequest);
    QVERIFY(!published.at(1).replied);
}

void HostCommandServiceTest::theOrderOfTheOperationsIsTheInterfaces()
{
    // Called by their places, as a module does that was built elsewhere.
    IOManager *manager = m_service.get();
    Buffer buffer;
    using SendCommand = int (*)(IOManager *, char *, const char *, ...);
    QCOMPARE(reinterpret_cast<SendCommand>(slotOf(manager, 3))(manager, buffer.data(), "quorel2 %s",
                                                               "slot3"),
             0);
    QCOMPARE(lastRequest(), QByteArray("quorel2 slot3"));
    QCOMPARE(QByteArray(buffer.data()), QByteArray("quorel2 ok"));

    answerWithValue("42");
    using GetString = int (*)(IOManager *, char *, const char *, ...);
    QCOMPARE(reinterpret_cast<GetString>(slotOf(manager, 5))(manager, buffer.data(), "slot%d", 5),
             0);
    QCOMPARE(lastRequest(), QByteArray("quorel2 get slot5"));
    QCOMPARE(QByteArray(buffer.data()), QByteArray("42"));
    int number = 0;
    using GetInt = int (*)(IOManager *, int *, const char *, ...);
    QCOMPARE(reinterpret_cast<GetInt>(slotOf(manager, 6))(manager, &number, "slot%d", 6), 0);
    QCOMPARE(lastRequest(), QByteArray("quorel2 get slot6"));
    QCOMPARE(number, 42);
    double value = 0.0;
    using GetDoubles = int (*)(IOManager *, double *, int, const char *, ...);
    QCOMPARE(reinterpret_cast<GetDoubles>(slotOf(manager, 9))(manager, &value, 1, "slot%d", 9), 0);
    QCOMPARE(lastRequest(), QByteArray("quorel2 get slot9"));
    QCOMPARE(value, 42.0);

    m_answer = [](const QByteArray &) { return QByteArray("quorel2 ok"); };
    using SetParameter = int (*)(IOManager *, const char *, ...);
    QCOMPARE(reinterpret_cast<SetParameter>(slotOf(manager, 11))(manager, "slot%d %.1f", 11, 0.5),
             0);
    QCOMPARE(lastRequest(), QByteArray("quorel2 set slot11 0.5"));

    RecordingReceiver receiver;
    using Register = void (*)(IOManager *, const char *, MessageReceiver *);
    using PostMessage = void (*)(IOManager *, const char *, const char *, int, const char *);
    const auto post = reinterpret_cast<PostMessage>(slotOf(manager, 16));
    QSignalSpy undelivered(m_service.get(), &HostCommandService::messageUndelivered);
    reinterpret_cast<Register>(slotOf(manager, 17))(manager, "slot17", &receiver);
    post(manager, "slot17", "source", 1, "text");
    QCOMPARE(receiver.received, QVector<QByteArray>{"1|source|text"});
    reinterpret_cast<Register>(slotOf(manager, 18))(manager, "slot17", &receiver);
    post(manager, "slot17", "source", 1, "text");
    QCOMPARE(receiver.received.size(), 1);
    QCOMPARE(undelivered.size(), 1);

    // Whether lines arrive after these two is a case of the data receiver's.
    CountingRequester requester;
    using Subscribe = void (*)(IOManager *, const char *, Requester *);
    reinterpret_cast<Subscribe>(slotOf(manager, 12))(manager, "6d", &requester);
    reinterpret_cast<Subscribe>(slotOf(manager, 13))(manager, "6d", &requester);
}

void HostCommandServiceTest::reservedOperationsDoNothing()
{
    IOManager *manager = m_service.get();
    using Reserved = void (*)(IOManager *);
    for (const int index : {0, 1, 2, 4, 7, 8, 10, 14, 15})
        reinterpret_cast<Reserved>(slotOf(manager, index))(manager);
    QVERIFY(m_controller->requests().empty());
}

void HostCommandServiceTest::messagesToStandardGoToTheWindow()
{
    QSignalSpy posted(m_service.get(), &HostCommandService::messagePosted);
    m_service->postMessage("standard", "QUOREL4", 1, "Error: Unable to check body type");
    QCOMPARE(posted.size(), 1);
    QVERIFY(posted.first().at(0).toDateTime().isValid());
    QCOMPARE(posted.first().at(1).toString(), QStringLiteral("QUOREL4"));
    QCOMPARE(posted.first().at(2).toInt(), 1);
    QCOMPARE(posted.first().at(3).toString(), QStringLiteral("Error: Unable to check body type"));
}

void HostCommandServiceTest::messagesToARegisteredModuleReachIt()
{
    RecordingReceiver first;
    RecordingReceiver second;
    QSignalSpy undelivered(m_service.get(), &HostCommandService::messageUndelivered);
    m_service->registerReceiver("First", &first);
    m_service->registerReceiver("Second", &second);
    m_service->postMessage("Second", "First", 7,
                           "Gr\xfc\xdf"
                           "e");
    QCOMPARE(first.received, QVector<QByteArray>());
    QCOMPARE(second.received, QVector<QByteArray>{"7|First|Gr\xfc\xdf"
                                                  "e"});
    QCOMPARE(undelivered.size(), 0);
}

void HostCommandServiceTest::messagesToNobodyAreReported()
{
    QSignalSpy posted(m_service.get(), &HostCommandService::messagePosted);
    QSignalSpy undelivered(m_service.get(), &HostCommandService::messageUndelivered);
    m_service->postMessage("Nobody", "Source", 1, "reopen");
    QCOMPARE(posted.size(), 0);
    QCOMPARE(undelivered.size(), 1);
    QCOMPARE(undelivered.first().at(1).toString(), QStringLiteral("Source"));
    QCOMPARE(undelivered.first().at(2).toString(), QStringLiteral("Nobody"));
    QCOMPARE(undelivered.first().at(3).toString(), QStringLiteral("reopen"));
}

void HostCommandServiceTest::onlyTheSameReceiverIsUnregistered()
{
    RecordingReceiver older;
    RecordingReceiver newer;
    m_service->registerReceiver("Module", &older);
    m_service->registerReceiver("Module", &newer);
    m_service->unregisterReceiver("Module", &older);
    m_service->postMessage("Module", "s", 1, "t");
    QCOMPARE(newer.received.size(), 1);
    m_service->unregisterReceiver("Module", &newer);
    m_service->unregisterReceiver("Module", &newer);
    m_service->postMessage("Module", "s", 1, "t");
    QCOMPARE(newer.received.size(), 1);
    QCOMPARE(older.received.size(), 0);
}

void HostCommandServiceTest::aReceiverMayUnregisterItselfWhileItReceives()
{
    struct Leaving : public MessageReceiver {
        int receiveMessage(int, const char *, const char *) override
        {
            ++count;
            service->unregisterReceiver("Leaving", this);
            return 0;
        }
        HostCommandService *service = nullptr;
        int count = 0;
    } leaving;
    leaving.service = m_service.get();
    m_service->registerReceiver("Leaving", &leaving);
    m_service->postMessage("Leaving", "s", 1, "t");
    m_service->postMessage("Leaving", "s", 1, "t");
    QCOMPARE(leaving.count, 1);
}

void HostCommandServiceTest::aMessageFromAnotherThreadIsDeliveredOnThisOne()
{
    RecordingReceiver receiver;
    m_service->registerReceiver("Module", &receiver);
    QSignalSpy posted(m_service.get(), &HostCommandService::messagePosted);
    std::thread other([&] {
        QByteArray text("gone afterwards");
        m_service->postMessage("Module", "other", 2, text.constData());
        m_service->postMessage("standard", "other", 2, text.constData());
        text.fill('x');
    });
    other.join();
    QCOMPARE(receiver.received.size(), 0);
    QTRY_COMPARE(posted.size(), 1);
    QCOMPARE(receiver.received, QVector<QByteArray>{"2|other|gone afterwards"});
    QCOMPARE(posted.first().at(3).toString(), QStringLiteral("gone afterwards"));
    QVERIFY(receiver.thread == std::this_thread::get_id());
}

void HostCommandServiceTest::missingTextsAreEmpty()
{
    QSignalSpy posted(m_service.get(), &HostCommandService::messagePosted);
    m_service->postMessage("standard", nullptr, 1, nullptr);
    QCOMPARE(posted.size(), 1);
    QCOMPARE(posted.first().at(3).toString(), QString());
    m_service->postMessage(nullptr, nullptr, 1, nullptr);
    m_service->registerReceiver(nullptr, nullptr);
    m_service->unregisterReceiver(nullptr, nullptr);
    m_service->addRequester(nullptr, nullptr);
    m_service->removeRequester(nullptr, nullptr);
    QCOMPARE(posted.size(), 1);
}

QUOREL2_TEST_MAIN(HostCommandServiceTest)
#include "tst_HostCommandService.moc"
