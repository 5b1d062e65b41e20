#include "TestScenario.h"

#include <controller/CommandTable.h>
#include <controller/ControllerServer.h>
#include <controller/DataLineWriter.h>
#include <controller/SimulationClock.h>

#include <tests/support/TestMain.h>

#include <QDeadlineTimer>
#include <QNetworkDatagram>
#include <QTcpSocket>
#include <QTimer>
#include <QUdpSocket>
#include <QtTest>

#include <functional>
#include <memory>
#include <random>
#include <vector>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace {

constexpr int kPatienceMs = 20000;

/// Runs the event loop until the condition holds, looking after each event.
/// @return false if that takes too long
bool waitFor(const std::function<bool()> &condition)
{
    const QDeadlineTimer deadline(kPatienceMs);
    QTimer wake; // for the case that nothing happens at all
    wake.start(kPatienceMs / 10);
    while (!condition() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return condition();
}

/// A client in the server's own thread: the event loop serves both.
class Client {
public:
    explicit Client(const ControllerServer &server)
    {
        m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_socket.connectToHost(server.address(), server.port());
        waitFor([this] { return m_socket.state() == QAbstractSocket::ConnectedState; });
    }

    void send(const QByteArray &bytes) { m_socket.write(bytes); }

    /// The next line, without its end; a null array if none comes.
    QByteArray readLine()
    {
        if (!waitFor([this] { return m_socket.canReadLine(); }))
            return {};
        QByteArray line = m_socket.readLine();
        line.chop(1);
        return line;
    }

    QByteArray ask(const QByteArray &request)
    {
        send(request + '\n');
        return readLine();
    }

    bool hasNothingToRead() const { return m_socket.bytesAvailable() == 0; }
    bool isConnected() const { return m_socket.state() == QAbstractSocket::ConnectedState; }
    QTcpSocket &socket() { return m_socket; }

private:
    QTcpSocket m_socket;
};

class DataReceiver {
public:
    DataReceiver() { m_socket.bind(QHostAddress(QHostAddress::LocalHost)); }

    QByteArray connectRequest() const
    {
        return "quorel2 data connect " + QByteArray::number(m_socket.localPort());
    }

    /// @param count  waits for that many datagrams
    QList<QByteArray> take(int count)
    {
        QList<QByteArray> lines;
        const auto readAll = [this, &lines, count] {
            while (m_socket.hasPendingDatagrams()) {
                QByteArray line(static_cast<int>(m_socket.pendingDatagramSize()), '\0');
                m_socket.readDatagram(line.data(), line.size());
                lines.append(line);
            }
            return lines.size() >= count;
        };
        return waitFor(readAll) ? lines : QList<QByteArray>();
    }

    bool isEmpty() const { return !m_socket.hasPendingDatagrams(); }

private:
    QUdpSocket m_socket;
};

const QByteArray kStatus = "quorel2 get status active";
const QByteArray kIdle = "quorel2 set status active idle";

} // namespace

