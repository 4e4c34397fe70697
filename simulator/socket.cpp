#include "socket.h"

#include "text.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace slavesim {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    if (this != &other) {
        close();
        m_number = other.release();
    }
    return *this;
}

int Descriptor::release()
{
    const int number = m_number;
    m_number = -1;
    return number;
}

void Descriptor::close()
{
    if (isOpen())
        ::close(release());
}

static sockaddr* general(sockaddr_in& address)
{
    return reinterpret_cast<sockaddr*>(&address);
}

static Endpoint endpointOf(const sockaddr_in& address)
{
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    return {text, ntohs(address.sin_port)};
}

std::string textOf(const Endpoint& endpoint)
{
    return endpoint.host + ":" + std::to_string(endpoint.port);
}

static sockaddr_in addressOf(const Endpoint& endpoint)
{
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(endpoint.host.c_str(), nullptr, &hints, &found) != 0)
        throw std::runtime_error("--host: '" + printable(endpoint.host) +
                                 "' is unknown: an IPv4 address of this machine is needed, like 127.0.0.1");
    sockaddr_in address = {};
    std::memcpy(&address, found->ai_addr, sizeof address);
    freeaddrinfo(found);
    address.sin_port = htons(endpoint.port);
    return address;
}

static std::runtime_error cannotBind(const Endpoint& endpoint, int error)
{
    const std::string port = std::to_string(endpoint.port);
    switch (error) {
    case EADDRINUSE:
        return std::runtime_error("--port: " + textOf(endpoint) +
                                  " is taken by another program: choose another port, or 0 for any free one");
    case EACCES:
        return std::runtime_error(
            "--port: " + port +
            " needs a right that this user lacks: choose 1024 or above, or 0 for any free one");
    case EADDRNOTAVAIL:
        return std::runtime_error(
            "--host: " + endpoint.host +
            " is not an address of this machine: choose one that is, or 0.0.0.0 for all");
    default:
        return std::runtime_error("--host, --port: cannot listen on " + textOf(endpoint) + ": " +
                                  std::strerror(error));
    }
}

Descriptor bindTo(const Endpoint& endpoint)
{
    sockaddr_in address = addressOf(endpoint);
    Descriptor bound(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!bound.isOpen())
        throw cannotBind(endpoint, errno);
    const int on = 1;
    ::setsockopt(bound.number(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (::bind(bound.number(), general(address), sizeof address) != 0)
        throw cannotBind(endpoint, errno);
    return bound;
}

void startListening(const Descriptor& bound)
{
    if (::listen(bound.number(), SOMAXCONN) != 0)
        throw cannotBind(endpointOf(bound), errno);
}

Endpoint endpointOf(const Descriptor& bound)
{
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    ::getsockname(bound.number(), general(address), &length);
    return endpointOf(address);
}

Descriptor acceptFrom(const Descriptor& listener, Endpoint& client)
{
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    Descriptor accepted(
        ::accept4(listener.number(), general(address), &length, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!accepted.isOpen())
        return accepted;
    const int on = 1;
    ::setsockopt(accepted.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    client = endpointOf(address);
    return accepted;
}

} // namespace slavesim
