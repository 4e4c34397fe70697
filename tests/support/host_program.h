#ifndef HOST_PROGRAM_H
#define HOST_PROGRAM_H

#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <QVector>

#include <csignal>

/// One run of a program.
struct ProgramRun
{
    int status; ///< -1: it crashed or did not finish
    QString out;
    QString err;

    /// The objects of --format json, one per line.
    QVector<QJsonObject> json() const
    {
        QVector<QJsonObject> objects;
        for (const QString& line : out.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            objects += QJsonDocument::fromJson(line.toUtf8()).object();
        return objects;
    }
};

/// A copy of driverhost in a folder of its own, because the project that it uses is the one next to it. It
/// runs in that folder.
class HostProgram
{
public:
    /// False if the copy failed.
    bool install()
    {
        return QFile::copy(QStringLiteral(DRIVERHOST_FILE), file()) &&
               QDir(path()).mkpath(QStringLiteral("drivers")) &&
               QFile::copy(QStringLiteral(PLUGIN_FILE), path("drivers/libmodbus_tcp_slave.so"));
    }

    QString path(const char* name = "") const { return m_folder.filePath(QLatin1String(name)); }
    QString file() const { return path("driverhost"); }
    QString projectFile() const { return path("compile/database/database"); }

    QByteArray contents(const QString& fileName) const
    {
        QFile opened(fileName);
        return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
    }

    bool write(const char* name, const QByteArray& text) const
    {
        QFile opened(path(name));
        return opened.open(QIODevice::WriteOnly) && opened.write(text) == text.size();
    }

    /// Arguments are separated by blanks.
    ProgramRun run(const QString& arguments)
    {
        return shell(QStringLiteral("exec ./driverhost ") + arguments);
    }

    /// The same through a shell, which allows limits and redirections.
    ProgramRun shell(const QString& command)
    {
        start(command);
        return finish();
    }

    void start(const QString& command)
    {
        m_err.clear();
        m_process.setWorkingDirectory(path());
        m_process.start(QStringLiteral("bash"), {QStringLiteral("-c"), command});
        m_process.waitForStarted(waitMs);
    }

    /// Sends Ctrl-C's signal to the driverhost that start() started, when it has caught signals for 200 ms:
    /// until then it has not begun to work.
    void interrupt()
    {
        const QString process = QStringLiteral("/proc/%1/").arg(m_process.processId());
        static const QRegularExpression caught(QStringLiteral("SigCgt:\\s+[0-9a-f]+[2367abef]\n"));
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < waitMs &&
               !(QFile::symLinkTarget(process + QStringLiteral("exe")) == file() &&
                 caught.match(QString::fromLatin1(contents(process + QStringLiteral("status")))).hasMatch()))
            QThread::msleep(10);
        QThread::msleep(200);
        ::kill(static_cast<pid_t>(m_process.processId()), SIGINT);
    }

    /// Waits until the program has written this on stderr.
    bool waitForError(const char* text)
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_err.contains(text) && timer.elapsed() < waitMs) {
            m_process.waitForReadyRead(50);
            m_err += m_process.readAllStandardError();
        }
        return m_err.contains(text);
    }

    ProgramRun finish()
    {
        const bool ended = m_process.waitForFinished(waitMs);
        if (!ended)
            m_process.kill();
        m_process.waitForFinished();
        return {ended && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1,
                QString::fromUtf8(m_process.readAllStandardOutput()),
                QString::fromUtf8(m_err + m_process.readAllStandardError())};
    }

private:
    static constexpr int waitMs = 300000; ///< generous: sanitizers and busy machines

    QTemporaryDir m_folder;
    QProcess m_process;
    QByteArray m_err; ///< so far
};

#endif
