#include "ScriptedController.h"

#include <cstring>
#include <string>
#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

void ScriptedController::Client::send(const QByteArray &bytes) const
{
    int sent = 0;
    while (sent < bytes.size()) {
        const ssize_t size = ::send(m_descriptor, bytes.constData() + sent,
                                    static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (size <= 0)
            return;
        sent += static_cast<int>(size);
    }
}

void ScriptedController::Client::hangUp() const
{
    ::shutdown(m_descriptor, SHUT_RDWR);
}

ScriptedController::ScriptedController(Handler handler)
    : m_handler(std::move(handler))
{
}

ScriptedController::~ScriptedController()
{
    stop();
}

bool ScriptedController::start(quint16 port)
{
    m_stopping = false;
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address;
    std::memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    socklen_t size = sizeof address;
    auto *any = reinterpret_cast<sockaddr *>(&address);
    if (::bind(m_listener, any, size) != 0 || ::listen(m_listener, 16) != 0 ||
        ::getsockname(m_listener, any, &size) != 0) {
        ::close(m_listener);
        m_listener = -1;
        return false;
    }
    m_port = ntohs(address.sin_port);
    m_listenThread = std::thread(&ScriptedController::listen, this);
    return true;
}

void ScriptedController::stop()
{
    if (m_listener < 0)
        return;
    m_stopping = true;
    ::shutdown(m_listener, SHUT_RDWR);
    m_listenThread.join();
    ::close(m_listener);
    m_listener = -1;
    std::vector<std::thread> threads;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const int descriptor : m_descriptors)
            ::shutdown(descriptor, SHUT_RDWR);
        threads.swap(m_threads);
    }
    for (std::thread &thread : threads)
        thread.join();
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const int descriptor : m_descriptors)
        ::close(descriptor);
    m_descriptors.clear();
}

std::vector<QByteArray> ScriptedController::requests() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

void ScriptedController::sendUnasked(const QByteArray &bytes)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_descriptors.empty())
        Client(m_descriptors.back()).send(bytes);
}

void ScriptedController::hangUp()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const int descriptor : m_descriptors)
        ::shutdown(descriptor, SHUT_RDWR);
}

void ScriptedController::listen()
{
    while (!m_stopping) {
        const int descriptor = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0)
            return;
        const int yes = 1;
        ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_descriptors.push_back(descriptor);
        m_threads.emplace_back(&ScriptedController::serve, this, descriptor);
        ++m_connectionCount;
    }
}

void ScriptedController::serve(int descriptor)
{
    const Client client(descriptor);
    std::string received;
    char bytes[4096];
    ssize_t size;
    while ((size = ::recv(descriptor, bytes, sizeof bytes, 0)) > 0) {
        ++m_readCount;
        received.append(bytes, static_cast<size_t>(size));
        size_t end;
        while ((end = received.find('\n')) != std::string::npos) {
            const QByteArray request(received.data(), static_cast<int>(end));
            received.erase(0, end + 1);
            {
                const std::lock_guard<std::mutex> lock(m_mutex);
                m_requests.push_back(request);
            }
            m_handler(request, client);
        }
    }
}
