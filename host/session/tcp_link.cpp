#include "session/tcp_link.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <unistd.h>

namespace {

/// A device that sends more than this unrequested, and faster than it can be read, gets its connection
/// closed.
constexpr int mostRoundsOfDropping = 256;

/// How long a device that closes the connection after its reply may take to do so.
constexpr int closingMs = 50;

QString peerName(const QString& host, quint16 port)
{
    return (host.contains(QLatin1Char(':')) ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2"))
        .arg(host)
        .arg(port);
}

DeviceSetting ethernetSetting(const QString& host, quint16 port, int linkId)
{
    DeviceSetting setting(EthernetDevice, QStringLiteral("ETHERNET"), 0, 0, 0, 0);
    setting.setSocketData({{host, QString::number(port)}});
    setting.linkID = linkId;
    return setting;
}

/// Why no connection to peer could be made.
QString connectFailure(int reason, const QString& peer)
{
    switch (reason) {
    case ECONNREFUSED:
        return QStringLiteral("connection refused by %1").arg(peer);
    case EHOSTUNREACH:
    case ENETUNREACH:
        return QStringLiteral("no route to %1").arg(peer);
    default:
        return QStringLiteral("cannot connect to %1: %2")
            .arg(peer, QString::fromLocal8Bit(std::strerror(reason)));
    }
}

/// A connection within one machine can connect to itself if nobody listens on a port of the ephemeral range.
/// It would then answer every request with that request.
bool isConnectedToItself(int socket)
{
    SocketAddress own;
    SocketAddress other;
    own.length = other.length = sizeof own.storage;
    return ::getsockname(socket, reinterpret_cast<sockaddr*>(&own.storage), &own.length) == 0 &&
           ::getpeername(socket, reinterpret_cast<sockaddr*>(&other.storage), &other.length) == 0 &&
           own.length == other.length && std::memcmp(&own.storage, &other.storage, own.length) == 0;
}

/// Connects a non-blocking socket. Returns 0, or the errno that says why it failed.
int connectWithin(int socket, const SocketAddress& address, const Waiting& waiting)
{
    if (::connect(socket, address.generic(), address.length) != 0) {
        if (errno != EINPROGRESS && errno != EINTR)
            return errno;
        if (!waiting.forDescriptor(socket, POLLOUT))
            return waiting.stopped() ? EINTR : ETIMEDOUT;
    }
    int reason = 0;
    socklen_t size = sizeof reason;
    if (::getsockopt(socket, SOL_SOCKET, SO_ERROR, &reason, &size) != 0)
        return errno;
    if (reason == 0 && isConnectedToItself(socket))
        return ECONNREFUSED;
    return reason;
}

} // namespace

TcpLink::TcpLink(const QString& host, quint16 port, const DriverSetting& setting, int linkId)
    : m_lookup(host, port), m_peer(peerName(host, port)), m_setting(setting),
      m_timeout(std::max(setting.timeout, 1)), m_deviceSetting(ethernetSetting(host, port, linkId)),
      m_error(QStringLiteral("no connection to %1").arg(m_peer))
{
}

TcpLink::~TcpLink()
{
    TcpLink::close();
}

void TcpLink::startCommand()
{
    m_attempts = 0;
    m_inAttempt = false;
    m_isUnanswered = false;
}

void TcpLink::beginAttempt()
{
    if (m_inAttempt)
        return;
    m_inAttempt = true;
    ++m_attempts;
    if (m_isUnanswered && m_onSilence)
        m_onSilence(m_attempts);
    m_isUnanswered = false;
}

int TcpLink::retryCount()
{
    m_inAttempt = false;
    return startWaiting().stopped() || m_isOnce ? 0 : m_setting.retry;
}

int TcpLink::commandDelay()
{
    beginAttempt();
    return m_setting.delay;
}

bool TcpLink::open()
{
    beginAttempt();
    close();
    const Waiting waiting = startWaiting();
    if (waiting.stopped()) {
        setError(QStringLiteral("interrupted"));
        return false;
    }
    QString error;
    const std::vector<SocketAddress> addresses = m_lookup.addresses(waiting, error);
    setError(waiting.stopped() ? QStringLiteral("interrupted") : error);
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        if (connectTo(addresses[i], waiting.share(addresses.size() - i)))
            return true;
    }
    return false;
}

