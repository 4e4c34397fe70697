#include "reply_catcher.h"

#include <sys/socket.h>

namespace slavesim {

/// Only a session that makes a fault needs the two descriptors.
bool ReplyCatcher::open()
{
    if (entrance.isOpen())
        return true;
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0)
        return false;
    entrance = Descriptor(ends[0]);
    exit = Descriptor(ends[1]);
    return true;
}

Bytes ReplyCatcher::replySentBy(const std::function<bool()>& send, modbus_t* context)
{
    if (!open())
        return {};
    const int client = modbus_get_socket(context);
    modbus_set_socket(context, entrance.number());
    const bool sent = send();
    modbus_set_socket(context, client);

    Bytes reply(MODBUS_TCP_MAX_ADU_LENGTH);
    const ssize_t length = sent ? ::recv(exit.number(), reply.data(), reply.size(), 0) : 0;
    reply.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return reply;
}

} // namespace slavesim
