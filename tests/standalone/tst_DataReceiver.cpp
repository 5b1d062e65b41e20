#include <host/Requester.h>
#include <standalone/DataReceiver.h>
#include <tests/support/TestMain.h>

#include <QElapsedTimer>
#include <QNetworkInterface>
#include <QUdpSocket>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kLimitMs = 30000;

/// Sends datagrams as the controller does.
class Sender {
public:
    explicit Sender(quint16 port, const char *from = "127.0.0.1")
        : m_descriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address;
        std::memset(&address, 0, sizeof address);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(QHostAddress(QString::fromLatin1(from)).toIPv4Address());
        isValid = ::bind(m_descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        isValid = isValid && ::connect(m_descriptor, reinterpret_cast<sockaddr *>(&address),
                                       sizeof address) == 0;
    }
    ~Sender() { ::close(m_descriptor); }
    Sender(const Sender &) = delete;
    Sender &operator=(const Sender &) = delete;

    void send(const std::string &datagram) const
    {
        [[maybe_unused]] const ssize_t size =
            ::send(m_descriptor, datagram.data(), datagram.size(), 0);
    }

    bool isValid = false;

private:
    int m_descriptor;
};

/// Records what it gets; what it does in between is the case's.
class Recorder : public Requester {
public:
    int receiveLine(const char *lineType, const char *line) override
    {
        if (onLine)
            onLine(lineType, line);
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_lines.push_back(std::string(lineType) + "|" + line);
            m_thread = std::this_thread::get_id();
        }
        ++count;
        return 0;
    }
    int reserved1() override { return 0; }
    int reserved2() override { return 0; }

    std::vector<std::string> lines() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_lines;
    }
    std::thread::id thread() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_thread;
    }

    std::atomic<int> count{0};
    std::function<void(const char *, const char *)> onLine;

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
    std::thread::id m_thread;
};

/// A gate that is closed until it is opened.
class Gate {
public:
    void open()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isOpen = true;
        m_opened.notify_all();
    }
    bool waitUntilOpen()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_opened.wait_for(lock, std::chrono::milliseconds(kLimitMs),
                                 [this] { return m_isOpen; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_isOpen = false;
};

const QHostAddress kLoopback(QHostAddress::LocalHost);

#define START(receiver)                                                                            \
    QString startError;                                                                            \
    QVERIFY2((receiver).start(kLoopback, kLoopback, &startError), qPrintable(startError))

} // namespace

class DataReceiverTest : public QObject {
    Q_OBJECT

private slots:
    void aLineReachesWhoAskedForItsType();
    void theTypeIsTheWholeFirstWord();
    void linesOfOneDatagramAreDeliveredOneByOne();
    void emptyLinesAndBinaryOnesAreDropped();
    void theLongestDatagramIsDelivered();
    void deliveryIsOnAThreadOfItsOwn();
    void everyRequesterOfATypeGetsTheLineInOrder();
    void aRequesterAddedTwiceGetsTheLineOnce();
    void oneRequesterMayAskForSeveralTypes();
    void nothingIsDeliveredAfterRemoval();
    void removalOfOneTypeLeavesTheOther();
    void removalWaitsForTheDeliveryThatIsUnderWay();
    void removalDoesNotWaitForADeliveryToSomebodyElse();
    void removalFromWithinItsOwnDeliveryDoesNotBlock();
    void removalOfALaterOneFromWithinADeliveryHoldsForThisLine();
    void addingFromWithinADeliveryHoldsFromTheNextLine();
    void removalUnderAStreamNeverLetsALineThrough();
    void removalFromManyThreadsNeverLetsALineThrough();
    void removalOfWhatWasNeverAddedReturns();
    void stopWaitsForTheDeliveryThatIsUnderWay();
    void aStoppedReceiverStartsAgainAndKeepsItsRequesters();
    void linesOfStrangersAreNotTaken();
    void datagramsOfStrangersAreCountedAndTheFirstSenderIsKnown();
    void aScopeIsTheNameOrTheNumberOfAnInterface();
    void linesComeOverALinkLocalAddress();
    void anAddressThatIsNotOursCannotBeHad();
    void receivedLinesAreCounted();
};

