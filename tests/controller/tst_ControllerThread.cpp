#include "TestScenario.h"

#include <controller/ControllerServer.h>
#include <controller/ControllerThread.h>

#include <tests/support/TestMain.h>

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

namespace {

constexpr int kPatienceMs = 20000;

/// Asks without an event loop, as a program does whose thread waits for the reply.
QByteArray askBlocking(QTcpSocket *socket, const QByteArray &request)
{
    socket->write(request + '\n');
    while (!socket->canReadLine()) {
        if (!socket->waitForReadyRead(kPatienceMs))
            return {};
    }
    QByteArray line = socket->readLine();
    line.chop(1);
    return line;
}

} // namespace

class tst_ControllerThread : public QObject {
    Q_OBJECT

private slots:
    void aBlockedThreadGetsItsReplies()
    {
        ControllerThread controller(smallScenario(), 1);
        QVERIFY(controller.start());
        QVERIFY(controller.port() != 0);
        QVERIFY(controller.address().isLoopback());
        QTcpSocket socket;
        socket.connectToHost(controller.address(), controller.port());
        QVERIFY(socket.waitForConnected(kPatienceMs));
        for (int i = 0; i < 100; ++i)
            QCOMPARE(askBlocking(&socket, "quorel2 get status active"),
                     QByteArray("quorel2 set status active idle"));
    }

    void callsRunInTheControllersThread()
    {
        ControllerThread controller(smallScenario(), 1);
        QVERIFY(!controller.call([](ControllerServer &) { QFAIL("not running"); }));
        QVERIFY(controller.start());
        QThread *thread = nullptr;
        QVERIFY(controller.call([&thread](ControllerServer &server) {
            thread = QThread::currentThread();
            server.state().setConfigurationChangeable(false);
        }));
        QVERIFY(thread && thread != QThread::currentThread());
        QTcpSocket socket;
        socket.connectToHost(controller.address(), controller.port());
        QVERIFY(socket.waitForConnected(kPatienceMs));
        QCOMPARE(askBlocking(&socket, "quorel2 get config is_changeable"),
                 QByteArray("quorel2 set config is_changeable no"));
    }

    void stoppingEndsConnectionsAndCanBeRepeated()
    {
        ControllerThread controller(smallScenario(), 1);
        controller.stop();
        QVERIFY(controller.start());
        QTcpSocket socket;
        socket.connectToHost(controller.address(), controller.port());
        QVERIFY(socket.waitForConnected(kPatienceMs));
        QCOMPARE(askBlocking(&socket, "quorel2 tracking start"), QByteArray("quorel2 ok"));
        controller.stop();
        QVERIFY(!controller.isRunning());
        QCOMPARE(controller.port(), quint16(0));
        QTRY_COMPARE(socket.state(), QAbstractSocket::UnconnectedState);
        controller.stop();
        // It starts with its scenario again.
        QVERIFY(controller.start());
        QVERIFY(controller.call(
            [](ControllerServer &server) { QVERIFY(!server.state().isMeasuring()); }));
    }

    void startsAndStopsManyTimes()
    {
        ControllerThread controller(smallScenario(), 1);
        for (int i = 0; i < 50; ++i) {
            QVERIFY(controller.start());
            QVERIFY(controller.isRunning());
            if (i % 2)
                controller.stop();
        }
    }

    void endsCleanlyWhileDataStream()
    {
        for (int i = 0; i < 10; ++i) {
            QTcpSocket socket;
            ControllerThread controller(Scenario::builtIn(), 1);
            QVERIFY(controller.start());
            socket.connectToHost(controller.address(), controller.port());
            QVERIFY(socket.waitForConnected(kPatienceMs));
            QCOMPARE(askBlocking(&socket, "quorel2 data connect 9"), QByteArray("quorel2 ok"));
            QCOMPARE(askBlocking(&socket, "quorel2 tracking start"), QByteArray("quorel2 ok"));
            quint64 frames = 0;
            QTRY_VERIFY(controller.call([&frames](ControllerServer &server) {
                frames = server.frameCount();
            }) && frames > 0);
        }
    }

    void anAddressInUseIsTold()
    {
        QTcpServer occupant;
        QVERIFY(occupant.listen(QHostAddress::LocalHost, 0));
        ControllerThread controller(smallScenario(), 1);
        QVERIFY(!controller.start(QHostAddress::LocalHost, occupant.serverPort()));
        QVERIFY(!controller.errorString().isEmpty());
        QVERIFY(!controller.isRunning());
        QCOMPARE(controller.port(), quint16(0));
        occupant.close();
        QVERIFY(controller.start());
        QVERIFY(controller.errorString().isEmpty());
    }

    void severalControllersRunSideBySide()
    {
        ControllerThread first(smallScenario(), 1);
        ControllerThread second(Scenario::builtIn(), 2);
        QVERIFY(first.start());
        QVERIFY(second.start());
        QVERIFY(first.port() != second.port());
    }
};

QUOREL2_TEST_MAIN(tst_ControllerThread)
#include "tst_ControllerThread.moc"
