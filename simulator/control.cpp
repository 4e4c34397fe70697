#include "control.h"

#include "text.h"

#include <array>
#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <unistd.h>

namespace slavesim {

static constexpr std::size_t LongestLine = 1000;
static constexpr std::size_t PipeCapacity = 65536;

Control::Control(Slave& slave) : m_slave(slave)
{
    m_line.reserve(LongestLine + 1); // so that no line runs out of memory
}

pollfd Control::waitsFor() const
{
    return {m_isOpen ? STDIN_FILENO : -1, POLLIN, 0};
}

void Control::obey()
{
    std::array<char, PipeCapacity> bytes;
    const ssize_t got = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    for (ssize_t i = 0; i < got; ++i)
        take(bytes[static_cast<std::size_t>(i)]);
    m_isOpen = got > 0;
    if (!m_isOpen)
        endLine();
}

void Control::take(char character)
{
    if (character == '\n')
        endLine();
    else if (m_line.size() <= LongestLine)
        m_line += character;
}

void Control::endLine()
{
    try {
        if (m_line.size() > LongestLine)
            throw std::runtime_error("longer than " + std::to_string(LongestLine) + " characters");
        m_slave.obey(contentOf(m_line));
    } catch (const std::runtime_error& error) {
        std::cerr << "slavesim: standard input:" << m_lineNumber << ": " << error.what() << std::endl;
    } catch (const std::bad_alloc&) {
        std::cerr << "slavesim: standard input:" << m_lineNumber << ": not enough memory" << std::endl;
    }
    m_line.clear();
    ++m_lineNumber;
}

} // namespace slavesim
