#include "session.h"

#include <modbus.h>
#include <sys/socket.h>

namespace slavesim {

Session::Session(Descriptor clientSocket, Slave& sharedSlave, std::function<void()> whenEnded)
    : client(std::move(clientSocket)), slave(sharedSlave), ended(std::move(whenEnded)),
      context(modbus_new_tcp(nullptr, 0), modbus_free)
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
    if (!request.isWellFormed() || !skip(client.number(), request.missing()))
        return false;
    if (!slave.options.stations.test(request.unit()))
        return true;
    return reply(request, frame, length);
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

} // namespace slavesim
