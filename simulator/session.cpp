#include "session.h"

#include <cstdio>
#include <poll.h>
#include <sys/socket.h>

namespace slavesim {

Session::Session(Descriptor clientSocket, const Endpoint& address, const Slave& sharedSlave,
                 std::function<void()> whenEnded)
    : client(std::move(clientSocket)), clientText(textOf(address)), slave(sharedSlave),
      ended(std::move(whenEnded)), context(modbus_new_tcp(nullptr, 0), modbus_free)
{
    modbus_set_socket(context.get(), client.number());
    // A client may take its time between the bytes of a request.
    modbus_set_byte_timeout(context.get(), 0, 0);
    // libmodbus sleeps for that long before it answers some wrong requests; 0 is not allowed.
    modbus_set_response_timeout(context.get(), 0, 1);
    thread = std::thread(&Session::run, this);
}

Session::~Session()
{
    if (!done)
        cut();
    thread.join();
}

void Session::cut()
{
    ::shutdown(client.number(), SHUT_RDWR);
}

void Session::run()
{
    std::uint8_t frame[MODBUS_TCP_MAX_ADU_LENGTH];
    int length = 0;
    do {
        length = modbus_receive(context.get(), frame);
    } while (length > 0 && answer(frame, length));
    done = true;
    ended();
}

/// False when the connection cannot go on.
bool Session::answer(const std::uint8_t* frame, int length)
{
    const Request request(frame, length);
    if (!request.isWellFormed() || !skip(client.number(), request.missing())) {
        log(request, "not a Modbus TCP request, connection closed");
        return false;
    }
    if (!slave.options.stations.test(request.unit())) {
        log(request, "no such station, no reply");
        return true;
    }
    const auto fault = slave.plan.next();
    log(request, fault ? faultName(fault->kind) : "");
    if (!fault)
        return reply(request, frame, length);
    return replyFaultily(*fault, frame, [&] { return reply(request, frame, length); });
}

bool Session::reply(const Request& request, const std::uint8_t* frame, int length)
{
    const auto refuse = [&](unsigned int exceptionCode) {
        return modbus_reply_exception(context.get(), frame, exceptionCode) > 0;
    };
    if (!request.isKnown())
        return refuse(MODBUS_EXCEPTION_ILLEGAL_FUNCTION);
    const ServedCells& served = slave.options.served;
    if (request.quantitiesAreLegal() &&
        !(served.contains(request.cells()) && served.contains(request.secondCells())))
        return refuse(MODBUS_EXCEPTION_ILLEGAL_DATA_ADDRESS);
    return slave.image.reply(context.get(), frame, length, request.writes()) > 0;
}

bool Session::replyFaultily(const Fault& fault, const std::uint8_t* frame,
                            const std::function<bool()>& goodReply)
{
    if (fault.kind == FaultKind::Exception)
        return modbus_reply_exception(context.get(), frame, MODBUS_EXCEPTION_SLAVE_OR_SERVER_BUSY) > 0;
    if (fault.kind == FaultKind::Refuse) {
        slave.refuseClients();
        return false;
    }
    const Bytes good = catcher.replySentBy(goodReply, context.get());
    return !good.empty() && sendSpoilt(fault, spoiltReply(good, fault));
}

bool Session::sendSpoilt(const Fault& fault, const Bytes& bytes)
{
    if (fault.kind == FaultKind::Drip)
        return sendByteByByte(bytes);
    if (fault.kind == FaultKind::Late && !pause(slave.options.lateMs))
        return false;
    const bool sent = bytes.empty() || sendAll(client.number(), bytes.data(), bytes.size());
    if (fault.kind != FaultKind::Reset)
        return sent;
    const linger resetAtClose = {1, 0};
    ::setsockopt(client.number(), SOL_SOCKET, SO_LINGER, &resetAtClose, sizeof resetAtClose);
    return false;
}

bool Session::sendByteByByte(const Bytes& bytes)
{
    for (const std::uint8_t& byte : bytes) {
        if (!sendAll(client.number(), &byte, 1) || !pause(1))
            return false;
    }
    return true;
}

/// False when the connection ended meanwhile.
bool Session::pause(std::uint32_t milliseconds)
{
    pollfd hangUp = {client.number(), 0, 0};
    return ::poll(&hangUp, 1, static_cast<int>(milliseconds)) == 0;
}

void Session::log(const Request& request, std::string_view remark) const
{
    if (!slave.options.log)
        return;
    std::string line = clientText + " unit " + std::to_string(request.unit()) + " function " +
                       std::to_string(request.function());
    if (request.isKnown()) {
        const Cells cells = request.cells();
        line += " " + std::string(areaName(cells.area)) + std::to_string(cells.address + 1) + " x " +
                std::to_string(cells.count);
    }
    if (!remark.empty())
        line += ": " + std::string(remark);
    line += '\n';
    std::fputs(line.c_str(), stderr);
}

} // namespace slavesim
