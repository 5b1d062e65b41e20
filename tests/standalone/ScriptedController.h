#pragma once

#include <QByteArray>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// A controller that does exactly what a test tells it, byte by byte, on threads of its own: one
/// for each connection.
class ScriptedController {
public:
    /// One connection, as a handler sees it.
    class Client {
    public:
        explicit Client(int descriptor)
            : m_descriptor(descriptor)
        {
        }
        /// Sends the bytes as they are. A connection that is gone swallows them.
        void send(const QByteArray &bytes) const;
        /// Ends the connection in order.
        void hangUp() const;

    private:
        int m_descriptor;
    };
    /// Called for each request line, without its end.
    using Handler = std::function<void(const QByteArray &request, const Client &client)>;

    explicit ScriptedController(Handler handler);
    ~ScriptedController();
    ScriptedController(const ScriptedController &) = delete;
    ScriptedController &operator=(const ScriptedController &) = delete;

    /// @param port  0: any free one
    /// @return false if it cannot be had
    bool start(quint16 port = 0);
    /// Ends all connections and stops listening. Returns when no handler is running any more.
    void stop();
    quint16 port() const { return m_port; }

    int connectionCount() const { return m_connectionCount; }
    std::vector<QByteArray> requests() const;
    /// How many pieces the requests came in: calls of read() that gave something.
    int readCount() const { return m_readCount; }
    /// Sends bytes to the newest connection, without a request.
    void sendUnasked(const QByteArray &bytes);
    void hangUp();

private:
    void listen();
    void serve(int descriptor);

    Handler m_handler;
    int m_listener = -1;
    quint16 m_port = 0;
    std::atomic<bool> m_stopping{false};
    std::atomic<int> m_connectionCount{0};
    std::atomic<int> m_readCount{0};
    mutable std::mutex m_mutex; ///< guards the three below
    std::vector<QByteArray> m_requests;
    std::vector<int> m_descriptors;
    std::vector<std::thread> m_threads;
    std::thread m_listenThread;
};
