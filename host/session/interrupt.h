#ifndef SESSION_INTERRUPT_H
#define SESSION_INTERRUPT_H

#include <atomic>
#include <pthread.h>

/// Ctrl-C and SIGTERM, process-wide.
namespace interrupt {

/// What becomes of a program that is still busy a second after the signal, in a driver's pause for example.
enum class StillBusy
{
    Exit, ///< it ends with status 130 and a word on stderr
    Stay  ///< it goes on; its command watches flag() and ends in its own time
};

/// From now on the first signal raises flag() and ends the wait that is going on; a second one kills.
void catchSignals(StillBusy policy);

/// True once a signal has come.
const std::atomic<bool>& flag();

/// Raises flag() and ends the wait that is going on in that thread, as the first signal does. catchSignals
/// must have been called with StillBusy::Stay.
void disturb(pthread_t thread);

} // namespace interrupt

#endif
