#include "server.h"

#include <csignal>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/signalfd.h>

namespace slavesim {

static ProcessImage imageFor(const Options& options)
{
    if (options.imageFile.empty())
        return ProcessImage::numbered();
    try {
        return ProcessImage::fromFile(options.imageFile);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(std::string("--image: ") + error.what());
    }
}

static Descriptor catchSignals()
{
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    return Descriptor(::signalfd(-1, &ends, SFD_CLOEXEC));
}

Server::Server(const Options& serverOptions)
    : options(serverOptions), image(imageFor(options), options.moving),
      plan(options.faults), slave{options, image, plan,
                                  [this] {
                                      refusalIsDue = true;
                                      wakeUpRun();
                                  }},
      signals(catchSignals()), wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      listener(bindTo(options.endpoint))
{
    startListening(listener);
    endpoint = endpointOf(listener);
}

void Server::run()
{
    while (!endIsAskedWithin(0)) {
        pollfd waits[] = {
            {signals.number(), POLLIN, 0}, {wakeUp.number(), POLLIN, 0}, {listener.number(), POLLIN, 0}};
        ::poll(waits, 3, -1);
        // Before a look at what the sessions ask: what they ask later wakes the next poll.
        eventfd_t count = 0;
        ::eventfd_read(wakeUp.number(), &count);
        if (refusalIsDue)
            refuseClients();
        else if (waits[2].revents != 0)
            acceptClient();
        forgetEndedSessions();
    }
    sessions.clear();
}

bool Server::endIsAskedWithin(int milliseconds)
{
    pollfd wait = {signals.number(), POLLIN, 0};
    return ::poll(&wait, 1, milliseconds) > 0;
}

/// The port stays bound meanwhile, so that nobody else takes it.
void Server::refuseClients()
{
    listener.close();
    sessions.clear();
    refusalIsDue = false;
    listener = bindTo(endpoint);
    if (!endIsAskedWithin(static_cast<int>(options.refuseMs)))
        startListening(listener);
}

void Server::wakeUpRun()
{
    ::eventfd_write(wakeUp.number(), 1);
}

void Server::acceptClient()
{
    Endpoint client;
    Descriptor accepted = acceptFrom(listener, client);
    if (!accepted.isOpen()) {
        endIsAskedWithin(
            10); // without descriptors to spare the client stays waiting: do not ask without a pause
        return;
    }
    if (sessions.size() >= MostClients)
        return;
    sessions.emplace_back(std::move(accepted), client, slave, [this] { wakeUpRun(); });
}

void Server::forgetEndedSessions()
{
    sessions.remove_if([](const Session& session) { return session.hasEnded(); });
}

} // namespace slavesim
