#ifndef SLAVESIM_REPLY_CATCHER_H
#define SLAVESIM_REPLY_CATCHER_H

#include "reply_faults.h"
#include "socket.h"

#include <modbus.h>

#include <functional>

namespace slavesim {

/// Lets libmodbus send a reply to nobody, to have its bytes.
class ReplyCatcher
{
public:
    /// The reply that send makes libmodbus send to the socket of context. Empty when send returns false.
    Bytes replySentBy(const std::function<bool()>& send, modbus_t* context);

private:
    bool open();

    Descriptor entrance;
    Descriptor exit;
};

} // namespace slavesim

#endif
