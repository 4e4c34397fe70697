#include "server.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <new>
#include <stdexcept>
#include <sys/signalfd.h>

namespace slavesim {

static constexpr std::size_t SignalsWait = 0;
static constexpr std::size_t ListenerWait = 1;
static constexpr std::size_t FirstSessionWait = 2;
static constexpr std::chrono::milliseconds PauseWhenShort{100}; ///< of memory or descriptors
static constexpr std::chrono::seconds PauseWhenTaken{1};        ///< when another program has the port

static Descriptor catchSignals()
{
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    sigprocmask(SIG_BLOCK, &ends, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // the log's reader may go away
    return Descriptor(::signalfd(-1, &ends, SFD_CLOEXEC));
}

Server::Server(const Options& options)
    : m_options(options), m_slave(options), m_signals(catchSignals()), m_listener(bindTo(options.endpoint))
{
    startListening(m_listener);
    m_address = endpointOf(m_listener);
    if (options.control)
        m_control.emplace(m_slave);
    m_waits.reserve(FirstSessionWait + MostClients + 1);
}

void Server::run()
{
    for (;;) {
        waitForWork();
        if (m_waits[SignalsWait].revents != 0)
            return;
        if (m_control && m_waits.back().revents != 0)
            m_control->obey();
        const bool clientHasCome = m_waits[ListenerWait].revents != 0;
        serveSessions();
        try {
            if (m_acceptsAgainAt)
                acceptAgain();
            else if (clientHasCome)
                acceptClient();
        } catch (const std::bad_alloc&) {
            m_acceptsAgainAt = Clock::now() + PauseWhenShort;
        }
    }
}

/// The timeout for poll() in milliseconds, rounded up so that it does not return too early.
static int waitUntil(Session::Clock::time_point time)
{
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(time - Session::Clock::now()).count();
    return static_cast<int>(std::max<decltype(rest)>(rest, 0));
}

void Server::waitForWork()
{
    auto firstTime = Clock::time_point::max();
    m_waits.clear();
    m_waits.push_back({m_signals.number(), POLLIN, 0});
    m_waits.push_back({m_acceptsAgainAt ? -1 : m_listener.number(), POLLIN, 0});
    for (const Session& session : m_sessions) {
        m_waits.push_back(session.waitsFor());
        firstTime = std::min(firstTime, session.pausedUntil().value_or(firstTime));
    }
    // Last, because poll() checks in this order: a control line that came before a request is then reported
    // together with it.
    if (m_control)
        m_waits.push_back(m_control->waitsFor());
    firstTime = std::min(firstTime, m_acceptsAgainAt.value_or(firstTime));
    const int timeout = firstTime == Clock::time_point::max() ? -1 : waitUntil(firstTime);
    ::poll(m_waits.data(), m_waits.size(), timeout);
}

void Server::serveSessions()
{
    std::size_t wait = FirstSessionWait;
    for (auto session = m_sessions.begin(); session != m_sessions.end(); ++wait) {
        const Session::Next next = serve(*session, m_waits[wait].revents);
        if (next == Session::Next::RefusesClients)
            return refuseClients();
        session = next == Session::Next::Ends ? m_sessions.erase(session) : std::next(session);
    }
}

/// If memory does not suffice for a request, only that client is lost.
Session::Next Server::serve(Session& session, short events)
{
    if (events == 0 && !session.pausedUntil())
        return Session::Next::Waits;
    try {
        return session.serve(events);
    } catch (const std::bad_alloc&) {
        return Session::Next::Ends;
    }
}

void Server::acceptClient()
{
    Endpoint client;
    Descriptor accepted = acceptFrom(m_listener, client);
    if (accepted.isOpen()) {
        if (m_sessions.size() >= MostClients)
            closeMostSilent();
        m_sessions.emplace_back(std::move(accepted), client, m_slave);
    } else if (errno == EMFILE && !m_sessions.empty()) {
        closeMostSilent(); // the client is still waiting when poll() looks next
    } else if (errno != EAGAIN) {
        m_acceptsAgainAt = Clock::now() + PauseWhenShort;
    }
}

void Server::closeMostSilent()
{
    const auto mostSilent =
        std::min_element(m_sessions.begin(), m_sessions.end(), [](const Session& one, const Session& other) {
            return one.lastHeard() < other.lastHeard();
        });
    m_slave.log(mostSilent->clientText() + " closed, silent for longest and its place is needed");
    m_sessions.erase(mostSilent);
}

/// Binds the port again at once, so that no other program takes it.
void Server::refuseClients()
{
    m_listener.close();
    m_sessions.clear();
    m_acceptsAgainAt = Clock::now() + std::chrono::milliseconds(m_options.refuseMs);
    try {
        m_listener = bindTo(m_address);
    } catch (const std::exception&) {
        // acceptAgain() tries again and says what is wrong.
    }
}

void Server::acceptAgain()
{
    if (Clock::now() < *m_acceptsAgainAt)
        return;
    try {
        if (!m_listener.isOpen())
            m_listener = bindTo(m_address);
        startListening(m_listener); // harmless if it listens already
        m_acceptsAgainAt.reset();
    } catch (const std::runtime_error& error) {
        std::cerr << "slavesim: refuses clients, tries again: " << error.what() << '\n';
        m_acceptsAgainAt = Clock::now() + PauseWhenTaken;
    }
}

} // namespace slavesim
