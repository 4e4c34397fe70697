#ifndef SLAVESIM_SESSION_H
#define SLAVESIM_SESSION_H

#include "slave.h"
#include "socket.h"

#include <chrono>
#include <poll.h>

namespace slavesim {

/// One client's connection: splits its bytes into requests and sends the answers, without ever blocking.
class Session
{
public:
    using Clock = std::chrono::steady_clock;

    enum class Next
    {
        Waits,         ///< waits for what waitsFor() and pausedUntil() say
        Ends,          ///< the client has gone or cannot be served any longer
        RefusesClients ///< all connections have to be closed
    };

    /// client must be non-blocking. address is for the log. slave must outlive the session.
    Session(Descriptor client, const Endpoint& address, Slave& slave);

    /// What poll() has to wait for.
    pollfd waitsFor() const;

    /// When to call serve() whatever poll() says, if there is such a time.
    std::optional<Clock::time_point> pausedUntil() const { return m_pausedUntil; }

    /// Makes as much progress as it can. events: what poll() has reported.
    Next serve(short events);

    /// The client's address, for the log.
    const std::string& clientText() const { return m_clientText; }

    /// When the client last sent something; before that, when it connected.
    Clock::time_point lastHeard() const { return m_lastHeard; }

private:
    bool receive();
    Next answerAll();
    bool send();

    Descriptor m_client;
    std::string m_clientText;
    Slave& m_slave;
    Clock::time_point m_lastHeard;
    Bytes m_incoming;                 ///< requests not yet answered
    Bytes m_outgoing;                 ///< the part of the answer that has not been sent
    std::optional<FaultKind> m_fault; ///< of the latest answer
    std::optional<Clock::time_point> m_pausedUntil;
};

} // namespace slavesim

#endif
