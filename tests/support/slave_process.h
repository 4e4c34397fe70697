#ifndef SLAVE_PROCESS_H
#define SLAVE_PROCESS_H

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <unistd.h>

/// A running slavesim for one test, on a free port of 127.0.0.1. Its destructor stops it.
class SlaveProcess
{
public:
    ~SlaveProcess() { stop(); }

    /// Starts slavesim with these options and --port, and waits until it accepts connections. False if it
    /// ends before that; problem() says what it wrote.
    bool start(const QStringList& options = {}) { return launch(options, 0); }

    /// The same after a line of bash in the process that becomes slavesim: limits, redirections.
    bool startAfter(const QString& line, const QStringList& options = {})
    {
        m_preparation = line;
        return start(options);
    }

    /// Stops it if it runs, and starts it with the same options on the same port.
    bool restart()
    {
        stop();
        return launch(m_lastOptions, m_lastPort);
    }

    /// Ends it as an operating system does at shutdown (SIGTERM). Returns its exit status; -1 if it did not
    /// run, crashed, or did not end by itself. output() and problem() are then complete.
    int stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return -1;
        m_process.terminate();
        const bool ended = m_process.waitForFinished(WaitMs);
        if (!ended) {
            m_process.kill();
            m_process.waitForFinished();
        }
        m_outputText += m_process.readAllStandardOutput();
        return ended && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    /// Kills it in the middle of whatever it does, so that it cannot close anything itself (SIGKILL).
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    /// Writes lines to its standard input, and ends that input.
    void write(const QByteArray& lines)
    {
        m_process.write(lines);
        m_process.waitForBytesWritten(WaitMs);
    }
    void endInput() { m_process.closeWriteChannel(); }

    quint16 port() const { return m_lastPort; }
    qint64 processId() const { return m_process.processId(); }

    /// The processor time that it has used so far.
    qint64 processorMs() const
    {
        QFile stat(QStringLiteral("/proc/%1/stat").arg(processId()));
        if (!stat.open(QFile::ReadOnly))
            return -1;
        const QByteArrayList fields = stat.readAll().split(' '); // its name has no blank
        return (fields.value(13).toLongLong() + fields.value(14).toLongLong()) * 1000 /
               ::sysconf(_SC_CLK_TCK);
    }

    /// "127.0.0.1:PORT"
    QString device() const { return QStringLiteral("127.0.0.1:%1").arg(m_lastPort); }

    /// What it wrote on stdout since its start, and on stderr since the last call.
    QByteArray output() const { return m_outputText; }
    QByteArray problem() { return m_process.readAllStandardError(); }

private:
    static constexpr int WaitMs = 20000; ///< generous: sanitizers and busy machines

    bool launch(const QStringList& options, quint16 port)
    {
        m_lastOptions = options;
        m_lastPort = 0;
        m_process.start(
            QStringLiteral("bash"),
            QStringList{QStringLiteral("-c"), m_preparation + QStringLiteral("\nexec \"$0\" \"$@\""),
                        QStringLiteral(SLAVESIM_FILE), QStringLiteral("--port"), QString::number(port)} +
                options);
        while (!m_process.canReadLine() && m_process.waitForReadyRead(WaitMs)) {
        }
        m_outputText = m_process.readLine();
        static const QRegularExpression ready(
            QStringLiteral("^slavesim: listening on 127\\.0\\.0\\.1:([0-9]+)\n$"));
        m_lastPort = ready.match(QString::fromLatin1(m_outputText)).captured(1).toUShort();
        return m_lastPort != 0;
    }

    QProcess m_process;
    QString m_preparation;
    QStringList m_lastOptions;
    quint16 m_lastPort = 0;
    QByteArray m_outputText;
};

#endif
