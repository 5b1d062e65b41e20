#include "ScriptedController.h"

#include <standalone/ControllerConnection.h>
#include <tests/support/TestMain.h>

#include <QElapsedTimer>
#include <QSemaphore>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

/// Generous: a case that must not wait for it is told from one that does by far.
constexpr int kLongTimeoutMs = 20000;
constexpr int kShortTimeoutMs = 60;

void answerOk(const QByteArray &, const ScriptedController::Client &client)
{
    client.send("quorel2 ok\n");
}

/// Connects, or fails the case.
#define CONNECT(connection, controller)                                                            \
    (connection).open(QStringLiteral("127.0.0.1"), (controller).port());                           \
    QVERIFY((connection).waitForConnected(kLongTimeoutMs))

} // namespace

class ControllerConnectionTest : public QObject {
    Q_OBJECT

private slots:
    void aLineGoesOutAndTheReplyComesBack();
    void aRequestLeavesInOnePiece();
    void aTrailingCarriageReturnIsDropped();
    void anEmptyReplyLineIsAReply();
    void aReplyInManyPiecesIsOneReply();
    void ofTwoLinesAtOnceTheSecondIsUnasked();
    void aLineThatNobodyAskedForIsNoReply();
    void aLineThatTheEventLoopHasNotSeenIsNoReply();
    void aLineBegunBeforeTheRequestIsNoReply();
    void aSlowReplyWithinTheLimitIsTaken();
    void aLateReplyIsNeverGivenToTheNextRequest();
    void everyOneOfManyLateRepliesIsDropped();
    void halfAReplyBeforeTheLimitIsDroppedToo();
    void afterATimeOutTheNextExchangeFindsANewConnection();
    void aControllerThatFallsSilentGetsOneMoreConnectionOnly();
    void aControllerThatNeverRepliedCountsAsLost();
    void thePausesBeforeASilentControllerGrow();
    void aSilentControllerIsTriedWithoutHoldingAnybodyUp();
    void whatASilentControllerSaysToATrialIsNoReplyToAnythingElse();
    void theDefaultLimitIsTwoSeconds();
    void aReplyThatIsTooLongFailsAndTheNextOneIsRight();
    void theLongestLineIsTaken();
    void aRequestThatCannotBeALineIsNotSent_data();
    void aRequestThatCannotBeALineIsNotSent();
    void aHangUpInsteadOfAReplyFailsAtOnce();
    void aReplyBeforeTheHangUpCounts();
    void halfAReplyBeforeTheHangUpIsNone();
    void withoutConnectionEveryExchangeFailsAtOnce();
    void afterALossEveryExchangeFailsAtOnce();
    void aFailedConnectIsNotRepeatedForEachExchange();
    void aLostConnectionComesBackByItself();
    void aControllerThatStartsLateIsFound();
    void aNameThatIsBeingLookedUpHoldsNobodyUp();
    void aHostNameIsLookedUp();
    void anExchangeWithinAnExchangeIsRefused();
    void anExchangeFromAnotherThreadIsRefused();
    void noEventLoopRunsDuringAnExchange();
    void afterCloseNothingIsConnectedAgain();
    void resynchroniseMakesANewConnection();
    void aHundredExchangesAreEachAnswered();
};

void ControllerConnectionTest::aLineGoesOutAndTheReplyComesBack()
{
    ScriptedController controller(
        [](const QByteArray &request, const ScriptedController::Client &c) {
            c.send("echo " + request + '\n');
        });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    QCOMPARE(connection.state(), ControllerConnection::ConnectedState);
    QVERIFY(connection.lastError().isEmpty());

    const Exchange exchange = connection.exchange("quorel2 get status active");
    QCOMPARE(exchange.status, ExchangeStatus::Done);
    QVERIFY(exchange.replied);
    QCOMPARE(exchange.request, QByteArray("quorel2 get status active"));
    QCOMPARE(exchange.reply, QByteArray("echo quorel2 get status active"));
    QVERIFY(exchange.time.isValid());
    QVERIFY(exchange.milliseconds > 0.0);
    QCOMPARE(controller.requests(), (std::vector<QByteArray>{"quorel2 get status active"}));
}

