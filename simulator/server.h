#ifndef SLAVESIM_SERVER_H
#define SLAVESIM_SERVER_H

#include "control.h"
#include "options.h"
#include "session.h"
#include "slave.h"
#include "socket.h"

#include <list>
#include <vector>

namespace slavesim {

/// Accepts clients and gives each a Session, all on one thread. The process has one server.
class Server
{
public:
    static constexpr std::size_t MostClients = 256;

    /// Listens. From here on SIGTERM and SIGINT wait for run(). options must outlive the server. Throws
    /// std::runtime_error for an image, host or port that cannot be used, naming the option.
    explicit Server(const Options& options);

    /// Where it listens.
    const Endpoint& address() const { return m_address; }

    /// Serves until SIGTERM or SIGINT, and goes on even if resources run short: if there is no place or
    /// descriptor for a new client, it replaces the client that has been silent for the longest.
    void run();

    /// The counts of requests and faults so far.
    const FaultPlan& counts() const { return m_slave.counts(); }

private:
    using Clock = Session::Clock;

    void waitForWork();
    void serveSessions();
    Session::Next serve(Session& session, short events);
    void acceptClient();
    void closeMostSilent();
    void refuseClients();
    void acceptAgain();

    const Options& m_options;
    Slave m_slave;
    std::optional<Control> m_control;
    Descriptor m_signals;
    Descriptor m_listener;
    Endpoint m_address;
    std::optional<Clock::time_point> m_acceptsAgainAt; ///< no client is accepted before
    std::list<Session> m_sessions;
    std::vector<pollfd> m_waits; ///< signals, the listening socket, the sessions in their order, control
};

} // namespace slavesim

#endif
