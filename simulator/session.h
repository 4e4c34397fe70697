#ifndef SLAVESIM_SESSION_H
#define SLAVESIM_SESSION_H

#include "slave.h"
#include "socket.h"

#include <chrono>
#include <poll.h>

namespace slavesim {

/// The connection of one client: takes its requests apart and sends the answers, without ever waiting.
class Session
{
public:
    using Clock = std::chrono::steady_clock;

    enum class Next
    {
        Waits,         ///< for what waitsFor() and pausedUntil() say
        Ends,          ///< the client has gone, or cannot be served any longer
        RefusesClients ///< the connections of all clients are to be cut
    };

    /// client does not block. address: for the log. slave outlives the session.
    Session(Descriptor client, const Endpoint& address, Slave& slave);

    /// What poll() is to wait for.
    pollfd waitsFor() const;

    /// When to call serve() whatever poll() says, if there is such a time.
    std::optional<Clock::time_point> pausedUntil() const { return m_pausedUntil; }

    /// Goes on as far as it gets. events: what poll() has found.
    Next serve(short events);

    /// Where the client is, for the log.
    const std::string& clientText() const { return m_clientText; }

    /// When the client last sent something; at first, when it came.
    Clock::time_point lastHeard() const { return m_lastHeard; }

private:
    bool receive();
    Next answerAll();
    bool send();

    Descriptor m_client;
    std::string m_clientText;
    Slave& m_slave;
    Clock::time_point m_lastHeard;
    Bytes m_incoming;                 ///< of requests not yet answered
    Bytes m_outgoing;                 ///< of the answer, as far as it has not been sent
    std::optional<FaultKind> m_fault; ///< of the latest answer
    std::optional<Clock::time_point> m_pausedUntil;
};

} // namespace slavesim

#endif
