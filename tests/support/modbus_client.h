#ifndef MODBUS_CLIENT_H
#define MODBUS_CLIENT_H

#include <QByteArray>

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

/// A plain TCP client that sends the given bytes and shows what comes back, byte for byte.
class ModbusClient
{
public:
    /// Connects to a port of 127.0.0.1; connectError() is 0 on success, else the errno. The system keeps a
    /// few times receiveBuffer bytes for the client, and then the peer has to wait.
    explicit ModbusClient(quint16 port, int receiveBuffer = 65536)
        : m_socket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_failure =
            ::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
    }
    ModbusClient(const ModbusClient&) = delete;
    ModbusClient& operator=(const ModbusClient&) = delete;
    ~ModbusClient() { ::close(m_socket); }

    int connectError() const { return m_failure; }

    /// bytes are given as hexadecimal text, blanks allowed.
    void send(const QByteArray& hex)
    {
        const QByteArray bytes = QByteArray::fromHex(hex);
        ::send(m_socket, bytes.constData(), static_cast<size_t>(bytes.size()), MSG_NOSIGNAL);
    }

    /// The result of the next recv() as hexadecimal text: "" if nothing comes in this time, "end" if the peer
    /// has closed the connection, "reset" if it has reset it.
    QByteArray receive(int milliseconds)
    {
        pollfd wait = {m_socket, POLLIN, 0};
        if (::poll(&wait, 1, milliseconds) == 0)
            return QByteArray();
        char bytes[1024];
        const ssize_t got = ::recv(m_socket, bytes, sizeof bytes, 0);
        if (got <= 0)
            return got == 0 ? "end" : "reset";
        return QByteArray(bytes, static_cast<int>(got)).toHex();
    }

    QByteArray exchange(const QByteArray& hex, int milliseconds = 10000)
    {
        send(hex);
        return receive(milliseconds);
    }

private:
    int m_socket;
    int m_failure;
};

#endif
