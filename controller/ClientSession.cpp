#include "ClientSession.h"

#include "ControllerLog.h"
#include "ControllerServer.h"
#include "SimulationClock.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <QUdpSocket>

#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

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
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(kUnreadBytes);
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    watchForLoss(m_socket);
    connect(m_socket, &QTcpSocket::readyRead, this, &ClientSession::processInput);
    connect(m_socket, &QTcpSocket::bytesWritten, this, &ClientSession::processInput);
    connect(m_socket, &QTcpSocket::disconnected, this, [this] { m_server->removeClient(this); });
    qCDebug(controllerLog) << "client" << m_socket->peerAddress() << m_socket->peerPort();
}

ClientSession::~ClientSession()
{
    m_socket->disconnect(this);
}

void ClientSession::sendData(const QVector<QByteArray> &lines)
{
    for (const QByteArray &line : lines)
        m_dataSocket->writeDatagram(line, m_socket->peerAddress(), m_dataPort);
}

void ClientSession::sendHeldReply()
{
    m_replyDueUs = -1;
    sendLine(m_heldReply); // once it is written, the next request has its turn
}

void ClientSession::drop()
{
    m_socket->abort();
}

void ClientSession::connectData(quint16 udpPort)
{
    if (!m_dataSocket)
        m_dataSocket = new QUdpSocket(this);
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
           m_socket->state() == QAbstractSocket::ConnectedState) {
        if (requests == kRequestsPerTurn) {
            QMetaObject::invokeMethod(this, &ClientSession::processInput, Qt::QueuedConnection);
            return;
        }
        QByteArray request;
        switch (m_framer.next(&request)) {
        case LineFramer::Event::NeedMore:
            if (m_socket->bytesAvailable() == 0)
                return;
            m_framer.feed(m_socket->read(kReadBytes));
            break;
        case LineFramer::Event::Line:
            ++requests;
            handleRequest(request);
            break;
        case LineFramer::Event::OverLong:
            ++requests;
            sendLine(CommandTable::overLongAnswer());
            break;
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
        m_socket->disconnectFromHost();
        break;
    }
}

void ClientSession::sendLine(const QByteArray &line)
{
    qCDebug(controllerLog) << "<" << line.left(CommandTable::kMaximumReplyLength);
    ++m_server->m_answerCount;
    m_socket->write(line + '\n');
}
