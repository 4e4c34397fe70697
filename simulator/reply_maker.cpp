#include "reply_maker.h"

#include <stdexcept>
#include <sys/socket.h>

namespace slavesim {

ReplyMaker::ReplyMaker() : m_context(modbus_new_tcp(nullptr, 0), modbus_free)
{
    int ends[2];
    if (!m_context || ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0)
        throw std::runtime_error("cannot start: the system has no memory or no descriptors to spare");
    m_entrance = Descriptor(ends[0]);
    m_exit = Descriptor(ends[1]);
    modbus_set_socket(m_context.get(), m_entrance.number());
    // libmodbus sleeps this long before it answers some wrong requests; 0 is not allowed.
    modbus_set_response_timeout(m_context.get(), 0, 1);
}

static modbus_mapping_t mappingOf(ProcessImage& image)
{
    modbus_mapping_t mapping = {};
    mapping.nb_bits = mapping.nb_input_bits = CellsPerArea;
    mapping.nb_registers = mapping.nb_input_registers = CellsPerArea;
    mapping.tab_bits = image.bits(Area::Coils).data();
    mapping.tab_input_bits = image.bits(Area::DiscreteInputs).data();
    mapping.tab_registers = image.registers(Area::HoldingRegisters).data();
    mapping.tab_input_registers = image.registers(Area::InputRegisters).data();
    return mapping;
}

Bytes ReplyMaker::reply(const Request& request, ProcessImage& image)
{
    modbus_mapping_t mapping = mappingOf(image);
    const int length = static_cast<int>(request.length());
    return sent(modbus_reply(m_context.get(), request.frame(), length, &mapping));
}

Bytes ReplyMaker::exception(const Request& request, unsigned int code)
{
    return sent(modbus_reply_exception(m_context.get(), request.frame(), code));
}

Bytes ReplyMaker::sent(int sendResult)
{
    Bytes reply(MODBUS_TCP_MAX_ADU_LENGTH);
    const ssize_t length = sendResult > 0 ? ::recv(m_exit.number(), reply.data(), reply.size(), 0) : 0;
    reply.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return reply;
}

} // namespace slavesim