void ControllerConnectionTest::aRequestLeavesInOnePiece()
{
    ScriptedController controller(answerOk);
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    for (int i = 0; i < 50; ++i)
        QCOMPARE(connection.exchange(QByteArray(500, 'x')).status, ExchangeStatus::Done);
    QCOMPARE(controller.readCount(), 50);
}

void ControllerConnectionTest::aTrailingCarriageReturnIsDropped()
{
    ScriptedController controller(
        [](const QByteArray &, const ScriptedController::Client &c) { c.send("quorel2 ok\r\n"); });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    QCOMPARE(connection.exchange("a").reply, QByteArray("quorel2 ok"));
}

void ControllerConnectionTest::anEmptyReplyLineIsAReply()
{
    ScriptedController controller(
        [](const QByteArray &, const ScriptedController::Client &c) { c.send("\n"); });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    const Exchange exchange = connection.exchange("a");
    QCOMPARE(exchange.status, ExchangeStatus::Done);
    QVERIFY(exchange.replied);
    QCOMPARE(exchange.reply, QByteArray());
}

void ControllerConnectionTest::aReplyInManyPiecesIsOneReply()
{
    ScriptedController controller([](const QByteArray &, const ScriptedController::Client &c) {
        for (const char byte : QByteArray("quorel2 set a b c\r\n")) {
            c.send(QByteArray(1, byte));
            std::this_thread::yield();
        }
    });
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    CONNECT(connection, controller);
    for (int i = 0; i < 20; ++i)
        QCOMPARE(connection.exchange("a").reply, QByteArray("quorel2 set a b c"));
}

void ControllerConnectionTest::ofTwoLinesAtOnceTheSecondIsUnasked()
{
    int number = 0;
    ScriptedController controller([&](const QByteArray &, const ScriptedController::Client &c) {
        ++number;
        c.send("reply " + QByteArray::number(number) + "\nnews " + QByteArray::number(number) +
               '\n');
    });
    QVERIFY(controller.start());
    ControllerConnection connection;
    QSignalSpy unasked(&connection, &ControllerConnection::unaskedLine);
    CONNECT(connection, controller);
    for (int i = 1; i <= 20; ++i)
        QCOMPARE(connection.exchange("a").reply, "reply " + QByteArray::number(i));
    QTRY_COMPARE(unasked.size(), 20);
    QCOMPARE(unasked.last().at(0).toByteArray(), QByteArray("news 20"));
}

void ControllerConnectionTest::aLineThatNobodyAskedForIsNoReply()
{
    ScriptedController controller(answerOk);
    QVERIFY(controller.start());
    ControllerConnection connection;
    QSignalSpy unasked(&connection, &ControllerConnection::unaskedLine);
    CONNECT(connection, controller);
    QTRY_COMPARE(controller.connectionCount(), 1);
    controller.sendUnasked("quorel2 warning hot\n");
    QTRY_COMPARE(unasked.size(), 1);
    QCOMPARE(unasked.first().at(0).toByteArray(), QByteArray("quorel2 warning hot"));
    QCOMPARE(connection.exchange("a").reply, QByteArray("quorel2 ok"));
}

void ControllerConnectionTest::aLineThatTheEventLoopHasNotSeenIsNoReply()
{
    ScriptedController controller(answerOk);
    QVERIFY(controller.start());
    ControllerConnection connection;
    QSignalSpy unasked(&connection, &ControllerConnection::unaskedLine);
    CONNECT(connection, controller);
    QTRY_COMPARE(controller.connectionCount(), 1);
    for (int i = 1; i <= 20; ++i) {
        // Loopback has it ready when this returns.
        controller.sendUnasked("quorel2 warning hot\n");
        QCOMPARE(connection.exchange("a").reply, QByteArray("quorel2 ok"));
        QCOMPARE(unasked.size(), i);
    }
}

