#include "DataReceiver.h"

#include <host/Requester.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr size_t kLargestDatagram = 65536;

union SocketAddress {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;
};

qint64 nowUs()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

bool isV6(const QHostAddress &address)
{
    return address.protocol() == QAbstractSocket::IPv6Protocol;
}

socklen_t toSocketAddress(const QHostAddress &address, SocketAddress *result)
{
    std::memset(result, 0, sizeof *result);
    if (isV6(address)) {
        const Q_IPV6ADDR bytes = address.toIPv6Address();
        result->v6.sin6_family = AF_INET6;
        std::memcpy(&result->v6.sin6_addr, &bytes, sizeof bytes);
        result->v6.sin6_scope_id = DataReceiver::interfaceIndex(address.scopeId());
        return sizeof result->v6;
    }
    result->v4.sin_family = AF_INET;
    result->v4.sin_addr.s_addr = htonl(address.toIPv4Address());
    return sizeof result->v4;
}

bool isSameHost(const SocketAddress &a, const SocketAddress &b)
{
    if (a.any.sa_family != b.any.sa_family)
        return false;
    if (a.any.sa_family == AF_INET6)
        return std::memcmp(&a.v6.sin6_addr, &b.v6.sin6_addr, sizeof a.v6.sin6_addr) == 0;
    return a.v4.sin_addr.s_addr == b.v4.sin_addr.s_addr;
}

} // namespace

/// The datagram socket, and the means to wake the thread that waits for it.
class DataReceiver::Socket {
public:
    Socket() = default;
    ~Socket()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        if (m_wake >= 0)
            ::close(m_wake);
    }
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    bool open(const QHostAddress &local, const QHostAddress &source, quint16 *port)
    {
        SocketAddress address;
        socklen_t size = toSocketAddress(local, &address);
        m_takesAll = source.isNull();
        toSocketAddress(source, &m_source);
        m_descriptor =
            ::socket(address.any.sa_family, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (m_descriptor < 0 || m_wake < 0 || ::bind(m_descriptor, &address.any, size) != 0 ||
            ::getsockname(m_descriptor, &address.any, &size) != 0)
            return false;
        *port = ntohs(isV6(local) ? address.v6.sin6_port : address.v4.sin_port);
        return true;
    }

    void wake()
    {
        const quint64 one = 1;
        // Fails only if the thread has been woken already.
        [[maybe_unused]] const ssize_t written = ::write(m_wake, &one, sizeof one);
    }

    /// Waits for a datagram.
    /// @return false when it was woken
    bool waitForDatagram()
    {
        pollfd waiting[2] = {{m_descriptor, POLLIN, 0}, {m_wake, POLLIN, 0}};
        int ready;
        do {
            ready = ::poll(waiting, 2, -1);
        } while (ready < 0 && errno == EINTR);
        return ready > 0 && waiting[1].revents == 0;
    }

    enum class Read { Nothing, Datagram, FromElsewhere };

    /// @param elsewhere  gets the sender of a datagram that is not the source's
    Read read(std::string *datagram, QHostAddress *elsewhere)
    {
        SocketAddress sender;
        std::memset(&sender, 0, sizeof sender);
        socklen_t senderSize = sizeof sender;
        datagram->resize(kLargestDatagram);
        const ssize_t size = ::recvfrom(m_descriptor, &(*datagram)[0], datagram->size(), 0,
                                        &sender.any, &senderSize);
        if (size < 0)
            return Read::Nothing;
        if (!m_takesAll && !isSameHost(sender, m_source)) {
            elsewhere->setAddress(&sender.any);
            return Read::FromElsewhere;
        }
        datagram->resize(static_cast<size_t>(size));
        return Read::Datagram;
    }

private:
    int m_descriptor = -1;
    int m_wake = -1;
    bool m_takesAll = false;
    SocketAddress m_source;
};

DataReceiver::DataReceiver() = default;

DataReceiver::~DataReceiver()
{
    stop();
}

