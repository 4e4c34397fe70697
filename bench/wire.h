#ifndef WIRE_H
#define WIRE_H

#include "bench_driver.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

/// The request of a command as it goes over the wire, with transaction identifier 0.
inline QByteArray requestFrame(const MeasuredCommand& measured)
{
    QByteArray frame(measured.requestLength, '\0');
    const CommunicatorCommand& command = measured.command;
    const int quantity = command.dataType == DoubleWord ? 2 * command.count : command.count;
    frame[5] = static_cast<char>(measured.requestLength - 6);
    frame[6] = 1;
    frame[7] = static_cast<char>(measured.isWrite ? 16 : command.dataType == BitBlock ? 1 : 3);
    frame[9] = command.dataType == BitBlock ? 0 : 99;
    frame[10] = static_cast<char>(quantity >> 8);
    frame[11] = static_cast<char>(quantity & 0xFF);
    if (measured.isWrite)
        frame[12] = static_cast<char>(2 * quantity);
    return frame;
}

/// Sends and receives on a plain socket: the least that a client can do.
class BareSocket
{
public:
    /// Takes over a connected stream socket.
    explicit BareSocket(int socket) : m_socket(socket) {}

    /// Connects to a port of 127.0.0.1.
    explicit BareSocket(quint16 port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const int on = 1;
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0)
            giveUp(QStringLiteral("no connection to port %1").arg(port));
    }

    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;
    ~BareSocket() { ::close(m_socket); }

    /// Limits the duration of every receive from here on.
    void limitTime(int seconds)
    {
        const timeval limit = {seconds, 0};
        if (::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) != 0)
            giveUp(QStringLiteral("a receive cannot be limited"));
    }

    /// Reads what is waiting in the socket, normally nothing, and notices a closed connection.
    void dropUnread()
    {
        char unread[261];
        if (::recv(m_socket, unread, sizeof unread, MSG_DONTWAIT) >= 0 || errno != EAGAIN)
            giveUp(QStringLiteral("there was something to read on the bare socket"));
    }

    void exchange(const QByteArray& request, int replyLength)
    {
        char reply[261];
        if (::send(m_socket, request.constData(), static_cast<std::size_t>(request.size()), MSG_NOSIGNAL) !=
                request.size() ||
            ::recv(m_socket, reply, sizeof reply, 0) != replyLength)
            giveUp(QStringLiteral("the bare loop got no answer"));
    }

private:
    const int m_socket;
};

#endif