void ControllerConnectionTest::aLineBegunBeforeTheRequestIsNoReply()
{
    ScriptedController controller([](const QByteArray &, const ScriptedController::Client &c) {
        c.send("ot\nquorel2 ok\n");
    });
    QVERIFY(controller.start());
    ControllerConnection connection;
    QSignalSpy unasked(&connection, &ControllerConnection::unaskedLine);
    CONNECT(connection, controller);
    QTRY_COMPARE(controller.connectionCount(), 1);
    controller.sendUnasked("whole\nquorel2 warning h");
    QTRY_COMPARE(unasked.size(), 1);
    QCOMPARE(connection.exchange("a").reply, QByteArray("quorel2 ok"));
    QCOMPARE(unasked.size(), 2);
    QCOMPARE(unasked.last().at(0).toByteArray(), QByteArray("quorel2 warning hot"));
}

void ControllerConnectionTest::aSlowReplyWithinTheLimitIsTaken()
{
    QSemaphore mayAnswer;
    ScriptedController controller([&](const QByteArray &, const ScriptedController::Client &c) {
        c.send("quorel2 ");
        mayAnswer.acquire();
        c.send("ok\n");
    });
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    CONNECT(connection, controller);
    std::thread releaser([&] {
        while (controller.requests().empty())
            std::this_thread::yield();
        mayAnswer.release();
    });
    const Exchange exchange = connection.exchange("a");
    releaser.join();
    QCOMPARE(exchange.status, ExchangeStatus::Done);
    QCOMPARE(exchange.reply, QByteArray("quorel2 ok"));
}

void ControllerConnectionTest::aLateReplyIsNeverGivenToTheNextRequest()
{
    QSemaphore mayAnswer;
    QSemaphore answered;
    ScriptedController controller(
        [&](const QByteArray &request, const ScriptedController::Client &c) {
            if (request == "slow") {
                mayAnswer.acquire();
                c.send("reply to slow\n");
                answered.release();
            } else {
                c.send("reply to " + request + '\n');
            }
        });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    QCOMPARE(connection.exchange("first").reply, QByteArray("reply to first"));
    connection.setTimeoutMs(kShortTimeoutMs);
    const Exchange slow = connection.exchange("slow");
    QCOMPARE(slow.status, ExchangeStatus::TimedOut);
    QVERIFY(!slow.replied);
    QVERIFY(slow.reply.isEmpty());
    QVERIFY(slow.milliseconds >= kShortTimeoutMs);

    // Now the reply comes, and only then is the next request made.
    mayAnswer.release();
    answered.acquire();
    connection.setTimeoutMs(kLongTimeoutMs);
    for (const QByteArray &request : {QByteArray("one"), QByteArray("two"), QByteArray("three")})
        QCOMPARE(connection.exchange(request).reply, "reply to " + request);
}

void ControllerConnectionTest::everyOneOfManyLateRepliesIsDropped()
{
    QSemaphore mayAnswer;
    ScriptedController controller(
        [&](const QByteArray &request, const ScriptedController::Client &c) {
            if (request.startsWith("slow"))
                mayAnswer.acquire();
            c.send("reply to " + request + '\n');
        });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    for (int i = 0; i < 3; ++i) {
        connection.setTimeoutMs(kLongTimeoutMs);
        QCOMPARE(connection.exchange("fast").reply, QByteArray("reply to fast"));
        connection.setTimeoutMs(kShortTimeoutMs);
        QCOMPARE(connection.exchange("slow " + QByteArray::number(i)).status,
                 ExchangeStatus::TimedOut);
    }
    mayAnswer.release(3);
    connection.setTimeoutMs(kLongTimeoutMs);
    for (int i = 0; i < 20; ++i) {
        const QByteArray request = "fast " + QByteArray::number(i);
        QCOMPARE(connection.exchange(request).reply, "reply to " + request);
    }
}