bool DataReceiver::start(const QHostAddress &local, const QHostAddress &source, QString *error)
{
    stop();
    auto socket = std::make_unique<Socket>();
    quint16 port = 0;
    if (!socket->open(local, source, &port)) {
        *error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    m_socket = std::move(socket);
    m_port = port;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_droppedSender.clear();
    }
    m_thread = std::thread(&DataReceiver::run, this);
    return true;
}

void DataReceiver::stop()
{
    if (!m_thread.joinable())
        return;
    m_socket->wake();
    m_thread.join();
    m_socket.reset();
    m_port = 0;
}

void DataReceiver::addRequester(const char *lineType, Requester *requester)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (requester && !isSubscribed(lineType, requester))
        m_subscriptions.push_back({lineType, requester});
}

void DataReceiver::removeRequester(const char *lineType, Requester *requester)
{
    if (!requester)
        return;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_subscriptions.erase(std::remove_if(m_subscriptions.begin(), m_subscriptions.end(),
                                         [&](const Subscription &subscription) {
                                             return subscription.requester == requester &&
                                                    subscription.lineType == lineType;
                                         }),
                          m_subscriptions.end());
    // A requester that removes itself from within its own delivery would wait for ever.
    if (m_deliveringThread.load() == std::this_thread::get_id())
        return;
    // Deliveries of its other types may follow at once, so the end of this one counts.
    const quint64 delivery = m_deliveries;
    m_deliveryEnded.wait(lock,
                         [&] { return m_receiving != requester || m_deliveries != delivery; });
}

bool DataReceiver::isSubscribed(const std::string &lineType, const Requester *requester) const
{
    return std::any_of(
        m_subscriptions.begin(), m_subscriptions.end(), [&](const Subscription &subscription) {
            return subscription.requester == requester && subscription.lineType == lineType;
        });
}

void DataReceiver::run()
{
    m_deliveringThread = std::this_thread::get_id();
    std::string datagram;
    QHostAddress elsewhere;
    while (m_socket->waitForDatagram()) {
        switch (m_socket->read(&datagram, &elsewhere)) {
        case Socket::Read::Nothing:
            break;
        case Socket::Read::Datagram:
            deliverDatagram(datagram);
            break;
        case Socket::Read::FromElsewhere:
            drop(elsewhere);
            break;
        }
    }
    m_deliveringThread = std::thread::id();
}

double DataReceiver::linesPerSecond() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_rate.perSecond(nowUs());
}

void DataReceiver::drop(const QHostAddress &sender)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_droppedSender.isNull())
        m_droppedSender = sender;
    ++m_droppedDatagrams;
}

QHostAddress DataReceiver::droppedSender() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_droppedSender;
}

unsigned DataReceiver::interfaceIndex(const QString &scopeId)
{
    const unsigned index = ::if_nametoindex(scopeId.toLocal8Bit().constData());
    return index != 0 ? index : scopeId.toUInt();
}

void DataReceiver::deliverDatagram(const std::string &datagram)
{
    size_t begin = 0;
    while (begin < datagram.size()) {
        const size_t end = std::min(datagram.find('\n', begin), datagram.size());
        std::string line = datagram.substr(begin, end - begin);
        begin = end + 1;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        // A line that holds a NUL could only be delivered in part.
        if (!line.empty() && line.find('\0') == std::string::npos)
            deliverLine(line.c_str());
    }
}

void DataReceiver::deliverLine(const char *line)
{
    m_receivedLines.fetch_add(1, std::memory_order_relaxed);
    const std::string lineType(line, std::strcspn(line, " "));

    std::unique_lock<std::mutex> lock(m_mutex);
    m_rate.add(nowUs());
    std::vector<Requester *> requesters;
    for (const Subscription &subscription : m_subscriptions) {
        if (subscription.lineType == lineType)
            requesters.push_back(subscription.requester);
    }
    for (Requester *requester : requesters) {
        // A delivery before this one may have removed it.
        if (!isSubscribed(lineType, requester))
            continue;
        // The lock is not held during the delivery, so that a slow requester holds up nobody but
        // those who wait for the end of its delivery.
        m_receiving = requester;
        ++m_deliveries;
        lock.unlock();
        requester->receiveLine(lineType.c_str(), line);
        lock.lock();
        m_receiving = nullptr;
        m_deliveryEnded.notify_all();
    }
}