bool TcpLink::connectTo(const SocketAddress& address, const Waiting& waiting)
{
    const int socket = ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int reason = socket < 0 ? errno : connectWithin(socket, address, waiting);
    if (reason == 0 && adopt(socket))
        return true;
    if (waiting.stopped())
        setError(QStringLiteral("interrupted while connecting to %1").arg(m_peer));
    else if (reason == ETIMEDOUT)
        setError(QStringLiteral("no connection to %1 within %2 ms").arg(m_peer).arg(m_timeout));
    else
        setError(connectFailure(reason != 0 ? reason : errno, m_peer));
    if (socket >= 0)
        ::close(socket);
    return false;
}

/// Makes a connected socket the link's. A read on it blocks for a while, so that the usual reply, which
/// arrives in one piece, costs one system call.
bool TcpLink::adopt(int socket)
{
    const int on = 1;
    const timeval limit = {0, std::min<suseconds_t>(m_timeout, Waiting::longestBlindness.count()) * 1000};
    const int flags = ::fcntl(socket, F_GETFL);
    if (flags < 0 || ::fcntl(socket, F_SETFL, flags & ~O_NONBLOCK) != 0 ||
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0 ||
        ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) != 0)
        return false;
    m_socket = socket;
    m_repliesHere = 0;
    ++m_connectionsMade;
    if (m_observer)
        m_observer->opened();
    return true;
}

void TcpLink::close()
{
    drop(QStringLiteral("connection closed"));
}

void TcpLink::drop(const QString& reason)
{
    m_begin = m_end = 0;
    m_unreadDropped = false;
    if (m_socket < 0)
        return;
    ::close(m_socket);
    m_socket = -1;
    if (m_observer)
        m_observer->closed(reason);
}

/// The peer ended the connection; reason is the errno, or 0 for an orderly close.
void TcpLink::hungUp(int reason)
{
    if (reason == 0)
        setError(QStringLiteral("%1 closed the connection").arg(m_peer));
    else if (reason == ECONNRESET || reason == EPIPE)
        setError(QStringLiteral("%1 reset the connection").arg(m_peer));
    else
        setError(QStringLiteral("connection to %1 lost: %2")
                     .arg(m_peer, QString::fromLocal8Bit(std::strerror(reason))));
    m_closesAfterReply = m_repliesHere == 1;
    drop(m_error);
}

bool TcpLink::isConnected()
{
    beginAttempt();
    m_unreadDropped = m_socket >= 0 && dropUnread() == Unread::None;
    return m_unreadDropped;
}

void TcpLink::showDropped(int length)
{
    if (m_observer && length > 0)
        m_observer->dropped(m_buffer.data() + m_begin, length);
}

/// Empties the buffer and the socket.
TcpLink::Unread TcpLink::dropUnread()
{
    if (m_closesAfterReply && m_repliesHere > 0)
        m_closesAfterReply = Waiting(closingMs, m_stopFlag).forDescriptor(m_socket, POLLIN);
    bool anything = m_end > m_begin;
    showDropped(m_end - m_begin);
    m_begin = m_end = 0;
    for (int round = 0; round < mostRoundsOfDropping; ++round) {
        const ssize_t got = ::recv(m_socket, m_buffer.data(), m_buffer.size(), MSG_DONTWAIT);
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            return Unread::None;
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            hungUp(got == 0 ? 0 : errno);
            return got == 0 && !anything ? Unread::End : Unread::Lost;
        }
        anything = true;
        showDropped(static_cast<int>(got));
    }
    setError(QStringLiteral("%1 sends without being asked").arg(m_peer));
    drop(m_error);
    return Unread::Lost;
}

/// Some devices close the connection after each reply. A request that is not the first of its attempt then
/// needs a new one, since the driver does not call isConnected() before it.
bool TcpLink::isReadyToSend()
{
    if (m_unreadDropped || m_socket < 0)
        return m_socket >= 0;
    const Unread unread = dropUnread();
    return unread == Unread::None || (unread == Unread::End && open());
}

