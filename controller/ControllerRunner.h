#pragma once

#include "Scenario.h"

#include <QHostAddress>
#include <QString>
#include <QThread>

#include <condition_variable>
#include <functional>
#include <mutex>

class ControllerServer;

/// The thread behind a ControllerThread: one server, from its beginning to its end.
class ControllerRunner : public QThread {
    Q_OBJECT

public:
    struct Outcome {
        bool listening = false;
        QHostAddress address;
        quint16 port = 0;
        QString error;
    };

    ControllerRunner(const Scenario &scenario, quint32 seed, const QHostAddress &address,
                     quint16 port);
    /// Ends the server and the thread.
    ~ControllerRunner() override;

    /// Starts the thread and waits until the server listens, or cannot. To be called once.
    Outcome startAndWait();
    /// Runs @p function in the thread and waits for it; only after the server listens.
    void call(const std::function<void(ControllerServer &)> &function);

signals:
    void callWaiting();

protected:
    void run() override;

private:
    void runCall(ControllerServer &server);

    const Scenario m_scenario;
    const quint32 m_seed;
    const QHostAddress m_address;
    const quint16 m_port;
    std::mutex m_mutex; // guards what follows
    std::condition_variable m_changed;
    bool m_settled = false;
    Outcome m_outcome;
    const std::function<void(ControllerServer &)> *m_call = nullptr;
};
