#ifndef SLAVESIM_SOCKET_H
#define SLAVESIM_SOCKET_H

#include <cstdint>
#include <string>

namespace slavesim {

/// Owns a file descriptor and closes it on destruction.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { close(); }

    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }
    int release();
    void close();

private:
    int m_number;
};

/// Where a slave listens (IPv4).
struct Endpoint
{
    std::string host; ///< dotted address, or a host name
    std::uint16_t port = 0;
};

std::string textOf(const Endpoint& endpoint);

/// A TCP socket bound to endpoint that does not listen yet, so that connections are refused. Binding works
/// even while connections of an earlier run linger. Throws std::runtime_error with the option that is wrong
/// (--host or --port), why, and what would be right.
Descriptor bindTo(const Endpoint& endpoint);

/// Lets clients connect to a bound socket. Throws like bindTo().
void startListening(const Descriptor& bound);

/// The address and port of a bound socket.
Endpoint endpointOf(const Descriptor& bound);

/// The next client of a listening socket, non-blocking and with TCP_NODELAY. If there is none, the descriptor
/// is not open and errno says why. client receives its address.
Descriptor acceptFrom(const Descriptor& listener, Endpoint& client);

} // namespace slavesim

#endif
