#ifndef SESSION_TCP_LINK_H
#define SESSION_TCP_LINK_H

#include "abstract_device_interface.h"
#include "device_setting.h"
#include "driver_setting.h"
#include "session/host_lookup.h"
#include "session/waiting.h"

#include <array>
#include <atomic>
#include <functional>

/// Observes what passes over a link. It is called on the link's thread, in the middle of the driver's calls,
/// and must not call the link.
class LinkObserver
{
public:
    virtual ~LinkObserver() = default;

    /// The connection was made, or closed by either side; reason says by which.
    virtual void opened() = 0;
    virtual void closed(const QString& reason) = 0;

    /// Bytes that the driver sent, one call for each of its frames.
    virtual void sent(const unsigned char* data, int length) = 0;

    /// Bytes as they arrived: a reply may come in several calls, and one call may bring more than one reply.
    virtual void received(const unsigned char* data, int length) = 0;

    /// Bytes of the device that nobody waited for when the next request went out. Those that received() has
    /// already shown are shown again.
    virtual void dropped(const unsigned char* data, int length) = 0;
};

/// The runtime's link over TCP, for one device.
///
/// Timing: each call of open, readData and writeData has one deadline, the driver setting's timeout (in
/// milliseconds; less than 1 counts as 1), which includes the name look-up. Ctrl-C ends a wait early, see
/// setStopFlag.
///
/// No old byte answers a new request: unread bytes are dropped when a request goes out, and close() drops the
/// socket with everything still in transit.
///
/// A failure leaves a sentence in errorString(). One thread at a time.
class TcpLink : public AbstractDeviceInterface
{
public:
    /// host is an IPv4 or IPv6 address text or a name. linkId is the link's id in the project database.
    /// Nothing is connected yet.
    TcpLink(const QString& host, quint16 port, const DriverSetting& setting, int linkId);
    ~TcpLink() override;
    TcpLink(const TcpLink&) = delete;
    TcpLink& operator=(const TcpLink&) = delete;

    /// Returns when maxLength bytes have arrived, the deadline has passed or the device has closed the
    /// connection. The result is the number of bytes that have arrived, 0 to maxLength. If the device has
    /// closed the connection, so is the link.
    int readData(char* buffer, int maxLength) override;

    /// Drops unread bytes, then sends. If the device has closed the connection in good order since its reply,
    /// a new one is opened first, with a deadline of its own; nothing of the old one is in it. Returns
    /// length, or the number of bytes that the network took by the deadline (-1 if there is no connection).
    int writeData(const char* data, int length) override;

    /// Connects, or reconnects. If a name has several addresses, they are tried in turn, each with its share
    /// of the remaining time.
    bool open() override;
    void close() override;

    /// type EthernetDevice, string "ETHERNET", the link id, and host and port as the only socket entry.
    DeviceSetting* deviceSetting() override { return &m_deviceSetting; }

    /// Asks the socket itself: if the peer has closed or reset the connection since the last command, this
    /// closes the link and returns false. Drops unread bytes.
    bool isConnected() override;

    /// The driver setting's retries; 0 once the stop flag is raised, and after setOnce(true).
    int retryCount() override;
    int stationId() override { return m_setting.stationid; }

    /// From here on requests go to this station, 0 to 255.
    void setStation(int station) { m_setting.stationid = station; }

    int commandDelay() override;
    QString errorString() override { return m_error; }

    /// Starts counting attempts() from zero.
    void startCommand();

    /// How many attempts the driver has made since startCommand: the first use of the link counts as one, and
    /// so does the first use after each call of retryCount(). 0 if the driver failed before it used the link.
    int attempts() const { return m_attempts; }

    /// Connections made since construction; all but the first are reconnections.
    int connectionsMade() const { return m_connectionsMade; }

    /// "127.0.0.1:502" or "[::1]:502".
    QString peer() const { return m_peer; }

    /// The observer is not owned and may be null.
    void setObserver(LinkObserver* observer) { m_observer = observer; }

    /// Called when an attempt begins because the one before it got no answer, with the number of the new one.
    void setOnSilence(std::function<void(int attempt)> onSilence) { m_onSilence = std::move(onSilence); }

    /// Whether a command has one attempt only, whatever the driver setting says. At first it is not so.
    void setOnce(bool isOnce) { m_isOnce = isOnce; }

    /// When the flag becomes true, every wait ends within a fifth of a second, and nothing is opened any
    /// more. The flag is not owned and may be null.
    void setStopFlag(const std::atomic<bool>* flag) { m_stopFlag = flag; }

private:
    Waiting startWaiting() const { return Waiting(m_timeout, m_stopFlag); }
    void beginAttempt();
    void setError(const QString& text) { m_error = text; }
    bool connectTo(const SocketAddress& address, const Waiting& waiting);
    bool adopt(int socket);
    int sendSome(const char* data, int length);
    int sendRest(const char* data, int sent, int length);
    int readFromSocket(char* buffer, int got, int wanted);
    int takeBuffered(char* buffer, int maxLength);
    bool receive(int flags);
    /// The result of dropUnread().
    enum class Unread
    {
        None, ///< the connection is up, with nothing unread
        End,  ///< nothing was unread, and the device has closed the connection in good order
        Lost  ///< the connection ended in any other way
    };

    Unread dropUnread();
    bool isReadyToSend();
    void drop(const QString& reason);
    void showDropped(int length);
    void hungUp(int reason);
    void explainShortRead(int got, int wanted, const Waiting& waiting);

    HostLookup m_lookup;
    const QString m_peer;
    DriverSetting m_setting;
    const int m_timeout;
    DeviceSetting m_deviceSetting;
    QString m_error;
    LinkObserver* m_observer = nullptr;
    std::function<void(int)> m_onSilence;
    bool m_isOnce = false;
    bool m_isUnanswered = false; ///< nothing has come since the last request
    const std::atomic<bool>* m_stopFlag = nullptr;
    int m_socket = -1;
    int m_attempts = 0;
    int m_connectionsMade = 0;
    bool m_inAttempt = false;
    bool m_unreadDropped = false;    ///< isConnected has just done it; the next request need not
    int m_replyBytes = 0;            ///< handed to the driver since its last request
    int m_repliesHere = 0;           ///< received over this connection, incomplete ones included
    bool m_closesAfterReply = false; ///< the device did so on the previous connection: wait for it
    std::array<unsigned char, 4096> m_buffer{};
    int m_begin = 0; ///< first byte of m_buffer that nobody has taken
    int m_end = 0;   ///< after its last byte
};

#endif
