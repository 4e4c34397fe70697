#ifndef TOOLS_TIMING_H
#define TOOLS_TIMING_H

#include <QtGlobal>

/// Puts the calling thread to sleep for ms milliseconds. A signal does not shorten the sleep.
Q_DECL_EXPORT void HRSleep(unsigned long ms);

/// Milliseconds on a clock that never jumps and never runs backwards; only differences have a meaning.
Q_DECL_EXPORT qint64 CurrentMSecsSinceBoot();

#endif
