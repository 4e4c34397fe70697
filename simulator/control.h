#ifndef SLAVESIM_CONTROL_H
#define SLAVESIM_CONTROL_H

#include "slave.h"

#include <poll.h>
#include <string>

namespace slavesim {

/// Lines on standard input that change what a slave does. A wrong line changes nothing and is reported on
/// stderr. The end of the input ends the changes, not the slave.
class Control
{
public:
    /// slave outlives it.
    explicit Control(Slave& slave);

    /// What poll() has to wait for; nothing once the input has ended.
    pollfd waitsFor() const;

    /// Obeys the complete lines among the bytes that poll() has reported.
    void obey();

private:
    void take(char character);
    void endLine();

    Slave& m_slave;
    bool m_isOpen = true;
    std::string m_line; ///< the part that has arrived
    int m_lineNumber = 1;
};

} // namespace slavesim

#endif
