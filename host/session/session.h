#ifndef SESSION_SESSION_H
#define SESSION_SESSION_H

#include "session/frame_trace.h"
#include "session/link_options.h"

#include <memory>

/// The outcome of one command.
struct CommandOutcome
{
    QByteArray data;         ///< what a read returned, dataLength() bytes; empty after a failure or a write
    QString error;           ///< the driver's text, unchanged; empty if the command succeeded
    int attempts = 0;        ///< that the driver made; 0 if it failed before it used the link
    double milliseconds = 0; ///< of the driver, including all attempts and pauses

    bool done() const { return error.isEmpty(); }
};

/// A loaded driver with its link to one device, in place of the runtime. The link opens with the first
/// command and stays open between commands.
class Session
{
public:
    /// Loads the driver and sets up the link from the options and the driver's defaults; Ctrl-C ends its
    /// waits. If the options ask for a trace, the frames go to traceStream, which must outlive the session.
    /// On failure the result is null and error holds a sentence.
    static std::unique_ptr<Session> start(const LinkOptions& options, QTextStream& traceStream,
                                          QString& error);

    /// Runs a command through the driver and blocks until it is done. If a driver returns nothing, or less
    /// than the command covers, without reporting an error, the outcome has an error text of our own. The
    /// station is 0 to 255; without one it is that of the options or of setStation.
    CommandOutcome read(const CommunicatorCommand& command, std::optional<int> station = std::nullopt);
    CommandOutcome write(const CommunicatorCommand& command, const QByteArray& data,
                         std::optional<int> station = std::nullopt);

    /// The station of commands that name none, 0 to 255.
    void setStation(int station);

    DriverInterface& driver() { return m_plugin->driver(); }
    const QString& driverFile() const { return m_plugin->fileName(); }
    TcpLink& link() { return *m_link; }

private:
    explicit Session(std::unique_ptr<DriverPlugin> plugin) : m_plugin(std::move(plugin)) {}
    void startCommand(std::optional<int> station);

    std::unique_ptr<DriverPlugin> m_plugin;
    std::unique_ptr<FrameTrace> m_trace; // outlives the link, which reports its end to it
    std::unique_ptr<TcpLink> m_link;
    int m_station = 0; ///< of commands that name none
};

/// The driver's default settings, overridden by the options.
DriverSetting effectiveSetting(DriverInterface& driver, const LinkOptions& options);

/// The port of the device, or the driver's default. Empty if there is neither; error then says so.
std::optional<quint16> effectivePort(DriverInterface& driver, const LinkOptions& options, QString& error);

#endif