int TcpLink::writeData(const char* data, int length)
{
    beginAttempt();
    const bool ready = isReadyToSend();
    m_unreadDropped = false;
    m_replyBytes = 0;
    m_isUnanswered = ready;
    if (!ready)
        return -1;
    int sent = sendSome(data, length);
    if (sent >= 0 && sent < length)
        sent = sendRest(data, sent, length);
    if (sent == length && m_observer)
        m_observer->sent(reinterpret_cast<const unsigned char*>(data), length);
    return sent;
}

/// Sends what the network takes at once. Returns the number of bytes, or -1 if the device has closed the
/// connection.
int TcpLink::sendSome(const char* data, int length)
{
    const ssize_t taken =
        ::send(m_socket, data, static_cast<std::size_t>(length), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (taken >= 0)
        return static_cast<int>(taken);
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)
        return 0;
    hungUp(errno);
    return -1;
}

int TcpLink::sendRest(const char* data, int sent, int length)
{
    const Waiting waiting = startWaiting();
    while (sent < length && waiting.forDescriptor(m_socket, POLLOUT)) {
        const int taken = sendSome(data + sent, length - sent);
        if (taken < 0)
            return sent;
        sent += taken;
    }
    if (sent < length && waiting.stopped())
        setError(QStringLiteral("interrupted while sending to %1").arg(m_peer));
    else if (sent < length)
        setError(QStringLiteral("%1 took only %2 of %3 bytes within %4 ms")
                     .arg(m_peer)
                     .arg(sent)
                     .arg(length)
                     .arg(m_timeout));
    return sent;
}

int TcpLink::takeBuffered(char* buffer, int maxLength)
{
    const int length = std::min(maxLength, m_end - m_begin);
    std::memcpy(buffer, m_buffer.data() + m_begin, static_cast<std::size_t>(length));
    m_begin += length;
    return length;
}

/// Fills the empty buffer from the socket. Returns false if the device has closed the connection.
bool TcpLink::receive(int flags)
{
    m_begin = m_end = 0;
    const ssize_t got = ::recv(m_socket, m_buffer.data(), m_buffer.size(), flags);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
        return true;
    if (got <= 0) {
        hungUp(got == 0 ? 0 : errno);
        return false;
    }
    m_end = static_cast<int>(got);
    if (m_observer)
        m_observer->received(m_buffer.data(), m_end);
    return true;
}

int TcpLink::readData(char* buffer, int maxLength)
{
    m_unreadDropped = false;
    int got = takeBuffered(buffer, std::max(maxLength, 0));
    if (got < maxLength && m_socket >= 0)
        got = readFromSocket(buffer, got, maxLength);
    if (m_replyBytes == 0 && got > 0)
        ++m_repliesHere;
    m_replyBytes += got;
    m_isUnanswered = m_replyBytes == 0;
    return got;
}

int TcpLink::readFromSocket(char* buffer, int got, int wanted)
{
    const Waiting waiting = startWaiting();
    bool connected = receive(0);
    got += takeBuffered(buffer + got, wanted - got);
    while (connected && got < wanted && waiting.forDescriptor(m_socket, POLLIN)) {
        connected = receive(MSG_DONTWAIT);
        got += takeBuffered(buffer + got, wanted - got);
    }
    if (got < wanted)
        explainShortRead(m_replyBytes + got, m_replyBytes + wanted, waiting);
    return got;
}

/// The numbers count the whole reply, as far as the driver has asked for it.
void TcpLink::explainShortRead(int got, int wanted, const Waiting& waiting)
{
    if (waiting.stopped())
        setError(QStringLiteral("interrupted while waiting for %1").arg(m_peer));
    else if (m_socket < 0 && got > 0)
        m_error += QStringLiteral(" after %1 of %2 bytes").arg(got).arg(wanted);
    else if (m_socket >= 0 && got > 0)
        setError(QStringLiteral("only %1 of %2 bytes came from %3 within %4 ms")
                     .arg(got)
                     .arg(wanted)
                     .arg(m_peer)
                     .arg(m_timeout));
    else if (m_socket >= 0)
        setError(QStringLiteral("no answer from %1 within %2 ms").arg(m_peer).arg(m_timeout));
}