void DataReceiverTest::aLineReachesWhoAskedForItsType()
{
    DataReceiver receiver;
    QCOMPARE(receiver.port(), quint16(0));
    START(receiver);
    QVERIFY(receiver.port() != 0);
    Recorder bodies;
    Recorder devices;
    receiver.addRequester("6d", &bodies);
    receiver.addRequester("6df2", &devices);
    Sender sender(receiver.port());
    sender.send("6d 1 [0 1.000][1 2 3][1 0 0 0 1 0 0 0 1]");
    sender.send("6df2 1 1 [0 1.000 0 0][1 2 3][1 0 0 0 1 0 0 0 1][]");
    QTRY_COMPARE(bodies.count.load(), 1);
    QTRY_COMPARE(devices.count.load(), 1);
    QCOMPARE(bodies.lines(),
             std::vector<std::string>{"6d|6d 1 [0 1.000][1 2 3][1 0 0 0 1 0 0 0 1]"});
    QCOMPARE(devices.lines(),
             std::vector<std::string>{"6df2|6df2 1 1 [0 1.000 0 0][1 2 3][1 0 0 0 1 0 0 0 1][]"});
}

void DataReceiverTest::theTypeIsTheWholeFirstWord()
{
    DataReceiver receiver;
    START(receiver);
    Recorder recorder;
    receiver.addRequester("6d", &recorder);
    Sender sender(receiver.port());
    for (const char *line : {"6df 1", "6", "6D 1", " 6d 1", "x6d 1", "6d-1", "6d 1", "6d"})
        sender.send(line);
    QTRY_COMPARE(recorder.count.load(), 2);
    QCOMPARE(recorder.lines(), (std::vector<std::string>{"6d|6d 1", "6d|6d"}));
}

void DataReceiverTest::linesOfOneDatagramAreDeliveredOneByOne()
{
    DataReceiver receiver;
    START(receiver);
    Recorder recorder;
    receiver.addRequester("6d", &recorder);
    Sender sender(receiver.port());
    sender.send("6d 1\r\n6d 2\n6d 3\n");
    sender.send("6d 4\n6d 5");
    QTRY_COMPARE(recorder.count.load(), 5);
    QCOMPARE(recorder.lines(),
             (std::vector<std::string>{"6d|6d 1", "6d|6d 2", "6d|6d 3", "6d|6d 4", "6d|6d 5"}));
}

void DataReceiverTest::emptyLinesAndBinaryOnesAreDropped()
{
    DataReceiver receiver;
    START(receiver);
    Recorder recorder;
    receiver.addRequester("6d", &recorder);
    receiver.addRequester("", &recorder);
    Sender sender(receiver.port());
    sender.send("");
    sender.send("\n\r\n\n");
    sender.send(std::string("6d \0 1", 6));
    sender.send("6d 1");
    QTRY_COMPARE(recorder.count.load(), 1);
    QCOMPARE(recorder.lines(), std::vector<std::string>{"6d|6d 1"});
}

void DataReceiverTest::theLongestDatagramIsDelivered()
{
    DataReceiver receiver;
    START(receiver);
    Recorder recorder;
    receiver.addRequester("6d", &recorder);
    const std::string line = "6d " + std::string(65507 - 3, 'x');
    Sender(receiver.port()).send(line);
    QTRY_COMPARE(recorder.count.load(), 1);
    QVERIFY(recorder.lines().front() == "6d|" + line);
}

void DataReceiverTest::deliveryIsOnAThreadOfItsOwn()
{
    DataReceiver receiver;
    START(receiver);
    Recorder first;
    Recorder second;
    receiver.addRequester("6d", &first);
    receiver.addRequester("6df", &second);
    Sender sender(receiver.port());
    sender.send("6d");
    sender.send("6df");
    QTRY_COMPARE(second.count.load(), 1);
    QVERIFY(first.thread() != std::this_thread::get_id());
    QVERIFY(first.thread() == second.thread());
}

