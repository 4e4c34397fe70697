#include "log.h"

#include "text.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <iostream>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>

namespace slavesim {

/// A FIFO that nobody reads is refused; opening it does not wait for a reader.
static Descriptor openToAppend(const std::string& name)
{
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    Descriptor file(::open(name.c_str(), flags, 0666));
    if (file.isOpen())
        return file;
    const std::string why = errno == ELOOP ? "is a symbolic link, name the file that it leads to"
                                           : std::string("cannot be opened: ") + std::strerror(errno);
    throw std::runtime_error("--log: " + printable(name) + " " + why);
}

Log::Log(const std::string& target) : m_name("standard error"), m_number(STDERR_FILENO)
{
    if (target == "-") {
        m_name = "standard output";
        m_number = STDOUT_FILENO;
    } else if (!target.empty()) {
        m_name = printable(target);
        m_file = openToAppend(target);
        m_number = m_file.number();
    }
}

/// "16:04:05.123"
static std::string timeOfDay()
{
    const auto now = std::chrono::system_clock::now();
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local = {};
    localtime_r(&seconds, &local);
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(milliseconds));
    return text;
}

/// Writes a line without blocking. Returns null, or why the line is lost.
const char* Log::failureOf(const std::string& line)
{
    pollfd wait = {m_number, POLLOUT, 0};
    if (::poll(&wait, 1, 0) == 0)
        return "nobody reads it";
    std::string_view rest = line;
    ssize_t written = 0;
    while (!rest.empty() && (written = ::write(m_number, rest.data(), rest.size())) > 0)
        rest.remove_prefix(static_cast<std::size_t>(written));
    m_isTorn = !rest.empty() && (m_isTorn || rest.size() < line.size());
    return rest.empty() ? nullptr : std::strerror(errno);
}

void Log::write(const std::string& text)
{
    const char* failure = failureOf((m_isTorn ? "\n" : "") + timeOfDay() + " " + printable(text) + "\n");
    if (!failure || m_hasFailed)
        return;
    m_hasFailed = true;
    std::cerr << "slavesim: --log: " << m_name << " lacks lines from now on: " << failure << std::endl;
}

} // namespace slavesim
