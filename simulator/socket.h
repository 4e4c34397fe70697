#ifndef SLAVESIM_SOCKET_H
#define SLAVESIM_SOCKET_H

#include <cstdint>
#include <string>

namespace slavesim {

/// Owns a file descriptor; closes it at its end.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : descriptor(number) {}
    Descriptor(Descriptor&& other) noexcept : descriptor(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { close(); }

    int number() const { return descriptor; }
    bool isOpen() const { return descriptor >= 0; }
    int release();
    void close();

private:
    int descriptor;
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
/// (--host or
/// --port), why, and what would be right.
Descriptor bindTo(const Endpoint& endpoint);

/// Lets clients connect to a bound socket from now on. Throws like bindTo().
void startListening(const Descriptor& bound);

/// The address and port that a bound socket has.
Endpoint endpointOf(const Descriptor& bound);

/// The next client of a listening socket, not blocking and without delay of small segments; not open when
/// there is none. client: its address.
Descriptor acceptFrom(const Descriptor& listener, Endpoint& client);

/// Reads exactly count bytes and forgets them, waiting as long as it takes. False when the connection ends
/// before.
bool skip(int socket, int count);

/// Sends everything at once. False when the peer has gone, or is so far behind that its buffer is full.
bool sendAll(int socket, const std::uint8_t* bytes, std::size_t count);

} // namespace slavesim

#endif