void DataReceiverTest::everyRequesterOfATypeGetsTheLineInOrder()
{
    DataReceiver receiver;
    START(receiver);
    std::mutex mutex;
    std::string order;
    Recorder recorders[3];
    for (int i = 0; i < 3; ++i) {
        recorders[i].onLine = [&, i](const char *, const char *) {
            const std::lock_guard<std::mutex> lock(mutex);
            order += static_cast<char>('a' + i);
        };
        receiver.addRequester("6d", &recorders[i]);
    }
    Sender sender(receiver.port());
    sender.send("6d");
    sender.send("6d");
    QTRY_COMPARE(recorders[2].count.load(), 2);
    const std::lock_guard<std::mutex> lock(mutex);
    QCOMPARE(order, std::string("abcabc"));
}

void DataReceiverTest::aRequesterAddedTwiceGetsTheLineOnce()
{
    DataReceiver receiver;
    START(receiver);
    Recorder recorder;
    Recorder last;
    receiver.addRequester("6d", &recorder);
    receiver.addRequester("6d", &recorder);
    receiver.addRequester("6d", nullptr);
    receiver.addRequester("end", &last);
    Sender sender(receiver.port());
    sender.send("6d");
    sender.send("end");
    QTRY_COMPARE(last.count.load(), 1);
    QCOMPARE(recorder.count.load(), 1);
    receiver.removeRequester("6d", &recorder);
    sender.send("6d");
    sender.send("end");
    QTRY_COMPARE(last.count.load(), 2);
    QCOMPARE(recorder.count.load(), 1);
}

void DataReceiverTest::oneRequesterMayAskForSeveralTypes()
{
    DataReceiver receiver;
    START(receiver);
    Recorder recorder;
    receiver.addRequester("6d", &recorder);
    receiver.addRequester("6df2", &recorder);
    Sender sender(receiver.port());
    sender.send("6df2");
    sender.send("6df");
    sender.send("6d");
    QTRY_COMPARE(recorder.count.load(), 2);
    QCOMPARE(recorder.lines(), (std::vector<std::string>{"6df2|6df2", "6d|6d"}));
}

void DataReceiverTest::nothingIsDeliveredAfterRemoval()
{
    DataReceiver receiver;
    START(receiver);
    Recorder recorder;
    Recorder last;
    receiver.addRequester("6d", &recorder);
    receiver.addRequester("end", &last);
    Sender sender(receiver.port());
    sender.send("6d");
    QTRY_COMPARE(recorder.count.load(), 1);
    receiver.removeRequester("6d", &recorder);
    sender.send("6d");
    sender.send("end");
    QTRY_COMPARE(last.count.load(), 1);
    QCOMPARE(recorder.count.load(), 1);
}

void DataReceiverTest::removalOfOneTypeLeavesTheOther()
{
    DataReceiver receiver;
    START(receiver);
    Recorder recorder;
    Recorder other;
    receiver.addRequester("6d", &recorder);
    receiver.addRequester("6df", &recorder);
    receiver.addRequester("6d", &other);
    receiver.removeRequester("6d", &recorder);
    Sender sender(receiver.port());
    sender.send("6d");
    sender.send("6df");
    QTRY_COMPARE(recorder.count.load(), 1);
    QCOMPARE(recorder.lines(), std::vector<std::string>{"6df|6df"});
    QCOMPARE(other.count.load(), 1);
}

void DataReceiverTest::removalWaitsForTheDeliveryThatIsUnderWay()
{
    DataReceiver receiver;
    START(receiver);
    Gate inside;
    Gate mayReturn;
    std::atomic<bool> hasReturned{false};
    Recorder recorder;
    recorder.onLine = [&](const char *, const char *) {
        inside.open();
        mayReturn.waitUntilOpen();
        hasReturned = true;
    };
    receiver.addRequester("6d", &recorder);
    Sender(receiver.port()).send("6d");
    QVERIFY(inside.waitUntilOpen());
    std::atomic<bool> isRemoved{false};
    std::atomic<bool> hadReturned{false};
    std::thread remover([&] {
        receiver.removeRequester("6d", &recorder);
        hadReturned = hasReturned.load();
        isRemoved = true;
    });
    // It cannot be shown that it waits for ever, only that it does not come back by itself.
    QTest::qWait(50);
    const bool tooEarly = isRemoved;
    mayReturn.open();
    remover.join();
    QVERIFY(!tooEarly);
    QVERIFY(hadReturned);
}

