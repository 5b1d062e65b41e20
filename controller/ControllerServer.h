#pragma once

#include "ControllerState.h"
#include "FaultPlan.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QString>

class ClientSession;
class QTcpServer;
class QTimer;
class SimulationClock;

/// The simulated controller on the network: text lines over TCP, data lines over UDP.
///
/// Works in the thread in which it was made, which needs an event loop. A client asks for the data
/// lines with "quorel2 data connect PORT"; they go to that UDP port of the client's address until
/// its connection ends.
class ControllerServer : public QObject {
    Q_OBJECT

public:
    static constexpr int kFramesPerSecond = 60;
    static constexpr quint16 kDefaultPort = 42200;
    /// Of the bodies' motions, where none is asked for.
    static constexpr quint32 kDefaultSeed = 1;

    /// @param clock  not owned, in the same thread, must outlive the server; null: a real clock of
    ///               the server's own
    ControllerServer(const Scenario &scenario, quint32 seed, SimulationClock *clock = nullptr,
                     QObject *parent = nullptr);
    ~ControllerServer() override;

    /// @param port  0: any free one
    /// @return false if the address cannot be had; errorString() tells why
    bool listen(const QHostAddress &address = QHostAddress::LocalHost, quint16 port = 0);
    /// Stops listening and ends all connections.
    void close();
    bool isListening() const;
    QHostAddress address() const;
    quint16 port() const; ///< 0 while not listening
    QString errorString() const;

    // For tests: what the controller is and does, apart from the protocol. Only from the server's
    // thread; see ControllerThread::call().
    ControllerState &state() { return m_state; }
    FaultPlan &faults() { return m_faults; }
    SimulationClock *clock() { return m_clock; }
    int clientCount() const { return m_clients.size(); }
    quint64 answerCount() const { return m_answerCount; }
    quint64 frameCount() const { return m_frameCount; }
    /// Ends all connections, as a controller does that loses its power; listening goes on.
    void dropClients();

private:
    friend class ClientSession;

    void acceptClients();
    void removeClient(ClientSession *client);
    /// Does what is due by the clock: delayed replies, data lines.
    void processDue();
    /// Sees to it that processDue() runs in time.
    void scheduleNext();
    bool hasSubscribers() const;
    void sendFrame(qint64 timeUs);

    ControllerState m_state;
    FaultPlan m_faults;
    SimulationClock *m_clock;
    QTcpServer *m_listener;
    QTimer *m_timer;
    QList<ClientSession *> m_clients;
    qint64 m_nextFrame = 0; // frames are counted from the clock's zero
    bool m_hadSubscribers = false;
    quint64 m_answerCount = 0;
    quint64 m_frameCount = 0;
};
