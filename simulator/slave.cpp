#include "slave.h"

#include "moving_signals.h"

#include <cstdio>
#include <stdexcept>

namespace slavesim {

static StationImages imagesFor(const Options& options)
{
    if (options.imageFile.empty())
        return StationImages(ProcessImage::numbered());
    try {
        return StationImages::fromFile(options.imageFile);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(std::string("--image: ") + error.what());
    }
}

Slave::Slave(const Options& options)
    : m_options(options), m_start(std::chrono::steady_clock::now()), m_images(imagesFor(options)),
      m_plan(options.faults)
{
}

Answer Slave::answer(const Request& request, const std::string& client)
{
    if (!m_options.stations.test(request.unit())) {
        log(request, client, "no such station, no reply");
        return {};
    }
    const auto fault = m_plan.next();
    log(request, client, fault ? faultName(fault->kind) : "");
    if (!fault)
        return {reply(request), {}};
    if (fault->kind == FaultKind::Refuse)
        return {{}, fault->kind};
    const Bytes good = fault->kind == FaultKind::Exception
                           ? m_replyMaker.exception(request, MODBUS_EXCEPTION_SLAVE_OR_SERVER_BUSY)
                           : reply(request);
    return {spoiltReply(good, *fault), fault->kind};
}

Bytes Slave::reply(const Request& request)
{
    if (!request.isKnown())
        return m_replyMaker.exception(request, MODBUS_EXCEPTION_ILLEGAL_FUNCTION);
    const ServedCells& served = m_options.served;
    if (request.quantitiesAreLegal() &&
        !(served.contains(request.cells()) && served.contains(request.secondCells())))
        return m_replyMaker.exception(request, MODBUS_EXCEPTION_ILLEGAL_DATA_ADDRESS);
    ProcessImage& image = m_images.of(request.unit());
    if (m_options.moving)
        moveSignals(image, std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count());
    return m_replyMaker.reply(request, image);
}

void Slave::log(const Request& request, const std::string& client, std::string_view remark) const
{
    if (!m_options.log)
        return;
    std::string line = client + " unit " + std::to_string(request.unit()) + " function " +
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

void Slave::logNoModbus(const std::string& client) const
{
    if (m_options.log)
        std::fputs((client + " not a Modbus TCP request, connection closed\n").c_str(), stderr);
}

} // namespace slavesim