void ControllerConnectionTest::halfAReplyBeforeTheLimitIsDroppedToo()
{
    QSemaphore mayAnswer;
    ScriptedController controller(
        [&](const QByteArray &request, const ScriptedController::Client &c) {
            c.send("reply to ");
            if (request == "slow")
                mayAnswer.acquire();
            c.send(request + '\n');
        });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    QCOMPARE(connection.exchange("first").reply, QByteArray("reply to first"));
    connection.setTimeoutMs(kShortTimeoutMs);
    QCOMPARE(connection.exchange("slow").status, ExchangeStatus::TimedOut);
    mayAnswer.release();
    connection.setTimeoutMs(kLongTimeoutMs);
    QCOMPARE(connection.exchange("fast").reply, QByteArray("reply to fast"));
}

void ControllerConnectionTest::afterATimeOutTheNextExchangeFindsANewConnection()
{
    ScriptedController controller(
        [&](const QByteArray &request, const ScriptedController::Client &c) {
            if (request != "silent")
                c.send("quorel2 ok\n");
        });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    QCOMPARE(connection.exchange("first").status, ExchangeStatus::Done);
    connection.setTimeoutMs(kShortTimeoutMs);
    QCOMPARE(connection.connectCount(), 1);
    QCOMPARE(connection.exchange("silent").status, ExchangeStatus::TimedOut);
    // Without the event loop in between, as in a sequence of commands.
    connection.setTimeoutMs(kLongTimeoutMs);
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::Done);
    QCOMPARE(connection.connectCount(), 2);
}

void ControllerConnectionTest::aControllerThatFallsSilentGetsOneMoreConnectionOnly()
{
    std::atomic<bool> silent{false};
    ScriptedController controller([&](const QByteArray &, const ScriptedController::Client &c) {
        if (!silent)
            c.send("quorel2 ok\n");
    });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::Done);
    silent = true;
    connection.setTimeoutMs(kShortTimeoutMs);
    QCOMPARE(connection.exchange("b").status, ExchangeStatus::TimedOut);
    QCOMPARE(connection.exchange("c").status, ExchangeStatus::TimedOut);
    // As in a sequence of commands, which must not wait for each of them.
    connection.setTimeoutMs(kLongTimeoutMs);
    for (int i = 0; i < 50; ++i)
        QCOMPARE(connection.exchange("d").status, ExchangeStatus::NotConnected);
    QCOMPARE(connection.connectCount(), 2);
    QVERIFY(!connection.lastError().isEmpty());
    silent = false;
    QTRY_COMPARE(connection.state(), ControllerConnection::ConnectedState);
    QCOMPARE(connection.exchange("e").status, ExchangeStatus::Done);
    QCOMPARE(connection.connectCount(), 3);
}

void ControllerConnectionTest::aControllerThatNeverRepliedCountsAsLost()
{
    ScriptedController controller([](const QByteArray &, const ScriptedController::Client &) {});
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    for (int count = 1; count <= 2; ++count) {
        connection.setTimeoutMs(kShortTimeoutMs);
        QCOMPARE(connection.exchange("a").status, ExchangeStatus::TimedOut);
        QCOMPARE(connection.state(), ControllerConnection::DisconnectedState);
        connection.setTimeoutMs(kLongTimeoutMs);
        for (int i = 0; i < 50; ++i)
            QCOMPARE(connection.exchange("b").status, ExchangeStatus::NotConnected);
        QCOMPARE(connection.connectCount(), count);
        QTRY_COMPARE(connection.state(), ControllerConnection::ConnectedState);
    }
    QTRY_COMPARE(controller.connectionCount(), 3);
    QCOMPARE(controller.requests(), (std::vector<QByteArray>{"a", "a"}));
}

void ControllerConnectionTest::thePausesBeforeASilentControllerGrow()
{
    ScriptedController controller([](const QByteArray &, const ScriptedController::Client &) {});
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    connection.setTimeoutMs(kShortTimeoutMs);
    QElapsedTimer clock;
    connect(&connection, &ControllerConnection::stateChanged, this,
            [&](ControllerConnection::State state) {
                if (state == ControllerConnection::DisconnectedState)
                    clock.start();
            });
    for (const int leastMs : {80, 160, 320}) {
        QCOMPARE(connection.exchange("a").status, ExchangeStatus::TimedOut);
        QTRY_COMPARE(connection.state(), ControllerConnection::ConnectedState);
        QVERIFY2(clock.elapsed() >= leastMs, qPrintable(QString::number(clock.elapsed())));
    }
}

