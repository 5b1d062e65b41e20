#include "ControllerThread.h"

#include "ControllerServer.h"

ControllerThread::ControllerThread(const Scenario &scenario, quint32 seed, QObject *parent)
    : QObject(parent)
    , m_scenario(scenario)
    , m_seed(seed)
{
    m_thread.setObjectName(QStringLiteral("simulated controller"));
}

ControllerThread::~ControllerThread()
{
    stop();
}

bool ControllerThread::start(const QHostAddress &address, quint16 port)
{
    stop();
    m_thread.start();
    auto *inThread = new QObject; // takes the call into the thread before a server is there
    inThread->moveToThread(&m_thread);
    QMetaObject::invokeMethod(
        inThread,
        [&] {
            auto *server = new ControllerServer(m_scenario, m_seed);
            if (server->listen(address, port)) {
                m_server = server;
                m_address = server->address();
                m_port = server->port();
                m_error.clear();
            } else {
                m_error = server->errorString();
                delete server;
            }
            inThread->deleteLater();
        },
        Qt::BlockingQueuedConnection);
    if (!m_server)
        stop();
    return m_server != nullptr;
}

void ControllerThread::stop()
{
    if (m_server) {
        // By way of a call, so that the sockets end where they live.
        QMetaObject::invokeMethod(
            m_server, [this] { m_server->deleteLater(); }, Qt::BlockingQueuedConnection);
        m_server = nullptr;
        m_port = 0;
        m_address.clear();
    }
    if (m_thread.isRunning()) {
        m_thread.quit();
        m_thread.wait();
    }
}

bool ControllerThread::call(const std::function<void(ControllerServer &)> &function)
{
    if (!m_server)
        return false;
    QMetaObject::invokeMethod(
        m_server, [&] { function(*m_server); }, Qt::BlockingQueuedConnection);
    return true;
}
