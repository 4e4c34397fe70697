#include "session/session.h"

#include "session/data_type.h"
#include "session/interrupt.h"
#include "tools/project_database.h"

#include <QFileInfo>

#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

QString driverError(DriverInterface& driver)
{
    const QString text = driver.getLastError();
    return text.isEmpty() ? driver.name() + QStringLiteral(" failed without a reason") : text;
}

/// The driver would wait until somebody writes to a pipe.
QString projectProblem()
{
    const QFileInfo project(GetDatabaseName());
    return !project.exists() || project.isFile() || project.isDir()
               ? QString()
               : QStringLiteral("the project %1 is a pipe or a device, not a file").arg(project.filePath());
}

QString notServed(DriverInterface& driver, const char* verb, const CommunicatorCommand& command)
{
    return QStringLiteral("%1 does not %2 %3 at %4")
        .arg(driver.name(), QLatin1String(verb), dataTypeName(command.dataType), command.address);
}

} // namespace

DriverSetting effectiveSetting(DriverInterface& driver, const LinkOptions& options)
{
    const std::unique_ptr<DriverSetting> defaults(driver.getDefaultDriverSetting());
    return DriverSetting(options.timeout.value_or(defaults->timeout), options.retry.value_or(defaults->retry),
                         options.station.value_or(defaults->stationid),
                         options.delay.value_or(defaults->delay));
}

std::optional<quint16> effectivePort(DriverInterface& driver, const LinkOptions& options, QString& error)
{
    const QString defaultPort = driver.getStringBasedDefaultDriverSetting();
    const auto port = options.device.port ? options.device.port : parsePort(defaultPort);
    if (!port)
        error =
            QStringLiteral("--device needs a port: the driver's default, \"%1\", is none").arg(defaultPort);
    return port;
}

std::unique_ptr<Session> Session::start(const LinkOptions& options, QTextStream& traceStream, QString& error)
{
    auto plugin = DriverPlugin::load(options.driverFile, options.entry, error);
    if (!plugin)
        return nullptr;
    std::unique_ptr<Session> session(new Session(std::move(plugin)));
    DriverInterface& driver = session->driver();
    const auto port = effectivePort(driver, options, error);
    if (!port)
        return nullptr;
    error = projectProblem();
    if (!error.isEmpty())
        return nullptr;
    const DriverSetting setting = effectiveSetting(driver, options);
    session->m_station = setting.stationid;
    session->m_link = std::make_unique<TcpLink>(options.device.host, *port, setting, options.linkId);
    session->m_link->setStopFlag(&interrupt::flag());
    if (options.trace) {
        session->m_trace =
            std::make_unique<FrameTrace>(traceStream, session->m_link->peer(),
                                         isModbusTcp(driver) ? FrameKind::ModbusTcp : FrameKind::Unknown);
        session->m_link->setObserver(session->m_trace.get());
    }
    if (!driver.initialize(session->m_link.get())) {
        error = driverError(driver);
        return nullptr;
    }
    return session;
}

void Session::setStation(int station)
{
    m_station = station;
    m_link->setStation(station);
}

void Session::startCommand(std::optional<int> station)
{
    m_link->setStation(station.value_or(m_station));
    m_link->startCommand();
}

CommandOutcome Session::read(const CommunicatorCommand& command, std::optional<int> station)
{
    CommandOutcome outcome;
    startCommand(station);
    const Clock::time_point start = Clock::now();
    outcome.data = driver().read(m_link.get(), command);
    outcome.milliseconds = millisecondsSince(start);
    outcome.attempts = m_link->attempts();
    const qint64 wanted = dataLength(command.dataType, command.count);
    if (driver().hasError())
        outcome.error = driverError(driver());
    else if (outcome.data.isEmpty() && wanted > 0)
        outcome.error = notServed(driver(), "read", command);
    else if (outcome.data.size() < wanted)
        outcome.error =
            QStringLiteral("the driver returned %1 of %2 bytes").arg(outcome.data.size()).arg(wanted);
    if (!outcome.done())
        outcome.data.clear();
    return outcome;
}

CommandOutcome Session::write(const CommunicatorCommand& command, const QByteArray& data,
                              std::optional<int> station)
{
    CommandOutcome outcome;
    startCommand(station);
    const Clock::time_point start = Clock::now();
    const bool done = driver().write(m_link.get(), command, data);
    outcome.milliseconds = millisecondsSince(start);
    outcome.attempts = m_link->attempts();
    if (!done)
        outcome.error = driver().hasError() ? driverError(driver()) : notServed(driver(), "write", command);
    return outcome;
}