void ControllerConnectionTest::aSilentControllerIsTriedWithoutHoldingAnybodyUp()
{
    std::atomic<bool> silent{true};
    ScriptedController controller(
        [&](const QByteArray &request, const ScriptedController::Client &c) {
            if (!silent)
                c.send(request == "quorel2 get alive" ? "quorel2 set alive yes\n" : "quorel2 ok\n");
        });
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTrialParameter("alive");
    QSignalSpy states(&connection, &ControllerConnection::stateChanged);
    QSignalSpy trials(&connection, &ControllerConnection::tried);
    CONNECT(connection, controller);
    connection.setTimeoutMs(kShortTimeoutMs);
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::TimedOut);
    states.clear();
    // It accepts connections, but none counts before it has answered.
    QTRY_VERIFY_WITH_TIMEOUT(trials.size() >= 2, 30000);
    for (int i = 0; i < 50; ++i)
        QCOMPARE(connection.exchange("b").status, ExchangeStatus::NotConnected);
    QVERIFY(!connection.waitForConnected(kLongTimeoutMs));
    for (const QList<QVariant> &state : qAsConst(states))
        QVERIFY(state.at(0).value<ControllerConnection::State>() !=
                ControllerConnection::ConnectedState);
    const Exchange failed = trials.first().at(0).value<Exchange>();
    QCOMPARE(failed.request, QByteArray("quorel2 get alive"));
    QCOMPARE(failed.status, ExchangeStatus::TimedOut);
    QVERIFY(!failed.replied);

    silent = false;
    QTRY_COMPARE_WITH_TIMEOUT(connection.state(), ControllerConnection::ConnectedState, 30000);
    const Exchange done = trials.last().at(0).value<Exchange>();
    QCOMPARE(done.status, ExchangeStatus::Done);
    QCOMPARE(done.reply, QByteArray("quorel2 set alive yes"));
    connection.setTimeoutMs(kLongTimeoutMs);
    QCOMPARE(connection.exchange("c").reply, QByteArray("quorel2 ok"));
    QCOMPARE(connection.connectCount(), 2);
    const std::vector<QByteArray> requests = controller.requests();
    QCOMPARE(requests.front(), QByteArray("a"));
    QCOMPARE(requests.back(), QByteArray("c"));
    QCOMPARE(std::count(requests.begin(), requests.end(), "quorel2 get alive"),
             static_cast<std::ptrdiff_t>(requests.size()) - 2);
}

void ControllerConnectionTest::whatASilentControllerSaysToATrialIsNoReplyToAnythingElse()
{
    std::atomic<bool> silent{true};
    ScriptedController controller(
        [&](const QByteArray &request, const ScriptedController::Client &c) {
            if (silent)
                return;
            if (request == "quorel2 get alive")
                c.send("quorel2 welcome\nquorel2 err no such parameter\n");
            else
                c.send("echo " + request + '\n');
        });
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTrialParameter("alive");
    QSignalSpy unasked(&connection, &ControllerConnection::unaskedLine);
    QSignalSpy trials(&connection, &ControllerConnection::tried);
    CONNECT(connection, controller);
    connection.setTimeoutMs(kShortTimeoutMs);
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::TimedOut);
    silent = false;
    QTRY_COMPARE_WITH_TIMEOUT(connection.state(), ControllerConnection::ConnectedState, 30000);
    connection.setTimeoutMs(kLongTimeoutMs);
    QCOMPARE(trials.last().at(0).value<Exchange>().status, ExchangeStatus::Refused);
    QCOMPARE(connection.exchange("b").reply, QByteArray("echo b"));
    QCOMPARE(unasked.size(), 1);
    QCOMPARE(unasked.first().at(0).toByteArray(), QByteArray("quorel2 welcome"));
}

