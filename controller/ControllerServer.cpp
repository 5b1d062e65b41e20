#include "ControllerServer.h"

#include "ClientSession.h"
#include "ControllerLog.h"
#include "DataLineWriter.h"
#include "SimulationClock.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>

namespace {

constexpr int kMaximumClients = 200;
constexpr int kAcceptPauseMs = 100; // so that a lack of descriptors does not keep it busy
constexpr qint64 kMicrosecondsPerSecond = 1000000;

/// The first microsecond of a frame.
qint64 frameTimeUs(qint64 frame)
{
    const int rate = ControllerServer::kFramesPerSecond;
    return (frame * kMicrosecondsPerSecond + rate - 1) / rate;
}

/// The newest frame that is due at a time.
qint64 frameAt(qint64 timeUs)
{
    return timeUs * ControllerServer::kFramesPerSecond / kMicrosecondsPerSecond;
}

} // namespace

ControllerServer::ControllerServer(const Scenario &scenario, quint32 seed, SimulationClock *clock,
                                   QObject *parent)
    : QObject(parent)
    , m_state(scenario, seed)
    , m_clock(clock ? clock : new SimulationClock(SimulationClock::Kind::Real, this))
    , m_listener(new QTcpServer(this))
    , m_timer(new QTimer(this))
{
    for (const Scenario::NumberedFault &entry : scenario.numberedFaults)
        m_faults.spoilReply(entry.reply, entry.fault);
    for (const Scenario::RequestFault &entry : scenario.requestFaults)
        m_faults.spoilRequests(entry.request, entry.fault, entry.times);
    m_timer->setSingleShot(true);
    m_timer->setTimerType(Qt::PreciseTimer);
    connect(m_timer, &QTimer::timeout, this, &ControllerServer::processDue);
    connect(m_clock, &SimulationClock::advanced, this, &ControllerServer::processDue);
    connect(m_listener, &QTcpServer::newConnection, this, &ControllerServer::acceptClients);
    // It then accepts nobody any more unless it is told to.
    connect(m_listener, &QTcpServer::acceptError, this, [this] {
        qCDebug(controllerLog) << "cannot accept:" << m_listener->errorString();
        QTimer::singleShot(kAcceptPauseMs, m_listener, [this] {
            if (m_listener->isListening())
                m_listener->resumeAccepting();
        });
    });
}

ControllerServer::~ControllerServer()
{
    close();
}

bool ControllerServer::listen(const QHostAddress &address, quint16 port)
{
    return m_listener->listen(address, port);
}

void ControllerServer::close()
{
    m_listener->close();
    m_timer->stop();
    const QList<ClientSession *> clients = m_clients;
    m_clients.clear();
    qDeleteAll(clients);
    m_hadSubscribers = false;
}

bool ControllerServer::isListening() const
{
    return m_listener->isListening();
}

QHostAddress ControllerServer::address() const
{
    return m_listener->serverAddress();
}

quint16 ControllerServer::port() const
{
    return m_listener->serverPort();
}

QString ControllerServer::errorString() const
{
    return m_listener->errorString();
}

void ControllerServer::dropClients()
{
    // Each one takes itself off the list.
    const QList<ClientSession *> clients = m_clients;
    for (ClientSession *client : clients)
        client->drop();
}

void ControllerServer::acceptClients()
{
    while (QTcpSocket *socket = m_listener->nextPendingConnection()) {
        if (m_clients.size() >= kMaximumClients) {
            qCDebug(controllerLog) << "too many clients";
            socket->abort();
            socket->deleteLater();
            continue;
        }
        m_clients.append(new ClientSession(socket, this));
    }
}

void ControllerServer::removeClient(ClientSession *client)
{
    if (!m_clients.removeOne(client))
        return;
    client->deleteLater();
}

void ControllerServer::processDue()
{
    const qint64 nowUs = m_clock->nowUs();
    const QList<ClientSession *> clients = m_clients;
    for (ClientSession *client : clients) {
        if (client->replyDueUs() >= 0 && client->replyDueUs() <= nowUs)
            client->sendHeldReply();
    }
    if (hasSubscribers()) {
        // After a stall the newest frame is of use, those before it are not.
        const qint64 newest = frameAt(nowUs);
        if (!m_clock->isVirtual())
            m_nextFrame = std::max(m_nextFrame, newest);
        for (; m_nextFrame <= newest; ++m_nextFrame)
            sendFrame(frameTimeUs(m_nextFrame));
    }
    scheduleNext();
}

void ControllerServer::scheduleNext()
{
    const bool subscribed = hasSubscribers();
    const qint64 nowUs = m_clock->nowUs();
    if (subscribed && !m_hadSubscribers)
        m_nextFrame = frameAt(nowUs) + 1;
    m_hadSubscribers = subscribed;
    if (m_clock->isVirtual())
        return;

    qint64 dueUs = subscribed ? frameTimeUs(m_nextFrame) : -1;
    for (const ClientSession *client : qAsConst(m_clients)) {
        const qint64 replyUs = client->replyDueUs();
        if (replyUs >= 0 && (dueUs < 0 || replyUs < dueUs))
            dueUs = replyUs;
    }
    if (dueUs < 0)
        m_timer->stop();
    else
        m_timer->start(static_cast<int>(std::max<qint64>(0, (dueUs - nowUs + 999) / 1000)));
}

bool ControllerServer::hasSubscribers() const
{
    return std::any_of(m_clients.begin(), m_clients.end(),
                       [](const ClientSession *client) { return client->wantsData(); });
}

void ControllerServer::sendFrame(qint64 timeUs)
{
    const QVector<QByteArray> lines = DataLineWriter::activeLines(m_state, timeUs);
    if (lines.isEmpty())
        return;
    ++m_frameCount;
    for (ClientSession *client : qAsConst(m_clients)) {
        if (client->wantsData())
            client->sendData(lines);
    }
}
