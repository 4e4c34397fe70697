#ifndef SESSION_INTERRUPT_H
#define SESSION_INTERRUPT_H

#include <atomic>

/// Ctrl-C and SIGTERM, process-wide.
namespace interrupt {

/// From now on the first signal raises flag(), and a second one kills. A program that is still busy a second
/// after the first, in a driver's pause for example, ends with status 130 and a word on stderr.
void catchSignals();

/// The command watches flag() and takes the time that it needs to end.
void endInOwnTime();

/// True once a signal has come. Waits for a device look at it, see Waiting.
const std::atomic<bool>& flag();

} // namespace interrupt

#endif