void ControllerConnectionTest::theDefaultLimitIsTwoSeconds()
{
    QCOMPARE(ControllerConnection().timeoutMs(), 2000);
}

void ControllerConnectionTest::aReplyThatIsTooLongFailsAndTheNextOneIsRight()
{
    ScriptedController controller(
        [&](const QByteArray &request, const ScriptedController::Client &c) {
            c.send(QByteArray(request.toInt(), 'x') + '\n');
        });
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    CONNECT(connection, controller);
    QCOMPARE(connection.exchange("1024").status, ExchangeStatus::ReplyTooLong);
    QCOMPARE(connection.exchange("3").reply, QByteArray("xxx"));
    QCOMPARE(connection.exchange("5000000").status, ExchangeStatus::ReplyTooLong);
    QCOMPARE(connection.exchange("4").reply, QByteArray("xxxx"));
    QCOMPARE(connection.connectCount(), 1);
}

void ControllerConnectionTest::theLongestLineIsTaken()
{
    ScriptedController controller(
        [&](const QByteArray &request, const ScriptedController::Client &c) {
            c.send(request + "\r\n");
        });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    const QByteArray line(ControllerConnection::kLongestLine, 'x');
    QCOMPARE(connection.exchange(line).reply, line);
}

void ControllerConnectionTest::aRequestThatCannotBeALineIsNotSent_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("line feed at the end") << QByteArray("quorel2 ok\n");
    QTest::newRow("line feed inside") << QByteArray("quorel2 ok\nquorel2 tracking stop");
    QTest::newRow("carriage return") << QByteArray("quorel2 ok\r");
    QTest::newRow("NUL") << QByteArray("quorel2\0ok", 10);
    QTest::newRow("too long") << QByteArray(ControllerConnection::kLongestLine + 1, 'x');
}

void ControllerConnectionTest::aRequestThatCannotBeALineIsNotSent()
{
    QFETCH(QByteArray, request);
    ScriptedController controller(answerOk);
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    QCOMPARE(connection.exchange(request).status, ExchangeStatus::BadRequest);
    QCOMPARE(connection.exchange("good").status, ExchangeStatus::Done);
    QCOMPARE(controller.requests(), std::vector<QByteArray>{"good"});
}

void ControllerConnectionTest::aHangUpInsteadOfAReplyFailsAtOnce()
{
    ScriptedController controller(
        [](const QByteArray &, const ScriptedController::Client &c) { c.hangUp(); });
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    CONNECT(connection, controller);
    const Exchange exchange = connection.exchange("a");
    QCOMPARE(exchange.status, ExchangeStatus::ConnectionLost);
    QVERIFY(!exchange.replied);
    QVERIFY(exchange.milliseconds < 0.5 * kLongTimeoutMs);
    QCOMPARE(connection.state(), ControllerConnection::DisconnectedState);
    QVERIFY(!connection.lastError().isEmpty());
}

void ControllerConnectionTest::aReplyBeforeTheHangUpCounts()
{
    ScriptedController controller([](const QByteArray &, const ScriptedController::Client &c) {
        c.send("quorel2 ok\n");
        c.hangUp();
    });
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    CONNECT(connection, controller);
    const Exchange exchange = connection.exchange("a");
    QCOMPARE(exchange.status, ExchangeStatus::Done);
    QCOMPARE(exchange.reply, QByteArray("quorel2 ok"));
}

void ControllerConnectionTest::halfAReplyBeforeTheHangUpIsNone()
{
    ScriptedController controller([](const QByteArray &, const ScriptedController::Client &c) {
        c.send("quorel2 ok");
        c.hangUp();
    });
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    CONNECT(connection, controller);
    const Exchange exchange = connection.exchange("a");
    QCOMPARE(exchange.status, ExchangeStatus::ConnectionLost);
    QVERIFY(exchange.reply.isEmpty());
}

