#ifndef SLAVESIM_SERVER_H
#define SLAVESIM_SERVER_H

#include "options.h"
#include "session.h"
#include "shared_image.h"
#include "socket.h"

#include <list>

namespace slavesim {

/// Accepts clients and gives each a Session. The process has one server.
class Server
{
public:
    static constexpr std::size_t MostClients =
        256; ///< libmodbus waits with select(): 1024 descriptors at most

    /// Listens. From here on SIGTERM and SIGINT are kept for run(). options must outlive the server.
    /// Throws std::runtime_error for an image, host or port that cannot be used, naming its option.
    explicit Server(const Options& options);

    /// Where it listens.
    const Endpoint& address() const { return endpoint; }

    /// Serves until SIGTERM or SIGINT.
    void run();

    /// The requests and faults so far.
    const FaultPlan& counts() const { return plan; }

private:
    void acceptClient();
    void forgetEndedSessions();
    void refuseClients();
    bool endIsAskedWithin(int milliseconds);
    void wakeUpRun();

    const Options& options;
    SharedImage image;
    FaultPlan plan;
    Slave slave;
    Descriptor signals;
    Descriptor wakeUp; ///< readable when a session has ended or asks to refuse clients
    std::atomic<bool> refusalIsDue{false};
    Descriptor listener;
    Endpoint endpoint;
    std::list<Session> sessions;
};

} // namespace slavesim

#endif
