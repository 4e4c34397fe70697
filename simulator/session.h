#ifndef SLAVESIM_SESSION_H
#define SLAVESIM_SESSION_H

#include "options.h"
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
};

/// Serves one client on a thread of its own, until the client goes, sends no Modbus, or the session is cut.
class Session
{
public:
    /// ended: called on the session's thread as the last thing it does; the socket is still open then.
    Session(Descriptor client, Slave& slave, std::function<void()> ended);

    /// Cuts the connection, waits for the thread and closes the socket.
    ~Session();

    /// Makes the session end soon, from any thread.
    void cut();

    bool hasEnded() const { return done; }

private:
    void run();
    bool answer(const std::uint8_t* frame, int length);
    bool reply(const Request& request, const std::uint8_t* frame, int length);

    Descriptor client;
    Slave& slave;
    std::function<void()> ended;
    std::unique_ptr<modbus_t, void (*)(modbus_t*)> context;
    std::atomic<bool> done{false};
    std::thread thread;
};

} // namespace slavesim

#endif