void ControllerConnectionTest::withoutConnectionEveryExchangeFailsAtOnce()
{
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < 100; ++i) {
        const Exchange exchange = connection.exchange("a");
        QCOMPARE(exchange.status, ExchangeStatus::NotConnected);
        QCOMPARE(exchange.request, QByteArray("a"));
    }
    QVERIFY(clock.elapsed() < kLongTimeoutMs);
}

void ControllerConnectionTest::afterALossEveryExchangeFailsAtOnce()
{
    ScriptedController controller(answerOk);
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    CONNECT(connection, controller);
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::Done);
    // Ended between two exchanges, and the event loop has not heard of it.
    controller.stop();
    const ExchangeStatus first = connection.exchange("b").status;
    QVERIFY(first == ExchangeStatus::NotConnected || first == ExchangeStatus::ConnectionLost);
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < 100; ++i)
        QCOMPARE(connection.exchange("c").status, ExchangeStatus::NotConnected);
    QVERIFY(clock.elapsed() < kLongTimeoutMs);
}

void ControllerConnectionTest::aFailedConnectIsNotRepeatedForEachExchange()
{
    ScriptedController controller(
        [](const QByteArray &, const ScriptedController::Client &c) { c.hangUp(); });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::ConnectionLost);
    // The controller would answer a new connection, but only the event loop makes one.
    for (int i = 0; i < 50; ++i)
        QCOMPARE(connection.exchange("b").status, ExchangeStatus::NotConnected);
    QCOMPARE(controller.connectionCount(), 1);
}

void ControllerConnectionTest::aLostConnectionComesBackByItself()
{
    ScriptedController controller(answerOk);
    QVERIFY(controller.start());
    const quint16 port = controller.port();
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    QSignalSpy states(&connection, &ControllerConnection::stateChanged);
    CONNECT(connection, controller);
    controller.stop();
    QTRY_COMPARE(connection.state() == ControllerConnection::ConnectedState, false);
    QVERIFY(controller.start(port));
    QTRY_COMPARE_WITH_TIMEOUT(connection.state(), ControllerConnection::ConnectedState, 30000);
    QCOMPARE(connection.exchange("a").reply, QByteArray("quorel2 ok"));
    QCOMPARE(connection.connectCount(), 2);
    QVERIFY(states.size() >= 4);
}

void ControllerConnectionTest::aControllerThatStartsLateIsFound()
{
    quint16 port = 0;
    {
        ScriptedController reserved(answerOk);
        QVERIFY(reserved.start());
        port = reserved.port();
    }
    ControllerConnection connection;
    connection.open(QStringLiteral("127.0.0.1"), port);
    QVERIFY(!connection.waitForConnected(kLongTimeoutMs));
    QVERIFY(!connection.lastError().isEmpty());
    ScriptedController controller(answerOk);
    QVERIFY(controller.start(port));
    QTRY_COMPARE_WITH_TIMEOUT(connection.state(), ControllerConnection::ConnectedState, 30000);
    QVERIFY(connection.lastError().isEmpty());
}

void ControllerConnectionTest::aNameThatIsBeingLookedUpHoldsNobodyUp()
{
    ControllerConnection connection;
    connection.open(QStringLiteral("no-such-host.invalid"), 1);
    QVERIFY(!connection.waitForConnected(kLongTimeoutMs));
    QCOMPARE(connection.state(), ControllerConnection::ConnectingState);
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::NotConnected);
}

void ControllerConnectionTest::aHostNameIsLookedUp()
{
    ScriptedController controller(answerOk);
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.open(QStringLiteral("localhost"), controller.port());
    QTRY_COMPARE_WITH_TIMEOUT(connection.state(), ControllerConnection::ConnectedState, 30000);
    // Without the event loop, by the address that is known by now.
    connection.resynchronise(QStringLiteral("out of step"));
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::Done);
}

