#ifndef SESSION_HOST_LOOKUP_H
#define SESSION_HOST_LOOKUP_H

#include "session/waiting.h"

#include <QString>

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

/// The TCP addresses of host (an IPv4 or IPv6 address text, or a name) with the port, in the order in which
/// the system would try them. Address texts never ask a name server. A name that is not resolved by the
/// deadline, or when the stop flag rises, counts as failed. On failure the list is empty and error holds a
/// sentence that names the host.
std::vector<SocketAddress> lookUpHost(const QString& host, quint16 port, const Waiting& waiting,
                                      QString& error);

#endif
