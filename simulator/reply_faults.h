#ifndef SLAVESIM_REPLY_FAULTS_H
#define SLAVESIM_REPLY_FAULTS_H

#include "fault_plan.h"
#include "request.h"

namespace slavesim {

/// What a fault makes of the bytes of a good reply (at least header and function code): none for drop, the
/// first half for truncate and reset. Faults that do not change the bytes (late, close, drip, silent,
/// exception, refuse) return them as they are.
Bytes spoiltReply(Bytes reply, const Fault& fault);

} // namespace slavesim

#endif
