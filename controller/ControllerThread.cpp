#include "ControllerThread.h"

#include "ControllerRunner.h"

ControllerThread::ControllerThread(const Scenario &scenario, quint32 seed, QObject *parent)
    : QObject(parent)
    , m_scenario(scenario)
    , m_seed(seed)
{
}

ControllerThread::~ControllerThread() = default;

bool ControllerThread::start(const QHostAddress &address, quint16 port)
{
    stop();
    auto runner = std::make_unique<ControllerRunner>(m_scenario, m_seed, address, port);
    const ControllerRunner::Outcome outcome = runner->startAndWait();
    m_error = outcome.error;
    if (!outcome.listening)
        return false;
    m_address = outcome.address;
    m_port = outcome.port;
    m_runner = std::move(runner);
    return true;
}

void ControllerThread::stop()
{
    m_runner.reset();
    m_address.clear();
    m_port = 0;
}

bool ControllerThread::call(const std::function<void(ControllerServer &)> &function)
{
    if (!m_runner)
        return false;
    m_runner->call(function);
    return true;
}
