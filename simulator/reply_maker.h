#ifndef SLAVESIM_REPLY_MAKER_H
#define SLAVESIM_REPLY_MAKER_H

#include "process_image.h"
#include "reply_faults.h"
#include "request.h"
#include "socket.h"

#include <modbus.h>

#include <memory>

namespace slavesim {

/// Makes replies with libmodbus. It lets libmodbus send to nobody, to have the bytes.
class ReplyMaker
{
public:
    /// Throws std::runtime_error when the system has no memory or descriptors for it.
    ReplyMaker();

    /// Executes a request of a known function on image.
    Bytes reply(const Request& request, ProcessImage& image);

    /// One of libmodbus's MODBUS_EXCEPTION_ codes in place of a reply; nothing is executed.
    Bytes exception(const Request& request, unsigned int code);

private:
    Bytes sent(int sendResult);

    std::unique_ptr<modbus_t, void (*)(modbus_t*)> m_context;
    Descriptor m_entrance; ///< where libmodbus sends to
    Descriptor m_exit;
};

} // namespace slavesim

#endif
