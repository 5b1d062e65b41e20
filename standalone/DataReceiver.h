#pragma once

#include "LineRate.h"

#include <QHostAddress>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class Requester;

/// Receives the controller's data lines over UDP and delivers them, on a thread of its own, to
/// those who asked for their type. A line's type is its first word.
///
/// Requesters may be added and removed on any thread, also from within a delivery. Everything else
/// belongs to the thread that owns the receiver.
class DataReceiver {
public:
    DataReceiver();
    ~DataReceiver();
    DataReceiver(const DataReceiver &) = delete;
    DataReceiver &operator=(const DataReceiver &) = delete;

    /// Begins to receive on a free port. A receiver that runs already is stopped first; those who
    /// asked for lines stay.
    /// @param local   address of this machine on which to receive
    /// @param source  only datagrams from this address are taken; a null address takes all
    /// @return false and @p error set if the system has no socket to give
    bool start(const QHostAddress &local, const QHostAddress &source, QString *error);
    /// Returns when the thread has ended; a delivery that is under way ends first.
    void stop();
    bool isRunning() const { return m_port != 0; }
    /// 0 while it does not run.
    quint16 port() const { return m_port; }

    /// From now on every line of that type goes to @p requester (not owned), once, however often it
    /// was added.
    void addRequester(const char *lineType, Requester *requester);
    /// When this returns, no delivery of that type to the requester is running, and none will
    /// begin. It waits for a delivery that is under way, unless it is called from within one.
    void removeRequester(const char *lineType, Requester *requester);

    /// Lines received since the start of the program, delivered or not.
    quint64 receivedLines() const { return m_receivedLines.load(std::memory_order_relaxed); }
    /// How many come in a second; 0 once a second without any has passed.
    double linesPerSecond() const;
    /// Datagrams since the start of the program that came from elsewhere than the source.
    quint64 droppedDatagrams() const { return m_droppedDatagrams.load(); }
    /// Who sent the first of them since start(); a null address if there was none.
    QHostAddress droppedSender() const;

    /// Number of the interface that an address's scope names; 0 if there is none.
    static unsigned interfaceIndex(const QString &scopeId);

private:
    class Socket;
    struct Subscription {
        std::string lineType;
        Requester *requester;
    };

    void run();
    void drop(const QHostAddress &sender);
    void deliverDatagram(const std::string &datagram);
    void deliverLine(const char *line);
    bool isSubscribed(const std::string &lineType, const Requester *requester) const;

    mutable std::mutex m_mutex; ///< guards the five below
    std::vector<Subscription> m_subscriptions;
    Requester *m_receiving = nullptr; ///< to whom a delivery is under way
    quint64 m_deliveries = 0;         ///< how many have begun
    QHostAddress m_droppedSender;
    LineRate m_rate;
    std::condition_variable m_deliveryEnded;

    std::unique_ptr<Socket> m_socket;
    std::thread m_thread;
    quint16 m_port = 0;
    std::atomic<std::thread::id> m_deliveringThread{};
    std::atomic<quint64> m_receivedLines{0};
    std::atomic<quint64> m_droppedDatagrams{0};
};