class tst_ControllerServer : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_clock = std::make_unique<SimulationClock>(SimulationClock::Kind::Virtual);
        start(smallScenario());
    }

    void cleanup()
    {
        m_server.reset();
        m_clock.reset();
    }

    // --- lines

    void eachRequestGetsOneLine()
    {
        Client client(*m_server);
        QCOMPARE(client.ask(kStatus), kIdle);
        QCOMPARE(client.ask("quorel2 tracking start"), QByteArray("quorel2 ok"));
        QCOMPARE(client.ask(kStatus + '\r'), QByteArray("quorel2 set status active mea"));
        QCOMPARE(client.ask(""), QByteArray("quorel2 err unknown command"));
        QVERIFY(client.hasNothingToRead());
        QCOMPARE(m_server->answerCount(), quint64(4));
    }

    void aRequestMayComeInPieces()
    {
        Client client(*m_server);
        const QByteArray request = kStatus + "\r\n";
        for (char byte : request) {
            client.send(QByteArray(1, byte));
            client.socket().flush();
            QCoreApplication::processEvents();
        }
        QCOMPARE(client.readLine(), kIdle);
    }

    void requestsSentTogetherAreAnsweredInOrder()
    {
        Client client(*m_server);
        const int rounds = 3000;
        QByteArray requests;
        for (int i = 0; i < rounds; ++i)
            requests += "quorel2 get body marker standard b01 m" + QByteArray::number(i + 1000) +
                        '\n' + "quorel2 get body number_of_bodies vimbar\n";
        client.send(requests);
        for (int i = 0; i < rounds; ++i) {
            QCOMPARE(client.readLine(), QByteArray("quorel2 err no such marker"));
            QCOMPARE(client.readLine(), QByteArray("quorel2 set body number_of_bodies vimbar 1"));
        }
        QVERIFY(client.hasNothingToRead());
    }

    void overLongLinesAreRefusedOnceAndTheNextIsAnswered()
    {
        Client client(*m_server);
        client.send(QByteArray(300000, 'x') + '\n' + kStatus + '\n');
        QCOMPARE(client.readLine(), QByteArray("quorel2 err line too long"));
        QCOMPARE(client.readLine(), kIdle);
        QVERIFY(client.hasNothingToRead());
    }

    void theLongestAllowedLineIsLookedAt()
    {
        Client client(*m_server);
        const QByteArray padding(CommandTable::kMaximumRequestLength - kStatus.size(), ' ');
        QCOMPARE(client.ask(kStatus + padding), kIdle);
        QCOMPARE(client.ask(kStatus + padding + ' '), QByteArray("quorel2 err line too long"));
    }

    void binaryInputIsAnsweredLineByLine()
    {
        std::mt19937 random(testSeed());
        std::uniform_int_distribution<int> byte(0, 255);
        Client client(*m_server);
        for (int round = 0; round < 50; ++round) {
            QByteArray noise;
            for (int i = 0; i < 500; ++i)
                noise += static_cast<char>(byte(random));
            noise.replace('\n', '\0');
            QVERIFY(client.ask(noise).startsWith("quorel2 err "));
        }
        QCOMPARE(client.ask(QByteArray("\0\0\0", 3)), QByteArray("quorel2 err invalid character"));
        QCOMPARE(client.ask("%s%s%n%n"), QByteArray("quorel2 err unknown command"));
        QCOMPARE(client.ask(kStatus), kIdle);
    }

    // --- clients

    void socketsAreSetForLowDelay()
    {
        Client client(*m_server);
        QCOMPARE(client.ask(kStatus), kIdle);
        const QList<QTcpSocket *> sockets = m_server->findChildren<QTcpSocket *>();
        QCOMPARE(sockets.size(), 1);
        QCOMPARE(sockets[0]->socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
    }

    void socketsFindOutThatTheirClientIsGone()
    {
        Client client(*m_server);
        QCOMPARE(client.ask(kStatus), kIdle);
        const QList<QTcpSocket *> sockets = m_server->findChildren<QTcpSocket *>();
        QCOMPARE(sockets.size(), 1);
        const auto option = [&](int level, int name) {
            int value = 0;
            socklen_t size = sizeof value;
            const int descriptor = static_cast<int>(sockets[0]->socketDescriptor());
            return ::getsockopt(descriptor, level, name, &value, &size) == 0 ? value : -1;
        };
        QCOMPARE(option(SOL_SOCKET, SO_KEEPALIVE), 1);
        // A minute, all in all, and not the system's two hours.
        const int idleS = option(IPPROTO_TCP, TCP_KEEPIDLE);
        const int intervalS = option(IPPROTO_TCP, TCP_KEEPINTVL);
        const int count = option(IPPROTO_TCP, TCP_KEEPCNT);
        QVERIFY(idleS > 0 && intervalS > 0 && count > 0);
        QVERIFY2(idleS + intervalS * count <= 60,
                 qPrintable(QStringLiteral("%1 + %2 * %3").arg(idleS).arg(intervalS).arg(count)));
    }

    void clientsShareOneState()
    {
        Client first(*m_server);
        Client second(*m_server);
        QCOMPARE(first.ask("quorel2 set body marker standard b01 m01 5 5 5"),
                 QByteArray("quorel2 ok"));
        QCOMPARE(second.ask("quorel2 get body marker standard b01 m01"),
                 QByteArray("quorel2 set body marker standard b01 m01 5.000 5.000 5.000"));
    }

    void manyClientsEachGetTheirOwnReplies()
    {
        std::vector<std::unique_ptr<Client>> clients;
        for (int i = 0; i < 100; ++i)
            clients.push_back(std::make_unique<Client>(*m_server));
        for (int round = 0; round < 3; ++round) {
            for (std::size_t i = 0; i < clients.size(); ++i)
                clients[i]->send(i % 2 ? kStatus + '\n' : "quorel2 get backend version\n");
            for (std::size_t i = 0; i < clients.size(); ++i)
                QCOMPARE(clients[i]->readLine(),
                         i % 2 ? kIdle : QByteArray("quorel2 set backend version 1.17.2"));
        }
        QCOMPARE(m_server->clientCount(), 100);
        clients.clear();
        QTRY_COMPARE(m_server->clientCount(), 0);
    }

    void tooManyClientsAreTurnedAway()
    {
        std::vector<std::unique_ptr<Client>> clients;
        for (int i = 0; i < 210; ++i)
            clients.push_back(std::make_unique<Client>(*m_server));
        QTRY_COMPARE_WITH_TIMEOUT(
            std::count_if(clients.begin(), clients.end(),
                          [](const auto &client) { return client->isConnected(); }),
            std::ptrdiff_t(200), kPatienceMs);
        QCOMPARE(m_server->clientCount(), 200);
        QCOMPARE(clients.front()->ask(kStatus), kIdle);
        clients.erase(clients.begin(), clients.begin() + 20);
        QTRY_VERIFY(m_server->clientCount() <= 180);
        Client late(*m_server);
        QCOMPARE(late.ask(kStatus), kIdle);
    }

    void aClientThatNeverReadsHoldsUpNobodyAndNoMemory()
    {
        Client deaf(*m_server);
        deaf.socket().setReadBufferSize(1000);
        // Far more replies than the system's buffers hold.
        const int requests = 150000;
        QByteArray all;
        for (int i = 0; i < requests; ++i)
            all += "quorel2 get body marker standard b01 m02\n";
        deaf.send(all);
        Client other(*m_server);
        QTcpSocket *serversEnd = m_server->findChildren<QTcpSocket *>().first();
        quint64 answered = 0;
        // Until its connection is full and nothing moves any more.
        for (int calm = 0; calm < 50;) {
            QCOMPARE(other.ask(kStatus), kIdle);
            QVERIFY(serversEnd->bytesToWrite() < 70000);
            QVERIFY(serversEnd->bytesAvailable() <= 64 * 1024);
            const quint64 now = m_server->answerCount();
            calm = now == answered + 1 ? calm + 1 : 0;
            answered = now;
        }
        // Nothing is lost once it reads.
        deaf.socket().setReadBufferSize(0);
        for (int i = 0; i < requests; ++i)
            QCOMPARE(deaf.readLine(),
                     QByteArray("quorel2 set body marker standard b01 m02 -4.500 0.000 1234.568"));
    }

    void clientsThatVanishAreForgotten()
    {
        for (int i = 0; i < 30; ++i) {
            Client client(*m_server);
            DataReceiver data;
            client.send(data.connectRequest() + "\nquorel2 tracking start\nquorel2 get sta");
            if (i % 3 == 0)
                QCOMPARE(client.readLine(), QByteArray("quorel2 ok"));
            if (i % 2 == 0)
                client.socket().abort();
        }
        m_clock->advance(100);
        QTRY_COMPARE(m_server->clientCount(), 0);
        QTRY_VERIFY(m_server->findChildren<QTcpSocket *>().isEmpty());
        m_clock->advance(100);
        Client client(*m_server);
        QVERIFY(client.ask(kStatus).startsWith("quorel2 set status active "));
    }

    void halfARequestOfAVanishedClientIsNotCarriedOut()
    {
        {
            Client client(*m_server);
            client.send("quorel2 tracking start");
            client.socket().flush();
            QTRY_COMPARE(m_server->clientCount(), 1);
            client.socket().disconnectFromHost();
        }
        QTRY_COMPARE(m_server->clientCount(), 0);
        QVERIFY(!m_server->state().isMeasuring());
    }

    void requestsBeforeAHalfCloseAreAnswered_data()
    {
        QTest::addColumn<int>("requests");
        QTest::newRow("one") << 1;
        QTest::newRow("a few") << 10;
        QTest::newRow("more than one turn's") << 2000;
    }

    void requestsBeforeAHalfCloseAreAnswered()
    {
        QFETCH(int, requests);
        Client client(*m_server);
        for (int i = 1; i < requests; ++i)
            client.send(kStatus + '\n');
        client.send("quorel2 tracking start\nquorel2 tracking sto");
        client.socket().flush();
        QCOMPARE(client.socket().bytesToWrite(), qint64(0));
        // What the server has got by then, it learns together with the end.
        QCOMPARE(::shutdown(static_cast<int>(client.socket().socketDescriptor()), SHUT_WR), 0);
        for (int i = 1; i < requests; ++i)
            QCOMPARE(client.readLine(), kIdle);
        QCOMPARE(client.readLine(), QByteArray("quorel2 ok"));
        QTRY_COMPARE(m_server->clientCount(), 0);
        QTRY_VERIFY(!client.isConnected());
        QVERIFY(client.hasNothingToRead());
        QVERIFY(m_server->state().isMeasuring());
    }

    void aHalfCloseEndsTheWaitForAHeldReply()
    {
        Client client(*m_server);
        m_server->faults().spoilReply(1, {FaultPlan::Kind::Delay, 500});
        client.send("quorel2 tracking start\nquorel2 tracking stop\n");
        client.socket().flush();
        QCOMPARE(::shutdown(static_cast<int>(client.socket().socketDescriptor()), SHUT_WR), 0);
        QTRY_VERIFY(!client.isConnected());
        QVERIFY(client.hasNothingToRead());
        QCOMPARE(m_server->clientCount(), 0);
        QVERIFY(m_server->state().isMeasuring());
    }

    void droppedClientsCanComeBack()
    {
        Client client(*m_server);
        Client other(*m_server);
        QCOMPARE(client.ask(kStatus), kIdle);
        QCOMPARE(other.ask(kStatus), kIdle);
        m_server->dropClients();
        QTRY_VERIFY(!client.isConnected() && !other.isConnected());
        QCOMPARE(m_server->clientCount(), 0);
        Client again(*m_server);
        QCOMPARE(again.ask(kStatus), kIdle);
    }

    void closingEndsAllAndListeningBeginsAnew()
    {
        Client client(*m_server);
        QCOMPARE(client.ask(kStatus), kIdle);
        m_server->close();
        QVERIFY(!m_server->isListening());
        QCOMPARE(m_server->port(), quint16(0));
        QTRY_VERIFY(!client.isConnected());
        QVERIFY(m_server->listen(QHostAddress::LocalHost, 0));
        Client again(*m_server);
        QCOMPARE(again.ask(kStatus), kIdle);
    }

    void anAddressInUseIsTold()
    {
        ControllerServer second(smallScenario(), 1, m_clock.get());
        QVERIFY(!second.listen(QHostAddress::LocalHost, m_server->port()));
        QVERIFY(!second.errorString().isEmpty());
        QVERIFY(!second.isListening());
    }

    // --- data lines

    void sixtyFramesASecondWhileMeasuring()
    {
        Client client(*m_server);
        DataReceiver data;
        QCOMPARE(client.ask(data.connectRequest()), QByteArray("quorel2 ok"));
        m_clock->advance(1000);
        QCOMPARE(m_server->frameCount(), quint64(0));
        QCOMPARE(client.ask("quorel2 tracking start"), QByteArray("quorel2 ok"));
        for (int i = 0; i < 40; ++i)
            m_clock->advance(25);
        QCOMPARE(m_server->frameCount(), quint64(60));
        m_clock->advance(1000);
        QCOMPARE(m_server->frameCount(), quint64(120));
        const QList<QByteArray> lines = data.take(120);
        QCOMPARE(lines.size(), 120);
        for (const QByteArray &line : lines)
            QVERIFY(line.startsWith("6d 2 [0 1.000]["));
    }

    void aFrameShowsTheBodiesAtItsOwnTime()
    {
        start(Scenario::builtIn(), 5);
        const ControllerState untouched(Scenario::builtIn(), 5);
        Client client(*m_server);
        DataReceiver data;
        client.ask(data.connectRequest());
        client.ask("quorel2 tracking start");
        m_clock->advance(50);
        const QList<QByteArray> lines = data.take(3);
        QCOMPARE(lines.size(), 3);
        const qint64 timesUs[] = {16667, 33334, 50000};
        for (int i = 0; i < 3; ++i)
            QCOMPARE(lines[i], DataLineWriter::bodyLine(untouched, timesUs[i]));
    }

    void eachActiveOutputIsADatagramOfItsOwn()
    {
        Client client(*m_server);
        DataReceiver data;
        client.ask(data.connectRequest());
        client.ask("quorel2 set output active chmon 6df2 yes");
        client.ask("quorel2 tracking start");
        m_clock->advance(17);
        const QList<QByteArray> lines = data.take(2);
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines[0].startsWith("6d 2 "));
        QVERIFY(lines[1].startsWith("6df2 1 1 "));
    }

    void stoppingEndsTheStream()
    {
        Client client(*m_server);
        DataReceiver data;
        client.ask(data.connectRequest());
        client.ask("quorel2 tracking start");
        m_clock->advance(17);
        QCOMPARE(data.take(1).size(), 1);
        client.ask("quorel2 tracking stop");
        m_clock->advance(1000);
        QCOMPARE(m_server->frameCount(), quint64(1));
        client.ask("quorel2 tracking start");
        m_clock->advance(17);
        QCOMPARE(m_server->frameCount(), quint64(2));
    }

    void dataGoOnlyToThoseWhoAskedForThem()
    {
        Client first(*m_server);
        Client second(*m_server);
        Client third(*m_server);
        DataReceiver firstData;
        DataReceiver secondData;
        DataReceiver thirdData;
        first.ask("quorel2 tracking start");
        first.ask(firstData.connectRequest());
        second.ask(secondData.connectRequest());
        third.ask(kStatus);
        m_clock->advance(17);
        QCOMPARE(firstData.take(1).size(), 1);
        QCOMPARE(secondData.take(1).size(), 1);
        QCOMPARE(first.ask("quorel2 data disconnect"), QByteArray("quorel2 ok"));
        m_clock->advance(17);
        QCOMPARE(secondData.take(1).size(), 1);
        QVERIFY(firstData.isEmpty());
        QVERIFY(thirdData.isEmpty());
        // The end of the connection is the end of its data.
        second.socket().abort();
        QTRY_COMPARE(m_server->clientCount(), 2);
        const quint64 frames = m_server->frameCount();
        m_clock->advance(1000);
        QVERIFY(secondData.isEmpty());
        QCOMPARE(m_server->frameCount(), frames);
        first.ask(firstData.connectRequest());
        m_clock->advance(17);
        QCOMPARE(firstData.take(1).size(), 1);
    }

    void aNewPortReplacesTheOldOne()
    {
        Client client(*m_server);
        DataReceiver before;
        DataReceiver after;
        client.ask("quorel2 tracking start");
        client.ask(before.connectRequest());
        client.ask(after.connectRequest());
        m_clock->advance(17);
        QCOMPARE(after.take(1).size(), 1);
        QVERIFY(before.isEmpty());
    }

    void sameSeedAndTimesGiveTheSameLines()
    {
        QList<QByteArray> runs[3];
        const quint32 seeds[] = {7, 7, 8};
        for (int run = 0; run < 3; ++run) {
            m_server.reset();
            m_clock = std::make_unique<SimulationClock>(SimulationClock::Kind::Virtual);
            start(Scenario::builtIn(), seeds[run]);
            Client client(*m_server);
            DataReceiver data;
            client.ask("quorel2 set output active chmon 6df yes");
            client.ask("quorel2 tracking start");
            client.ask(data.connectRequest());
            for (int i = 0; i < 30; ++i) {
                m_clock->advance(100);
                runs[run] += data.take(12);
            }
            QCOMPARE(runs[run].size(), 360);
        }
        QCOMPARE(runs[0], runs[1]);
        QVERIFY(runs[0] != runs[2]);
        QVERIFY(runs[0][0] != runs[0][2]);
    }

    void redefinedBodyIsReportedInItsNewCoordinates()
    {
        Client client(*m_server);
        DataReceiver data;
        client.ask(data.connectRequest());
        client.ask("quorel2 tracking start");
        client.ask("quorel2 body transform standard b01 -1.000 0.000 0.000 0 1 0 -1 0 0 0 0 1");
        m_clock->advance(17);
        // Turned by a quarter about z: the pose turns back, and the origin lies 1 mm further along
        // what is now the x axis, in the room along -y.
        QVERIFY(data.take(1).value(0).startsWith(
            "6d 2 [0 1.000][100.000 199.000 300.000 0.000 0.000 -90.000]"
            "[0.000000 -1.000000 0.000000 1.000000 0.000000 0.000000 0.000000 0.000000 "
            "1.000000] "));
    }

    void withARealClockDataComeByThemselves()
    {
        ControllerServer server(smallScenario(), 1);
        QVERIFY(server.listen());
        Client client(server);
        DataReceiver data;
        client.ask("quorel2 tracking start");
        client.ask(data.connectRequest());
        QVERIFY(data.take(10).size() >= 10);
        client.ask("quorel2 data disconnect");
        const quint64 frames = server.frameCount();
        QCOMPARE(client.ask(kStatus), QByteArray("quorel2 set status active mea"));
        QCOMPARE(server.frameCount(), frames);
    }

    void afterAStallOnlyTheNewestFrameIsSent()
    {
        ControllerServer server(smallScenario(), 1);
        QVERIFY(server.listen());
        Client client(server);
        DataReceiver data;
        client.ask("quorel2 tracking start");
        client.ask(data.connectRequest());
        QVERIFY(!data.take(1).isEmpty());
        const quint64 before = server.frameCount();
        const qint64 start = server.clock()->nowUs();
        while (server.clock()->nowUs() < start + 300000) {
            // The event loop does not run: 18 frames are missed.
        }
        QTRY_VERIFY(server.frameCount() > before);
        const qint64 elapsed = server.clock()->nowUs() - start;
        const quint64 possible = static_cast<quint64>((elapsed - 300000) * 60 / 1000000) + 3;
        QVERIFY2(server.frameCount() - before <= possible,
                 qPrintable(QString::number(server.frameCount() - before)));
    }

    void dataReachAnIPv6Client()
    {
        ControllerServer server(smallScenario(), 1, m_clock.get());
        if (!server.listen(QHostAddress::LocalHostIPv6, 0))
            QSKIP("NOT TESTED: this system has no IPv6 loopback");
        Client client(server);
        QUdpSocket data;
        QVERIFY(data.bind(QHostAddress(QHostAddress::LocalHostIPv6)));
        client.ask("quorel2 tracking start");
        QCOMPARE(client.ask("quorel2 data connect " + QByteArray::number(data.localPort())),
                 QByteArray("quorel2 ok"));
        m_clock->advance(17);
        QTRY_VERIFY(data.hasPendingDatagrams());
    }

    void dataReachAnIPv4ClientOfAnIPv6Socket()
    {
        ControllerServer server(smallScenario(), 1, m_clock.get());
        QVERIFY(server.listen(QHostAddress::Any, 0));
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, server.port());
        QTRY_COMPARE(socket.state(), QAbstractSocket::ConnectedState);
        DataReceiver data;
        server.state().startMeasurement();
        socket.write(data.connectRequest() + '\n');
        QTRY_VERIFY(socket.canReadLine());
        m_clock->advance(17);
        QCOMPARE(data.take(1).size(), 1);
    }

    void dataComeFromTheAddressThatTheClientTalksTo()
    {
        ControllerServer server(smallScenario(), 1, m_clock.get());
        QVERIFY(server.listen(QHostAddress::Any, 0));
        server.state().startMeasurement();
        for (const char *name : {"127.0.0.2", "127.0.0.3", "::1"}) {
            const QHostAddress address(QString::fromLatin1(name));
            QTcpSocket socket;
            socket.connectToHost(address, server.port());
            QTRY_VERIFY(socket.state() == QAbstractSocket::ConnectedState ||
                        socket.error() != QAbstractSocket::UnknownSocketError);
            if (socket.state() != QAbstractSocket::ConnectedState) {
                QCOMPARE(address.protocol(), QAbstractSocket::IPv6Protocol);
                continue; // a system without it
            }
            QUdpSocket data;
            QVERIFY(data.bind(socket.localAddress()));
            socket.write("quorel2 data connect " + QByteArray::number(data.localPort()) + '\n');
            QTRY_VERIFY(socket.canReadLine());
            QCOMPARE(socket.readLine(), QByteArray("quorel2 ok\n"));
            m_clock->advance(17);
            QTRY_VERIFY(data.hasPendingDatagrams());
            QCOMPARE(data.receiveDatagram().senderAddress(), address);
        }
    }

    // --- faults

    void aFaultSpoilsOneReply_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("carriedOut");
        using Kind = FaultPlan::Kind;
        QTest::newRow("error") << static_cast<int>(Kind::Error) << false;
        QTest::newRow("garbage") << static_cast<int>(Kind::Garbage) << true;
        QTest::newRow("over-long") << static_cast<int>(Kind::OverLong) << true;
    }

    void aFaultSpoilsOneReply()
    {
        QFETCH(int, kind);
        QFETCH(bool, carriedOut);
        Client client(*m_server);
        m_server->faults().spoilReply(2, {static_cast<FaultPlan::Kind>(kind), 0});
        QCOMPARE(client.ask(kStatus), kIdle);
        const QByteArray spoiled = client.ask("quorel2 tracking start");
        QVERIFY(spoiled != "quorel2 ok");
        QVERIFY(!spoiled.isEmpty());
        QCOMPARE(m_server->state().isMeasuring(), carriedOut);
        if (static_cast<FaultPlan::Kind>(kind) == FaultPlan::Kind::OverLong)
            QVERIFY(spoiled.size() > 1000);
        QCOMPARE(client.ask("quorel2 tracking start"), QByteArray("quorel2 ok"));
    }

    void aSilencedReplyNeverComes()
    {
        Client client(*m_server);
        m_server->faults().spoilReply(1, {FaultPlan::Kind::Silence, 0});
        client.send("quorel2 tracking start\n");
        // The next reply is that of the next request.
        QCOMPARE(client.ask("quorel2 get body number_of_types"),
                 QByteArray("quorel2 set body number_of_types 2"));
        QVERIFY(client.hasNothingToRead());
        QVERIFY(m_server->state().isMeasuring());
    }

    void requestsBehindManySilencedOnesAreAnswered()
    {
        Client client(*m_server);
        m_server->faults().spoilRequests("quorel2 tracking", {FaultPlan::Kind::Silence, 0}, -1);
        QByteArray requests;
        for (int i = 0; i < 1000; ++i)
            requests += "quorel2 tracking stop\n";
        client.send(requests);
        QCOMPARE(client.ask(kStatus), kIdle);
    }

    void aDelayedReplyComesWhenItsTimeHasCome()
    {
        Client client(*m_server);
        Client other(*m_server);
        m_server->faults().spoilReply(1, {FaultPlan::Kind::Delay, 500});
        client.send("quorel2 tracking start\nquorel2 get status active\n");
        QTRY_VERIFY(m_server->state().isMeasuring());
        m_clock->advance(499);
        // Others are not held up.
        QCOMPARE(other.ask(kStatus), QByteArray("quorel2 set status active mea"));
        QVERIFY(client.hasNothingToRead());
        m_clock->advance(1);
        QCOMPARE(client.readLine(), QByteArray("quorel2 ok"));
        QCOMPARE(client.readLine(), QByteArray("quorel2 set status active mea"));
    }

    void aClientThatVanishesDuringADelayIsForgotten()
    {
        {
            Client client(*m_server);
            m_server->faults().spoilReply(1, {FaultPlan::Kind::Delay, 500});
            client.send("quorel2 tracking start\nquorel2 tracking stop\n");
            QTRY_VERIFY(m_server->state().isMeasuring());
        }
        QTRY_COMPARE(m_server->clientCount(), 0);
        m_clock->advance(1000);
        QVERIFY(m_server->state().isMeasuring());
    }

    void withARealClockADelayedReplyComesByItself()
    {
        ControllerServer server(smallScenario(), 1);
        QVERIFY(server.listen());
        server.faults().spoilReply(1, {FaultPlan::Kind::Delay, 30});
        Client client(server);
        const qint64 start = server.clock()->nowUs();
        QCOMPARE(client.ask(kStatus), kIdle);
        QVERIFY(server.clock()->nowUs() >= start + 30000);
    }

    void aFaultCanEndTheConnection()
    {
        Client client(*m_server);
        m_server->faults().spoilRequests("quorel2 tracking", {FaultPlan::Kind::Disconnect, 0});
        QCOMPARE(client.ask(kStatus), kIdle);
        client.send("quorel2 tracking start\nquorel2 tracking stop\n");
        QTRY_VERIFY(!client.isConnected());
        QVERIFY(client.hasNothingToRead());
        QTRY_COMPARE(m_server->clientCount(), 0);
        QVERIFY(m_server->state().isMeasuring());
    }

    void faultsOfTheScenarioCountFromTheFirstReply()
    {
        Scenario scenario = smallScenario();
        QVERIFY(scenario.applySetup("error-on-third-reply"));
        start(scenario);
        Client client(*m_server);
        QCOMPARE(client.ask(kStatus), kIdle);
        QCOMPARE(client.ask(kStatus), kIdle);
        QCOMPARE(client.ask(kStatus), QByteArray("quorel2 err simulated fault"));
        QCOMPARE(client.ask(kStatus), kIdle);
    }

    void faultsByRequestOfTheScenarioAreTaken()
    {
        start(scenarioOf(R"({"faults": {"requests": [
            {"request": "quorel2 get status", "kind": "error", "times": 2}]}})"));
        Client client(*m_server);
        QCOMPARE(client.ask("quorel2 get backend version"),
                 QByteArray("quorel2 set backend version 1.17"));
        QCOMPARE(client.ask(kStatus), QByteArray("quorel2 err simulated fault"));
        QCOMPARE(client.ask(kStatus), QByteArray("quorel2 err simulated fault"));
        QCOMPARE(client.ask(kStatus), kIdle);
    }

    void logIsQuietUnlessAskedFor()
    {
        // Any message would fail this case through the handler below.
        static int messages;
        messages = 0;
        const QtMessageHandler before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &) { ++messages; });
        {
            Client client(*m_server);
            client.ask(kStatus);
            client.ask("nonsense");
        }
        QTRY_COMPARE(m_server->clientCount(), 0);
        const int quiet = messages;
        QLoggingCategory::setFilterRules(QStringLiteral("quorel2.controller.debug=true"));
        {
            Client client(*m_server);
            client.ask("%n%s");
        }
        QLoggingCategory::setFilterRules(QString());
        qInstallMessageHandler(before);
        QCOMPARE(quiet, 0);
        QVERIFY(messages >= 3);
    }

private:
    void start(const Scenario &scenario, quint32 seed = 1)
    {
        m_server = std::make_unique<ControllerServer>(scenario, seed, m_clock.get());
        QVERIFY(m_server->listen(QHostAddress::LocalHost, 0));
        QVERIFY(m_server->port() != 0);
        QVERIFY(m_server->address().isLoopback());
    }

    std::unique_ptr<SimulationClock> m_clock;
    std::unique_ptr<ControllerServer> m_server;
};

QUOREL2_TEST_MAIN(tst_ControllerServer)
#include "tst_ControllerServer.moc"
