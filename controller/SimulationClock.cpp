#include "SimulationClock.h"

SimulationClock::SimulationClock(Kind kind, QObject *parent)
    : QObject(parent)
    , m_kind(kind)
{
    m_elapsed.start();
}

qint64 SimulationClock::nowUs() const
{
    return isVirtual() ? m_virtualUs : m_elapsed.nsecsElapsed() / 1000;
}

void SimulationClock::advance(qint64 milliseconds)
{
    if (!isVirtual() || milliseconds < 0)
        return;
    m_virtualUs += milliseconds * 1000;
    emit advanced();
}
