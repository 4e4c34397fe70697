#ifndef SLAVESIM_EXCHANGE_TEXT_H
#define SLAVESIM_EXCHANGE_TEXT_H

#include "request.h"

#include <string>

namespace slavesim {

/// What a request wants: "read HR1..HR10", "write DO5 = 1", "write HR1..HR2 = 7 8", "function 43".
std::string requestText(const Request& request);

/// What a good reply to it says: "10 registers: 0 1 2 3 4 5 6 7 ...", "done", "exception 2 (illegal data
/// address)"; "no answer" if it is empty.
std::string replyText(const Request& request, const Bytes& reply);

} // namespace slavesim

#endif
