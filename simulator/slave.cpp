#include "slave.h"

#include "exchange_text.h"
#include "moving_signals.h"
#include "text.h"

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
    if (options.log)
        m_log.emplace(*options.log);
}

Answer Slave::answer(const Request& request, const std::string& client)
{
    const auto note = [&](const std::string& answer) {
        if (m_log)
            m_log->write(client + " station " + std::to_string(request.unit()) + " " + requestText(request) +
                         " -> " + answer);
    };
    if (!hasStation(request.unit())) {
        note("no answer (no such station)");
        return {};
    }
    const auto fault = m_plan.next();
    const Bytes good = executed(request, fault);
    note(replyText(request, good) + (fault ? " (fault: " + std::string(faultName(fault->kind)) + ")" : ""));
    if (!fault || good.empty())
        return {good, fault ? std::optional(fault->kind) : std::nullopt};
    return {spoiltReply(good, *fault), fault->kind};
}

bool Slave::hasStation(std::uint8_t station)
{
    return m_options.stations.test(station) && (!m_options.onlyImage || m_images.of(station).anyExists());
}

bool Slave::hasCells(std::uint8_t station, const Cells& cells)
{
    return m_options.served.contains(cells) && (!m_options.onlyImage || m_images.of(station).exist(cells));
}

/// The good reply; nothing if a fault prevents it.
Bytes Slave::executed(const Request& request, const std::optional<Fault>& fault)
{
    if (fault && (fault->kind == FaultKind::Silent || fault->kind == FaultKind::Refuse))
        return {};
    if (fault && fault->kind == FaultKind::Exception)
        return m_replyMaker.exception(request, MODBUS_EXCEPTION_SLAVE_OR_SERVER_BUSY);
    return reply(request);
}

Bytes Slave::reply(const Request& request)
{
    if (!request.isKnown())
        return m_replyMaker.exception(request, MODBUS_EXCEPTION_ILLEGAL_FUNCTION);
    const std::uint8_t station = request.unit();
    if (request.quantitiesAreLegal() &&
        !(hasCells(station, request.cells()) && hasCells(station, request.secondCells())))
        return m_replyMaker.exception(request, MODBUS_EXCEPTION_ILLEGAL_DATA_ADDRESS);
    ProcessImage& image = m_images.of(station);
    if (m_options.moving)
        moveSignals(image, std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count());
    return m_replyMaker.reply(request, image);
}

/// words: "fault", then the kinds to make from now on.
static std::vector<FaultKind> faultsIn(const std::vector<std::string_view>& words)
{
    const std::string right = "the kinds are none, or any of " + faultNames();
    if (words.size() == 1)
        throw std::runtime_error(wrongText("fault", "it needs a kind; " + right));
    if (words.size() == 2 && words[1] == "none")
        return {};
    std::vector<FaultKind> kinds;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const auto kind = faultNamed(words[i]);
        if (!kind)
            throw std::runtime_error("fault " + wrongText(words[i], right));
        kinds.push_back(*kind);
    }
    return kinds;
}

void Slave::obey(std::string_view line)
{
    const std::vector<std::string_view> words = fieldsOf(line, " \t");
    if (words.empty())
        return;
    if (words.front() == "fault")
        m_plan.makeAlways(faultsIn(words));
    else
        m_images.set(parseAssignment(line));
}

void Slave::log(const std::string& text)
{
    if (m_log)
        m_log->write(text);
}

} // namespace slavesim