void DataReceiverTest::removalDoesNotWaitForADeliveryToSomebodyElse()
{
    DataReceiver receiver;
    START(receiver);
    Gate inside;
    Gate mayReturn;
    Recorder slow;
    Recorder other;
    slow.onLine = [&](const char *, const char *) {
        inside.open();
        mayReturn.waitUntilOpen();
    };
    receiver.addRequester("6d", &slow);
    receiver.addRequester("6d", &other);
    Sender(receiver.port()).send("6d");
    QVERIFY(inside.waitUntilOpen());
    QElapsedTimer clock;
    clock.start();
    receiver.removeRequester("6d", &other);
    receiver.addRequester("6df", &other);
    const bool atOnce = clock.elapsed() < kLimitMs / 2;
    mayReturn.open();
    receiver.stop();
    QVERIFY(atOnce);
    QCOMPARE(slow.count.load(), 1);
    // It was removed while the line was on its way to it.
    QCOMPARE(other.count.load(), 0);
}

void DataReceiverTest::removalFromWithinItsOwnDeliveryDoesNotBlock()
{
    DataReceiver receiver;
    START(receiver);
    Recorder recorder;
    Recorder last;
    recorder.onLine = [&](const char *lineType, const char *) {
        receiver.removeRequester(lineType, &recorder);
    };
    receiver.addRequester("6d", &recorder);
    receiver.addRequester("end", &last);
    Sender sender(receiver.port());
    sender.send("6d");
    sender.send("6d");
    sender.send("end");
    QTRY_COMPARE_WITH_TIMEOUT(last.count.load(), 1, kLimitMs);
    QCOMPARE(recorder.count.load(), 1);
}

void DataReceiverTest::removalOfALaterOneFromWithinADeliveryHoldsForThisLine()
{
    DataReceiver receiver;
    START(receiver);
    Recorder first;
    Recorder second;
    Recorder last;
    first.onLine = [&](const char *, const char *) { receiver.removeRequester("6d", &second); };
    receiver.addRequester("6d", &first);
    receiver.addRequester("6d", &second);
    receiver.addRequester("6d", &last);
    Sender(receiver.port()).send("6d");
    QTRY_COMPARE_WITH_TIMEOUT(last.count.load(), 1, kLimitMs);
    QCOMPARE(second.count.load(), 0);
}

void DataReceiverTest::addingFromWithinADeliveryHoldsFromTheNextLine()
{
    DataReceiver receiver;
    START(receiver);
    Recorder first;
    Recorder second;
    first.onLine = [&](const char *, const char *) { receiver.addRequester("6d", &second); };
    receiver.addRequester("6d", &first);
    Sender sender(receiver.port());
    sender.send("6d 1");
    sender.send("6d 2");
    QTRY_COMPARE_WITH_TIMEOUT(second.count.load(), 1, kLimitMs);
    QCOMPARE(second.lines(), std::vector<std::string>{"6d|6d 2"});
}

void DataReceiverTest::removalUnderAStreamNeverLetsALineThrough()
{
    DataReceiver receiver;
    START(receiver);
    std::atomic<bool> stopping{false};
    std::thread stream([&, port = receiver.port()] {
        const Sender sender(port);
        while (!stopping) {
            sender.send("6d 1\n6df 1\n6d 2");
            std::this_thread::yield();
        }
    });
    int delivered = 0;
    bool after = false;
    for (int run = 0; run < 300; ++run) {
        // On the heap and freed at once, so that a sanitizer sees a call that comes too late.
        auto recorder = std::make_unique<Recorder>();
        std::atomic<bool> isRemoved{false};
        std::atomic<bool> calledLate{false};
        recorder->onLine = [&](const char *, const char *) {
            if (isRemoved)
                calledLate = true;
        };
        receiver.addRequester("6d", recorder.get());
        receiver.addRequester("6df", recorder.get());
        QElapsedTimer clock;
        clock.start();
        while (recorder->count < 1 + run % 3 && !clock.hasExpired(kLimitMs))
            std::this_thread::yield();
        receiver.removeRequester("6d", recorder.get());
        receiver.removeRequester("6df", recorder.get());
        isRemoved = true;
        delivered += recorder->count;
        std::this_thread::yield();
        after = after || calledLate;
        recorder.reset();
    }
    stopping = true;
    stream.join();
    QVERIFY(!after);
    QVERIFY(delivered >= 300);
}

