#include "session/interrupt.h"

#include "text/console.h"

#include <csignal>
#include <unistd.h>

namespace interrupt {
namespace {

std::atomic<bool> raised{false};
std::atomic<void (*)()> atDeath{nullptr};

static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers use it");
static_assert(std::atomic<void (*)()>::is_always_lock_free, "signal handlers use it");

void die(int signalNumber)
{
    if (void (*const function)() = atDeath)
        function();
    std::signal(signalNumber, SIG_DFL);
    ::raise(signalNumber);
}

void onInterrupt(int signalNumber)
{
    if (raised.exchange(true))
        die(signalNumber);
    else
        ::alarm(1);
}

void onAlarm(int)
{
    const char text[] = "error: interrupted\n";
    const ssize_t ignored = ::write(STDERR_FILENO, text, sizeof text - 1);
    static_cast<void>(ignored);
    ::_exit(Interrupted);
}

/// Interrupted writes are resumed (SA_RESTART); waits with a time limit end.
void handle(int signalNumber, void (*handler)(int), unsigned int flags)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(flags);
    ::sigaction(signalNumber, &action, nullptr);
}

} // namespace

void catchSignals()
{
    handle(SIGALRM, onAlarm, SA_RESTART);
    handle(SIGINT, onInterrupt, SA_RESTART);
    handle(SIGTERM, onInterrupt, SA_RESTART);
}

void beforeDeath(void (*function)())
{
    atDeath = function;
    for (const int signalNumber :
         {SIGHUP, SIGQUIT, SIGPIPE, SIGUSR1, SIGUSR2, SIGXCPU, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL})
        handle(signalNumber, die, 0);
}

void endInOwnTime()
{
    handle(SIGALRM, SIG_IGN, 0);
}

const std::atomic<bool>& flag()
{
    return raised;
}

} // namespace interrupt
