#ifndef SESSION_INTERRUPT_H
#define SESSION_INTERRUPT_H

#include <atomic>

/// Ctrl-C and SIGTERM, process-wide.
namespace interrupt {

/// From now on the first signal raises flag(), and a second one kills the program. A program that is still
/// busy one second after the first, for example in a driver's pause, ends with status 130 and a message on
/// stderr.
void catchSignals();

/// From now on a signal that kills the program, a crash or the second Ctrl-C too, calls this function first.
/// It may do only what a signal handler may, and may be null.
void beforeDeath(void (*function)());

/// The command watches flag() and takes as long to end as it needs.
void endInOwnTime();

/// True once a signal has come. Waits for a device check it, see Waiting.
const std::atomic<bool>& flag();

} // namespace interrupt

#endif
