#ifndef PEER_H
#define PEER_H

#include <QByteArray>
#include <QtTest>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

/// A device played by the test, on a free loopback port: it accepts connections, sends what it is told to,
/// when it is told to, and closes or resets them. It never waits longer than 20 seconds.
class Peer
{
public:
    explicit Peer(int backlog = 8)
    {
        m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = loopback(0);
        socklen_t length = sizeof address;
        m_usable = ::bind(m_listener, generic(address), sizeof address) == 0 &&
                   ::listen(m_listener, backlog) == 0 &&
                   ::getsockname(m_listener, generic(address), &length) == 0;
        m_port = ntohs(address.sin_port);
        limitWaits(m_listener);
    }

    ~Peer()
    {
        join();
        finish();
        stopListening();
        for (const int client : m_clients)
            ::close(client);
    }

    quint16 port() const { return m_port; }
    QString name() const { return QStringLiteral("127.0.0.1:%1").arg(m_port); }

    bool accept()
    {
        finish();
        m_connection = m_usable ? ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC) : -1;
        limitWaits(m_connection);
        return m_connection >= 0;
    }

    /// Sends as much as the other side takes, which may have closed the connection.
    void send(const QByteArray& bytes) const
    {
        const ssize_t sent =
            ::send(m_connection, bytes.constData(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL);
        Q_UNUSED(sent)
    }

    /// Runs an action on a thread of its own; the peer's destructor waits for it.
    template<class Action>
    void later(Action action)
    {
        m_later = std::thread(action);
    }

    /// Waits until the action of later() has finished.
    void join()
    {
        if (m_later.joinable())
            m_later.join();
    }

    static void pause(int milliseconds)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }

    QByteArray receive(int length) const
    {
        QByteArray bytes(length, '\0');
        const ssize_t got = ::recv(m_connection, bytes.data(), static_cast<std::size_t>(length), MSG_WAITALL);
        return bytes.left(std::max(static_cast<int>(got), 0));
    }

    /// Closes the connection normally.
    void finish()
    {
        if (m_connection >= 0)
            ::close(m_connection);
        m_connection = -1;
    }

    /// Resets the connection.
    void reset()
    {
        const linger atOnce = {1, 0};
        ::setsockopt(m_connection, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        finish();
    }

    void stopListening()
    {
        if (m_listener >= 0)
            ::close(m_listener);
        m_listener = -1;
    }

    /// Fills the queue of connections that it has not yet accepted, which must be 0 long, so that further
    /// ones get no answer.
    void fillQueue()
    {
        sockaddr_in address = loopback(m_port);
        for (int& client : m_clients) {
            client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            ::connect(client, generic(address), sizeof address);
        }
        pause(20);
    }

private:
    static void limitWaits(int socket)
    {
        const timeval limit = {20, 0};
        ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    }

    static sockaddr_in loopback(quint16 port)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }

    static sockaddr* generic(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

    int m_listener = -1;
    int m_connection = -1;
    int m_clients[4] = {-1, -1, -1, -1}; ///< that connect and say nothing
    quint16 m_port = 0;
    bool m_usable = false;
    std::thread m_later;
};

#endif
