#ifndef SLAVESIM_REPLY_MAKER_H
#define SLAVESIM_REPLY_MAKER_H

#include "process_image.h"
#include "reply_faults.h"
#include "request.h"
#include "socket.h"

#include <modbus.h>

#include <memory>

namespace slavesim {

/// Makes replies with libmodbus, which sends them to a socket of ours instead of a client.
class ReplyMaker
{
public:
    /// Throws std::runtime_error if the system lacks memory or descriptors.
    ReplyMaker();

    /// Executes a request of a known function on image.
    Bytes reply(const Request& request, ProcessImage& image);

    /// A reply with one of libmodbus's MODBUS_EXCEPTION_ codes; nothing is executed.
    Bytes exception(const Request& request, unsigned int code);

private:
    Bytes sent(int sendResult);

    std::unique_ptr<modbus_t, void (*)(modbus_t*)> m_context;
    Descriptor m_entrance; ///< the socket that libmodbus sends to
    Descriptor m_exit;
};

} // namespace slavesim

#endif
