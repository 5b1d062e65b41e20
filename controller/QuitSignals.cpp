#include "QuitSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>

#include <sys/eventfd.h>
#include <unistd.h>

namespace {

int wakeDescriptor = -1;

void wake(int)
{
    // Nothing else is allowed here.
    const quint64 one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeDescriptor, &one, sizeof one);
}

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

using Handler = void (*)(int);

Handler handlerOf(int number)
{
    struct sigaction action = {};
    ::sigaction(number, nullptr, &action);
    return action.sa_handler;
}

} // namespace

QuitSignals::QuitSignals(QObject *parent)
    : QObject(parent)
{
    wakeDescriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeDescriptor < 0)
        return;
    auto *notifier = new QSocketNotifier(wakeDescriptor, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &QuitSignals::onSignal);
    for (const int number : kSignals) {
        // Whoever started the program may want it to go on without its terminal.
        if (handlerOf(number) != SIG_IGN)
            std::signal(number, wake);
    }
}

QuitSignals::~QuitSignals()
{
    for (const int number : kSignals) {
        if (handlerOf(number) == wake)
            std::signal(number, SIG_DFL);
    }
    if (wakeDescriptor >= 0)
        ::close(wakeDescriptor);
    wakeDescriptor = -1;
}

void QuitSignals::onSignal()
{
    quint64 count = 0;
    [[maybe_unused]] const ssize_t size = ::read(wakeDescriptor, &count, sizeof count);
    m_requested = true;
    QCoreApplication::quit();
}
