#ifndef SLAVE_PROCESS_H
#define SLAVE_PROCESS_H

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <unistd.h>

/// A running slavesim for one test, on a port of 127.0.0.1 that was free. Stopped at its end.
class SlaveProcess
{
public:
    ~SlaveProcess() { stop(); }

    /// Starts slavesim with these options besides --port and waits until it accepts connections. False when
    /// it ends before that; problem() says what it wrote.
    bool start(const QStringList& options = {}) { return launch(options, 0); }

    /// The same after a line of bash in the process that becomes slavesim: limits, redirections.
    bool startAfter(const QString& line, const QStringList& options = {})
    {
        preparation = line;
        return start(options);
    }

    /// Stops it if it runs, and starts it with the same options on the same port.
    bool restart()
    {
        stop();
        return launch(lastOptions, lastPort);
    }

    /// Ends it as an operating system does at shutdown (SIGTERM). Its exit status; -1 when it did not run,
    /// crashed, or did not end by itself. output() and problem() are complete then.
    int stop()
    {
        if (process.state() == QProcess::NotRunning)
            return -1;
        process.terminate();
        const bool ended = process.waitForFinished(WaitMs);
        if (!ended) {
            process.kill();
            process.waitForFinished();
        }
        outputText += process.readAllStandardOutput();
        return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    /// Stops it in the middle of whatever it does, without closing anything itself (SIGKILL).
    void kill()
    {
        process.kill();
        process.waitForFinished();
    }

    /// Gives it lines on standard input, and ends that input.
    void write(const QByteArray& lines)
    {
        process.write(lines);
        process.waitForBytesWritten(WaitMs);
    }
    void endInput() { process.closeWriteChannel(); }

    quint16 port() const { return lastPort; }
    qint64 processId() const { return process.processId(); }

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
    QString device() const { return QStringLiteral("127.0.0.1:%1").arg(lastPort); }

    /// What it wrote on stdout since its start, and on stderr since the last call.
    QByteArray output() const { return outputText; }
    QByteArray problem() { return process.readAllStandardError(); }

private:
    static constexpr int WaitMs = 20000; ///< generous: sanitizers and busy machines

    bool launch(const QStringList& options, quint16 port)
    {
        lastOptions = options;
        lastPort = 0;
        process.start(QStringLiteral("bash"),
                      QStringList{QStringLiteral("-c"), preparation + QStringLiteral("\nexec \"$0\" \"$@\""),
                                  QStringLiteral(SLAVESIM_FILE), QStringLiteral("--port"),
                                  QString::number(port)} +
                          options);
        while (!process.canReadLine() && process.waitForReadyRead(WaitMs)) {
        }
        outputText = process.readLine();
        static const QRegularExpression ready(
            QStringLiteral("^slavesim: listening on 127\\.0\\.0\\.1:([0-9]+)\n$"));
        lastPort = ready.match(QString::fromLatin1(outputText)).captured(1).toUShort();
        return lastPort != 0;
    }

    QProcess process;
    QString preparation;
    QStringList lastOptions;
    quint16 lastPort = 0;
    QByteArray outputText;
};

#endif
