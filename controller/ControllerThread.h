#pragma once

#include "Scenario.h"

#include <QHostAddress>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class ControllerRunner;
class ControllerServer;

/// Runs a ControllerServer with a real clock in a thread of its own, for a program whose own thread
/// waits for replies. All functions are to be called from one thread, not the controller's own.
class ControllerThread : public QObject {
    Q_OBJECT

public:
    ControllerThread(const Scenario &scenario, quint32 seed, QObject *parent = nullptr);
    /// Stops the controller.
    ~ControllerThread() override;

    /// Starts the controller and waits until it listens.
    /// @param port  0: any free one
    /// @return false if the address cannot be had; errorString() tells why
    bool start(const QHostAddress &address = QHostAddress::LocalHost, quint16 port = 0);
    /// Ends all connections and the thread. A stopped controller can be started again; it then
    /// begins with its scenario.
    void stop();

    bool isRunning() const { return m_runner != nullptr; }
    QHostAddress address() const { return m_address; }
    quint16 port() const { return m_port; } ///< 0 while not running
    QString errorString() const { return m_error; }

    /// Runs @p function in the controller's thread and waits for it.
    /// @return false if the controller is not running
    bool call(const std::function<void(ControllerServer &)> &function);

private:
    Scenario m_scenario;
    quint32 m_seed;
    std::unique_ptr<ControllerRunner> m_runner;
    QHostAddress m_address;
    quint16 m_port = 0;
    QString m_error;
};
