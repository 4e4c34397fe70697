#include "session/interrupt.h"

#include "text/console.h"

#include <csignal>
#include <cstring>
#include <unistd.h>

namespace interrupt {
namespace {

std::atomic<bool> raised{false};
std::atomic<bool> exitWhenBusy{false};

static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers use it");

void onInterrupt(int)
{
    raised = true;
    ::alarm(1);
}

/// A signal that comes between a look at the flag and the wait that follows leaves that wait undisturbed; the
/// alarm disturbs it once more.
void onAlarm(int)
{
    if (exitWhenBusy) {
        const char text[] = "error: interrupted\n";
        const ssize_t ignored = ::write(STDERR_FILENO, text, sizeof text - 1);
        static_cast<void>(ignored);
        ::_exit(Interrupted);
    }
    ::alarm(1);
}

void handle(int signalNumber, void (*handler)(int), int flags)
{
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = handler;
    action.sa_flags = flags;
    ::sigaction(signalNumber, &action, nullptr);
}

} // namespace

void catchSignals(StillBusy policy)
{
    exitWhenBusy = policy == StillBusy::Exit;
    handle(SIGALRM, onAlarm, 0);
    handle(SIGINT, onInterrupt, static_cast<int>(SA_RESETHAND));
    handle(SIGTERM, onInterrupt, static_cast<int>(SA_RESETHAND));
}

const std::atomic<bool>& flag()
{
    return raised;
}

void disturb(pthread_t thread)
{
    raised = true;
    ::pthread_kill(thread, SIGALRM);
}

} // namespace interrupt
