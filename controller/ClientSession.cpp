#include "ClientSession.h"

#include "ControllerLog.h"
#include "ControllerServer.h"
#include "SimulationClock.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <QUdpSocket>

#include <utility>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kReadBytes = 4096;
constexpr int kUnreadBytes = 64 * 1024;
constexpr int kUnsentBytes = 64 * 1024;
constexpr int kRequestsPerTurn = 64; // then other clients and the data lines have their turn
constexpr int kOverLongReply = 5000;
// A client whose machine lost its power or its cable says no farewell; without these it would keep
// its place among the clients for ever.
constexpr int kProbeAfterS = 30; // of silence
constexpr int kProbeIntervalS = 10;
constexpr int kProbesWithoutAnswer = 3;

/// An IPv4 address as such, also where the socket is one for both kinds.
QHostAddress plainAddress(const QHostAddress &address)
{
    bool isIPv4 = false;
    const quint32 number = address.toIPv4Address(&isIPv4);
    return isIPv4 ? QHostAddress(number) : address;
}

void watchForLoss(QTcpSocket *socket)
{
    socket->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    const int descriptor = static_cast<int>(socket->socketDescriptor());
    const std::pair<int, int> options[] = {{TCP_KEEPIDLE, kProbeAfterS},
                                           {TCP_KEEPINTVL, kProbeIntervalS},
                                           {TCP_KEEPCNT, kProbesWithoutAnswer}};
    for (const auto &[name, value] : options)
        ::setsockopt(descriptor, IPPROTO_TCP, name, &value, sizeof value);
}

} // namespace

ClientSession::ClientSession(QTcpSocket *socket, ControllerServer *server)
    : QObject(server)
    , m_socket(socket)
    , m_server(server)
    , m_framer(CommandTable::kMaximumRequestLength)
    , m_descriptor(::fcntl(static_cast<int>(socket->socketDescriptor()), F_DUPFD_CLOEXEC, 0))
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(kUnreadBytes);
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    watchForLoss(m_socket);
    connect(m_socket, &QTcpSocket::readyRead, this, &ClientSession::processInput);
    connect(m_socket, &QTcpSocket::bytesWritten, this, &ClientSession::processInput);
    connect(m_socket, &QTcpSocket::disconnected, this, [this] {
        answerRest();
        m_server->removeClient(this);
    });
    qCDebug(controllerLog) << "client" << m_socket->peerAddress() << m_socket->peerPort();
}

ClientSession::~ClientSession()
{
    m_socket->disconnect(this);
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void ClientSession::sendData(const QVector<QByteArray> &lines)
{
    const QHostAddress client = plainAddress(m_socket->peerAddress());
    for (const QByteArray &line : lines)
        m_dataSocket->writeDatagram(line, client, m_dataPort);
}

void ClientSession::sendHeldReply()
{
    m_replyDueUs = -1;
    sendLine(m_heldReply);
    processInput();
}

void ClientSession::drop()
{
    m_isEnded = true;
    m_socket->abort();
}

void ClientSession::connectData(quint16 udpPort)
{
    if (!m_dataSocket) {
        m_dataSocket = new QUdpSocket(this);
        // On a machine with several addresses the client knows only this one.
        m_dataSocket->bind(plainAddress(m_socket->localAddress()));
    }
    m_dataPort = udpPort;
    m_server->scheduleNext();
}

void ClientSession::disconnectData()
{
    delete m_dataSocket;
    m_dataSocket = nullptr;
}

void ClientSession::processInput()
{
    int requests = 0;
    while (m_replyDueUs < 0 && m_socket->bytesToWrite() < kUnsentBytes &&
           m_socket->state() == QAbstractSocket::ConnectedState && answerNext()) {
        if (++requests == kRequestsPerTurn) {
            QMetaObject::invokeMethod(this, &ClientSession::processInput, Qt::QueuedConnection);
            break;
        }
    }
    // The end of the client's side closes the socket, whatever it has not written yet.
    m_socket->flush();
    m_unsentBytes = m_socket->bytesToWrite();
}

void ClientSession::answerRest()
{
    // Behind replies that are lost no further ones can follow.
    if (m_unsentBytes > 0)
        return;
    while (!m_isEnded && m_replyDueUs < 0 && answerNext()) {
    }
    // Nobody waits for a client that has gone altogether.
    ::send(m_descriptor, m_lastReplies.constData(), static_cast<size_t>(m_lastReplies.size()),
           MSG_DONTWAIT | MSG_NOSIGNAL);
}

bool ClientSession::answerNext()
{
    for (;;) {
        QByteArray request;
        switch (m_framer.next(&request)) {
        case LineFramer::Event::NeedMore:
            if (m_socket->bytesAvailable() == 0)
                return false;
            m_framer.feed(m_socket->read(kReadBytes));
            break;
        case LineFramer::Event::Line:
            handleRequest(request);
            return true;
        case LineFramer::Event::OverLong:
            sendLine(CommandTable::overLongAnswer());
            return true;
        }
    }
}

void ClientSession::handleRequest(const QByteArray &request)
{
    qCDebug(controllerLog) << ">" << request;
    const FaultPlan::Fault fault = m_server->m_faults.take(request);
    if (fault.kind == FaultPlan::Kind::Error) {
        sendLine("quorel2 err simulated fault");
        return;
    }
    const QByteArray reply = CommandTable::answer(request, &m_server->m_state, this);
    switch (fault.kind) {
    case FaultPlan::Kind::None:
    case FaultPlan::Kind::Error:
        sendLine(reply);
        break;
    case FaultPlan::Kind::Garbage:
        sendLine("\x02\xff%n%s quorel2 ok?");
        break;
    case FaultPlan::Kind::Silence:
        break;
    case FaultPlan::Kind::Delay:
        m_heldReply = reply;
        m_replyDueUs = m_server->m_clock->nowUs() + Q_INT64_C(1000) * fault.delayMs;
        m_server->scheduleNext();
        break;
    case FaultPlan::Kind::OverLong:
        sendLine(QByteArray(kOverLongReply, 'x'));
        break;
    case FaultPlan::Kind::Disconnect:
        m_isEnded = true;
        m_socket->disconnectFromHost();
        break;
    }
}

void ClientSession::sendLine(const QByteArray &line)
{
    qCDebug(controllerLog) << "<" << line.left(CommandTable::kMaximumReplyLength);
    ++m_server->m_answerCount;
    if (m_socket->state() == QAbstractSocket::ConnectedState)
        m_socket->write(line + '\n');
    else
        m_lastReplies += line + '\n';
}
