#ifndef SLAVESIM_SESSION_H
#define SLAVESIM_SESSION_H

#include "fault_plan.h"
#include "options.h"
#include "reply_catcher.h"
#include "request.h"
#include "shared_image.h"
#include "socket.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace slavesim {

/// What the sessions of a server share. Outlives them.
struct Slave
{
    const Options& options;
    SharedImage& image;
    FaultPlan& plan;
    std::function<void()> refuseClients; ///< called on a session's thread; cuts all sessions soon afterwards
};

/// Serves one client on a thread of its own, until the client goes, sends no Modbus, or the session is cut.
class Session
{
public:
    /// address: the client's, for the log. ended: called on the session's thread as the last thing it does;
    /// the socket is still open then.
    Session(Descriptor client, const Endpoint& address, const Slave& slave, std::function<void()> ended);

    /// Cuts the connection unless the session has ended, waits for the thread and closes the socket.
    ~Session();

    /// Makes the session end soon, from any thread.
    void cut();

    bool hasEnded() const { return done; }

private:
    void run();
    bool answer(const std::uint8_t* frame, int length);
    bool reply(const Request& request, const std::uint8_t* frame, int length);
    bool replyFaultily(const Fault& fault, const std::uint8_t* frame, const std::function<bool()>& goodReply);
    bool sendSpoilt(const Fault& fault, const Bytes& bytes);
    bool sendByteByByte(const Bytes& bytes);
    bool pause(std::uint32_t milliseconds);
    void log(const Request& request, std::string_view remark) const;

    Descriptor client;
    const std::string clientText;
    const Slave& slave;
    std::function<void()> ended;
    std::unique_ptr<modbus_t, void (*)(modbus_t*)> context;
    ReplyCatcher catcher;
    std::atomic<bool> done{false};
    std::thread thread;
};

} // namespace slavesim

#endif
