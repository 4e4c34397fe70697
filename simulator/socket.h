#ifndef SLAVESIM_SOCKET_H
#define SLAVESIM_SOCKET_H

#include <cstdint>
#include <string>

namespace slavesim {

/// Owns a file descriptor; closes it at its end.
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

/// Where a slave listens. IPv4.
struct Endpoint
{
    std::string host; ///< dotted address, or a name for one
    std::uint16_t port = 0;
};

std::string textOf(const Endpoint& endpoint);

/// A TCP socket bound to endpoint that does not listen yet: connections are refused. It can be bound although
/// connections of an earlier run still linger. Throws std::runtime_error with the option that is wrong
/// (--host or --port), why, and what would be right.
Descriptor bindTo(const Endpoint& endpoint);

/// Lets clients connect to a bound socket from now on. Throws like bindTo().
void startListening(const Descriptor& bound);

/// The address and port that a bound socket has.
Endpoint endpointOf(const Descriptor& bound);

/// The next client of a listening socket, not blocking and without delay of small segments; not open, and
/// errno says why, when there is none. client: its address.
Descriptor acceptFrom(const Descriptor& listener, Endpoint& client);

} // namespace slavesim

#endif
