#include "exchange_text.h"

#include <modbus.h>

#include <algorithm>

namespace slavesim {

static constexpr std::size_t ReplyValuesOffset = 9; ///< after function code and byte count
static constexpr std::uint8_t ExceptionFlag = 0x80;

static std::string nameOf(const Cells& cells)
{
    const std::string area(areaName(cells.area));
    const std::string first = area + std::to_string(cells.address + 1);
    if (cells.count == 0)
        return "nothing at " + first;
    return cells.count == 1 ? first : first + ".." + area + std::to_string(cells.address + cells.count);
}

/// The first values of the cells, taken from bytes; an ellipsis if there are more.
static std::string valuesText(const Cells& cells, const Bytes& bytes)
{
    constexpr std::size_t MostShown = 8;
    const bool areBits = isBitArea(cells.area);
    const std::size_t present =
        std::min<std::size_t>(cells.count, areBits ? bytes.size() * 8 : bytes.size() / 2);
    std::string text;
    for (std::size_t i = 0; i < std::min(present, MostShown); ++i) {
        const int value = areBits ? bytes[i / 8] >> i % 8 & 1 : bytes[2 * i] << 8 | bytes[2 * i + 1];
        text += " " + std::to_string(value);
    }
    return text + (present > MostShown ? " ..." : "");
}

std::string requestText(const Request& request)
{
    const std::uint8_t function = request.function();
    if (!request.isKnown())
        return "function " + std::to_string(function);
    const Cells cells = request.cells();
    if (function == MODBUS_FC_MASK_WRITE_REGISTER)
        return "mask " + nameOf(cells);
    if (!request.writes())
        return "read " + nameOf(cells);
    const Cells written = request.secondCells();
    const std::string write = "write " + nameOf(written) + " =" + valuesText(written, request.values());
    return function == MODBUS_FC_WRITE_AND_READ_REGISTERS ? write + ", read " + nameOf(cells) : write;
}

std::string replyText(const Request& request, const Bytes& reply)
{
    if (reply.empty())
        return "no answer";
    if ((reply[FunctionOffset] & ExceptionFlag) != 0) {
        const int code = reply[FunctionOffset + 1];
        return "exception " + std::to_string(code) + " (" + modbus_strerror(MODBUS_ENOBASE + code) + ")";
    }
    if (!request.reads())
        return "done";
    const Cells cells = request.cells();
    const std::string unit = isBitArea(cells.area) ? " bit" : " register";
    return std::to_string(cells.count) + unit + (cells.count == 1 ? ":" : "s:") +
           valuesText(cells, Bytes(reply.begin() + ReplyValuesOffset, reply.end()));
}

} // namespace slavesim