void ControllerConnectionTest::anExchangeWithinAnExchangeIsRefused()
{
    ScriptedController controller(
        [](const QByteArray &, const ScriptedController::Client &c) { c.send("e\nquorel2 ok\n"); });
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    QTRY_COMPARE(controller.connectionCount(), 1);
    ExchangeStatus inner = ExchangeStatus::Done;
    connect(&connection, &ControllerConnection::unaskedLine, this, [&](const QByteArray &line) {
        if (line == "lat"
                    "e")
            inner = connection.exchange("inner").status;
    });
    QSignalSpy unasked(&connection, &ControllerConnection::unaskedLine);
    controller.sendUnasked("first\nlat");
    QTRY_COMPARE(unasked.size(), 1);
    QCOMPARE(connection.exchange("outer").reply, QByteArray("quorel2 ok"));
    QCOMPARE(inner, ExchangeStatus::Busy);
    QCOMPARE(controller.requests(), std::vector<QByteArray>{"outer"});
}

void ControllerConnectionTest::anExchangeFromAnotherThreadIsRefused()
{
    ScriptedController controller(answerOk);
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    ExchangeStatus status = ExchangeStatus::Done;
    std::thread other([&] { status = connection.exchange("a").status; });
    other.join();
    QCOMPARE(status, ExchangeStatus::Busy);
    QVERIFY(controller.requests().empty());
}

void ControllerConnectionTest::noEventLoopRunsDuringAnExchange()
{
    QSemaphore mayAnswer;
    ScriptedController controller([&](const QByteArray &, const ScriptedController::Client &c) {
        mayAnswer.acquire();
        c.send("quorel2 ok\n");
    });
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    CONNECT(connection, controller);
    bool ran = false;
    QTimer::singleShot(0, this, [&] { ran = true; });
    QMetaObject::invokeMethod(
        this, [&] { ran = true; }, Qt::QueuedConnection);
    std::thread releaser([&] {
        while (controller.requests().empty())
            std::this_thread::yield();
        mayAnswer.release();
    });
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::Done);
    releaser.join();
    QVERIFY(!ran);
    QTRY_VERIFY(ran);
}

void ControllerConnectionTest::afterCloseNothingIsConnectedAgain()
{
    ScriptedController controller(answerOk);
    QVERIFY(controller.start());
    ControllerConnection connection;
    QSignalSpy states(&connection, &ControllerConnection::stateChanged);
    CONNECT(connection, controller);
    connection.close();
    QCOMPARE(connection.state(), ControllerConnection::DisconnectedState);
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::NotConnected);
    states.clear();
    // Longer than the first pause before a new attempt.
    QVERIFY(!states.wait(400));
    QCOMPARE(controller.connectionCount(), 1);
}

void ControllerConnectionTest::resynchroniseMakesANewConnection()
{
    ScriptedController controller(answerOk);
    QVERIFY(controller.start());
    ControllerConnection connection;
    CONNECT(connection, controller);
    connection.resynchronise(QStringLiteral("out of step"));
    QCOMPARE(connection.lastError(), QStringLiteral("out of step"));
    QCOMPARE(connection.state(), ControllerConnection::DisconnectedState);
    // The event loop makes it too, if no exchange comes first.
    QTRY_COMPARE(connection.state(), ControllerConnection::ConnectedState);
    QCOMPARE(connection.connectCount(), 2);
    connection.resynchronise(QStringLiteral("again"));
    QCOMPARE(connection.exchange("a").status, ExchangeStatus::Done);
    QCOMPARE(connection.connectCount(), 3);
}

void ControllerConnectionTest::aHundredExchangesAreEachAnswered()
{
    ScriptedController controller(
        [](const QByteArray &request, const ScriptedController::Client &c) {
            c.send(request + '\n');
        });
    QVERIFY(controller.start());
    ControllerConnection connection;
    connection.setTimeoutMs(kLongTimeoutMs);
    CONNECT(connection, controller);
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < 100; ++i) {
        const QByteArray line = "line " + QByteArray::number(i);
        QCOMPARE(connection.exchange(line).reply, line);
    }
    qInfo("100 exchanges took %lld us", static_cast<long long>(clock.nsecsElapsed() / 1000));
}

QUOREL2_TEST_MAIN(ControllerConnectionTest)
#include "tst_ControllerConnection.moc"