void DataReceiverTest::removalFromManyThreadsNeverLetsALineThrough()
{
    DataReceiver receiver;
    START(receiver);
    std::atomic<bool> stopping{false};
    std::thread stream([&, port = receiver.port()] {
        const Sender sender(port);
        while (!stopping) {
            sender.send("6d 1\n6df2 1");
            std::this_thread::yield();
        }
    });
    std::atomic<int> calledLate{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            const char *lineType = i % 2 == 0 ? "6d" : "6df2";
            for (int run = 0; run < 150; ++run) {
                Recorder recorder;
                std::atomic<bool> isRemoved{false};
                recorder.onLine = [&](const char *, const char *) {
                    if (isRemoved)
                        ++calledLate;
                };
                receiver.addRequester(lineType, &recorder);
                if (run % 2 == 0)
                    std::this_thread::yield();
                receiver.removeRequester(lineType, &recorder);
                isRemoved = true;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    stopping = true;
    stream.join();
    QCOMPARE(calledLate.load(), 0);
}

void DataReceiverTest::removalOfWhatWasNeverAddedReturns()
{
    DataReceiver receiver;
    Recorder recorder;
    receiver.removeRequester("6d", &recorder);
    receiver.removeRequester("6d", nullptr);
    START(receiver);
    receiver.removeRequester("6d", &recorder);
    receiver.removeRequester("6d", nullptr);
    QVERIFY(receiver.isRunning());
}

void DataReceiverTest::stopWaitsForTheDeliveryThatIsUnderWay()
{
    DataReceiver receiver;
    START(receiver);
    Gate inside;
    Recorder recorder;
    std::atomic<bool> hasReturned{false};
    recorder.onLine = [&](const char *, const char *) {
        inside.open();
        std::this_thread::yield();
        hasReturned = true;
    };
    receiver.addRequester("6d", &recorder);
    Sender(receiver.port()).send("6d");
    QVERIFY(inside.waitUntilOpen());
    receiver.stop();
    QVERIFY(hasReturned);
    QVERIFY(!receiver.isRunning());
    QCOMPARE(receiver.port(), quint16(0));
    receiver.stop();
}

void DataReceiverTest::aStoppedReceiverStartsAgainAndKeepsItsRequesters()
{
    DataReceiver receiver;
    Recorder recorder;
    receiver.addRequester("6d", &recorder);
    for (int run = 1; run <= 3; ++run) {
        START(receiver);
        Sender(receiver.port()).send("6d " + std::to_string(run));
        QTRY_COMPARE(recorder.count.load(), run);
        if (run == 2)
            receiver.stop();
    }
    QCOMPARE(recorder.lines(), (std::vector<std::string>{"6d|6d 1", "6d|6d 2", "6d|6d 3"}));
}

void DataReceiverTest::linesOfStrangersAreNotTaken()
{
    DataReceiver receiver;
    START(receiver);
    Recorder recorder;
    receiver.addRequester("6d", &recorder);
    Sender stranger(receiver.port(), "127.0.0.2");
    QVERIFY(stranger.isValid);
    stranger.send("6d stranger");
    Sender(receiver.port()).send("6d controller");
    QTRY_COMPARE(recorder.count.load(), 1);
    QCOMPARE(recorder.lines(), std::vector<std::string>{"6d|6d controller"});

    // Without a source, everybody is heard.
    QString error;
    QVERIFY(receiver.start(kLoopback, QHostAddress(), &error));
    Sender(receiver.port(), "127.0.0.2").send("6d stranger");
    QTRY_COMPARE(recorder.count.load(), 2);
}

void DataReceiverTest::datagramsOfStrangersAreCountedAndTheFirstSenderIsKnown()
{
    DataReceiver receiver;
    START(receiver);
    QCOMPARE(receiver.droppedDatagrams(), quint64(0));
    QVERIFY(receiver.droppedSender().isNull());
    const Sender controller(receiver.port());
    const Sender stranger(receiver.port(), "127.0.0.2");
    const Sender another(receiver.port(), "127.0.0.3");
    QVERIFY(stranger.isValid && another.isValid);
    stranger.send("6d 0 \n6d 0 \n");
    stranger.send("6d 0 ");
    another.send("6d 0 ");
    controller.send("6d 0 ");
    QTRY_COMPARE_WITH_TIMEOUT(receiver.receivedLines(), quint64(1), kLimitMs);
    QCOMPARE(receiver.droppedDatagrams(), quint64(3));
    QCOMPARE(receiver.droppedSender(), QHostAddress(QStringLiteral("127.0.0.2")));
    // The count goes on; who sends is asked anew.
    QString error;
    QVERIFY2(receiver.start(kLoopback, kLoopback, &error), qPrintable(error));
    QVERIFY(receiver.droppedSender().isNull());
    const Sender late(receiver.port(), "127.0.0.3");
    late.send("6d 0 ");
    QTRY_COMPARE_WITH_TIMEOUT(receiver.droppedDatagrams(), quint64(4), kLimitMs);
    QCOMPARE(receiver.droppedSender(), QHostAddress(QStringLiteral("127.0.0.3")));
}

void DataReceiverTest::aScopeIsTheNameOrTheNumberOfAnInterface()
{
    const unsigned loopback = ::if_nametoindex("lo");
    QVERIFY(loopback != 0);
    QCOMPARE(DataReceiver::interfaceIndex(QStringLiteral("lo")), loopback);
    QCOMPARE(DataReceiver::interfaceIndex(QString::number(loopback)), loopback);
    QCOMPARE(DataReceiver::interfaceIndex(QStringLiteral("17")), 17u);
    QCOMPARE(DataReceiver::interfaceIndex(QStringLiteral("none such")), 0u);
    QCOMPARE(DataReceiver::interfaceIndex(QString()), 0u);
}

void DataReceiverTest::linesComeOverALinkLocalAddress()
{
    QHostAddress address;
    for (const QHostAddress &own : QNetworkInterface::allAddresses()) {
        if (own.protocol() == QAbstractSocket::IPv6Protocol && own.isLinkLocal())
            address = own;
    }
    if (address.isNull())
        QSKIP("NOT TESTED: no interface of this system has a link-local IPv6 address");
    QVERIFY(!address.scopeId().isEmpty());
    DataReceiver receiver;
    QString error;
    QVERIFY2(receiver.start(address, address, &error), qPrintable(error));
    QUdpSocket controller;
    QVERIFY(controller.bind(address));
    controller.writeDatagram("6d 0 ", address, receiver.port());
    QTRY_COMPARE_WITH_TIMEOUT(receiver.receivedLines(), quint64(1), kLimitMs);
}

void DataReceiverTest::anAddressThatIsNotOursCannotBeHad()
{
    DataReceiver receiver;
    QString error;
    QVERIFY(!receiver.start(QHostAddress(QStringLiteral("192.0.2.1")), QHostAddress(), &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(!receiver.isRunning());
}

void DataReceiverTest::receivedLinesAreCounted()
{
    DataReceiver receiver;
    START(receiver);
    QCOMPARE(receiver.receivedLines(), quint64(0));
    const Sender sender(receiver.port());
    sender.send("6d 1\n6d 2");
    sender.send("unasked");
    QTRY_COMPARE(receiver.receivedLines(), quint64(3));
}

QUOREL2_TEST_MAIN(DataReceiverTest)
#include "tst_DataReceiver.moc"
