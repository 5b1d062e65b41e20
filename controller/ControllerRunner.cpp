#include "ControllerRunner.h"

#include "ControllerServer.h"

ControllerRunner::ControllerRunner(const Scenario &scenario, quint32 seed,
                                   const QHostAddress &address, quint16 port)
    : m_scenario(scenario)
    , m_seed(seed)
    , m_address(address)
    , m_port(port)
{
    setObjectName(QStringLiteral("simulated controller"));
}

ControllerRunner::~ControllerRunner()
{
    quit();
    wait();
}

ControllerRunner::Outcome ControllerRunner::startAndWait()
{
    start();
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_settled; });
    return m_outcome;
}

void ControllerRunner::call(const std::function<void(ControllerServer &)> &function)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_call = &function;
    emit callWaiting();
    m_changed.wait(lock, [this] { return m_call == nullptr; });
}

void ControllerRunner::run()
{
    // Made and ended here, since sockets belong to the thread that uses them.
    ControllerServer server(m_scenario, m_seed);
    const bool listening = server.listen(m_address, m_port);
    connect(this, &ControllerRunner::callWaiting, &server, [this, &server] { runCall(server); });
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_outcome.listening = listening;
        m_outcome.address = server.address();
        m_outcome.port = server.port();
        m_outcome.error = listening ? QString() : server.errorString();
        m_settled = true;
        m_changed.notify_all();
    }
    if (listening)
        exec();
}

void ControllerRunner::runCall(ControllerServer &server)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    (*m_call)(server);
    m_call = nullptr;
    m_changed.notify_all();
}
