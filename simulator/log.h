#ifndef SLAVESIM_LOG_H
#define SLAVESIM_LOG_H

#include "socket.h"

#include <string>

namespace slavesim {

/// A file of lines that begin with the time of day. Writing never blocks and never ends the program: lines
/// that cannot be written are lost, which is reported once on stderr.
class Log
{
public:
    /// target: a file, which is continued if it exists; "-" for stdout, "" for stderr. Throws
    /// std::runtime_error for a file that cannot be opened. A symbolic link is refused, because another user
    /// may have put it there.
    explicit Log(const std::string& target);

    /// text: without the time and the end of the line; unprintable characters are escaped.
    void write(const std::string& text);

private:
    const char* failureOf(const std::string& line);

    std::string m_name;
    Descriptor m_file;
    int m_number; ///< of m_file, or of stdout or stderr
    bool m_hasFailed = false;
    bool m_isTorn = false; ///< only part of the last line was written
};

} // namespace slavesim

#endif
