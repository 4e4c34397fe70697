#include "session.h"

#include <cerrno>
#include <sys/socket.h>

namespace slavesim {

static constexpr std::chrono::milliseconds DripPause{1};

Session::Session(Descriptor client, const Endpoint& address, Slave& slave)
    : m_client(std::move(client)), m_clientText(textOf(address)), m_slave(slave), m_lastHeard(Clock::now())
{
}

/// Requests wait in the socket until the previous one has been answered.
pollfd Session::waitsFor() const
{
    const short events = m_outgoing.empty() ? POLLIN : POLLOUT;
    return {m_client.number(), m_pausedUntil ? short(0) : events, 0};
}

Session::Next Session::serve(short events)
{
    if (m_pausedUntil && Clock::now() < *m_pausedUntil)
        return (events & (POLLERR | POLLHUP)) != 0 ? Next::Ends : Next::Waits;
    m_pausedUntil.reset();
    if (m_outgoing.empty() && !receive())
        return Next::Ends;
    return answerAll();
}

/// Returns false if the client has gone.
bool Session::receive()
{
    std::uint8_t bytes[LongestFrame];
    const ssize_t got = ::recv(m_client.number(), bytes, sizeof bytes - m_incoming.size(), 0);
    if (got <= 0)
        return got < 0 && (errno == EAGAIN || errno == EINTR);
    m_incoming.insert(m_incoming.end(), bytes, bytes + got);
    m_lastHeard = Clock::now();
    return true;
}

Session::Next Session::answerAll()
{
    while (send()) {
        const std::size_t length = requestLength(m_incoming);
        if (!m_outgoing.empty() || length > m_incoming.size())
            return Next::Waits;
        if (length == 0) {
            m_slave.log(m_clientText + " sends no Modbus TCP, connection closed");
            return Next::Ends;
        }
        Answer answer = m_slave.answer(Request(m_incoming.data(), length), m_clientText);
        m_incoming.erase(m_incoming.begin(), m_incoming.begin() + static_cast<std::ptrdiff_t>(length));
        m_outgoing = std::move(answer.bytes);
        m_fault = answer.fault;
        if (m_fault == FaultKind::Refuse)
            return Next::RefusesClients;
        if (m_fault == FaultKind::Late)
            m_pausedUntil = Clock::now() + std::chrono::milliseconds(m_slave.options().lateMs);
    }
    return Next::Ends;
}

/// Sends as much as possible. Returns false if the connection is over.
bool Session::send()
{
    while (!m_outgoing.empty() && !m_pausedUntil) {
        const bool drips = m_fault == FaultKind::Drip;
        // The end of the connection travels with the reply.
        const int flags = m_fault == FaultKind::Close ? MSG_NOSIGNAL | MSG_MORE : MSG_NOSIGNAL;
        const ssize_t sent =
            ::send(m_client.number(), m_outgoing.data(), drips ? 1 : m_outgoing.size(), flags);
        if (sent < 0)
            return errno == EAGAIN || errno == EINTR;
        m_outgoing.erase(m_outgoing.begin(), m_outgoing.begin() + sent);
        if (drips && !m_outgoing.empty())
            m_pausedUntil = Clock::now() + DripPause;
    }
    if (!m_outgoing.empty())
        return true;
    if (m_fault != FaultKind::Reset)
        return m_fault != FaultKind::Close;
    const linger resetAtClose = {1, 0};
    ::setsockopt(m_client.number(), SOL_SOCKET, SO_LINGER, &resetAtClose, sizeof resetAtClose);
    return false;
}

} // namespace slavesim
