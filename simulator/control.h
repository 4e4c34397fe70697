#ifndef SLAVESIM_CONTROL_H
#define SLAVESIM_CONTROL_H

#include "slave.h"

#include <poll.h>
#include <string>

namespace slavesim {

/// Lines on standard input that change what a slave does. A wrong line changes nothing; what is wrong with it
/// is said on stderr. The end of the input is the end of changes, not of the slave.
class Control
{
public:
    /// slave outlives it.
    explicit Control(Slave& slave);

    /// What poll() is to wait for; at the end of the input for nothing.
    pollfd waitsFor() const;

    /// Obeys the lines that have come, all that poll() knew of.
    void obey();

private:
    void take(char character);
    void endLine();

    Slave& m_slave;
    bool m_isOpen = true;
    std::string m_line; ///< as far as it has come
    int m_lineNumber = 1;
};

} // namespace slavesim

#endif
