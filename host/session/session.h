#ifndef SESSION_SESSION_H
#define SESSION_SESSION_H

#include "session/frame_trace.h"
#include "session/link_options.h"

#include <memory>

/// What became of one command.
struct CommandOutcome
{
    QByteArray data;         ///< what a read returned, dataLength() bytes; empty after a failure or a write
    QString error;           ///< the driver's text, unchanged; empty when the command is done
    int attempts = 0;        ///< that the driver made; 0 when it failed before it came to the device
    double milliseconds = 0; ///< that the driver took, with all attempts and pauses

    bool done() const { return error.isEmpty(); }
};

/// A loaded driver with its link to one device: where the runtime stands. The link opens with the first
/// command and stays open from one to the next.
class Session
{
public:
    /// Loads the driver and sets up the link by the options and the driver's defaults; Ctrl-C ends its waits.
    /// traceStream takes the frames if the options ask for them and must outlive the session. On failure the
    /// result is null and error holds a sentence.
    static std::unique_ptr<Session> start(const LinkOptions& options, QTextStream& traceStream,
                                          QString& error);

    /// Runs a command through the driver and blocks until it is done. A driver that returns nothing, or less
    /// than the command covers, and calls that no error is answered with an error text of our own.
    CommandOutcome read(const CommunicatorCommand& command);
    CommandOutcome write(const CommunicatorCommand& command, const QByteArray& data);

    DriverInterface& driver() { return m_plugin->driver(); }
    const QString& driverFile() const { return m_plugin->fileName(); }
    TcpLink& link() { return *m_link; }

private:
    explicit Session(std::unique_ptr<DriverPlugin> plugin) : m_plugin(std::move(plugin)) {}

    std::unique_ptr<DriverPlugin> m_plugin;
    std::unique_ptr<FrameTrace> m_trace; // outlives the link, which tells it of its end
    std::unique_ptr<TcpLink> m_link;
};

/// The driver's default settings with what the options replace in them.
DriverSetting effectiveSetting(DriverInterface& driver, const LinkOptions& options);

/// The port of the device, or the driver's default. Empty when neither is there; error says so then.
std::optional<quint16> effectivePort(DriverInterface& driver, const LinkOptions& options, QString& error);

#endif
