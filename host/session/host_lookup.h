#ifndef SESSION_HOST_LOOKUP_H
#define SESSION_HOST_LOOKUP_H

#include "session/waiting.h"

#include <QString>

#include <memory>
#include <netinet/in.h>
#include <sys/socket.h>
#include <vector>

/// One address that a socket can connect to.
struct SocketAddress
{
    sockaddr_storage storage{};
    socklen_t length = 0;

    const sockaddr* generic() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

/// Looks up the TCP addresses of a host.
class HostLookup
{
public:
    /// host is an IPv4 or IPv6 address text, or a name.
    HostLookup(const QString& host, quint16 port);

    /// Leaves a question that a name server has not yet answered to the system.
    ~HostLookup();
    HostLookup(const HostLookup&) = delete;
    HostLookup& operator=(const HostLookup&) = delete;

    /// The addresses, with the port, in the order in which the system would try them. Numeric addresses never
    /// ask a name server. A name that is not resolved by the deadline, or before the stop flag is raised,
    /// counts as failed; the next call continues to wait for the same answer. On failure the list is empty
    /// and error holds a sentence that names the host.
    std::vector<SocketAddress> addresses(const Waiting& waiting, QString& error);

private:
    struct Question;

    const QString m_host;
    const quint16 m_port;
    std::unique_ptr<Question> m_question; ///< asked, not yet answered
};

#endif
