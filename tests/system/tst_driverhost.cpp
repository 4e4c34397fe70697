#include "host_program.h"
#include "session/session.h"
#include "slave_process.h"

#include <QStandardPaths>
#include <QTcpServer>
#include <QtTest>

#include <array>
#include <cstring>

class tst_driverhost : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void agreesWithMbpoll();
    void slaveRestartsBetweenTwoCommands();
    void outputThatCanNotBeWritten();
    void interruptEndsAWait();

private:
    ProgramRun host(const QString& commandLine);

    HostProgram m_host; ///< with a project next to it
    SlaveProcess m_slave;
};

void tst_driverhost::initTestCase()
{
    QVERIFY(m_host.install());
    QVERIFY2(m_slave.start(), m_slave.problem());
    const ProgramRun created = host(QStringLiteral("project create --tag DO1 --tag DO3 --tag DO9 --tag DI2"));
    QCOMPARE(created.status, 0);
}

ProgramRun tst_driverhost::host(const QString& commandLine)
{
    return m_host.run(commandLine + QStringLiteral(" --device ") + m_slave.device());
}

/// The values of lines that begin with this.
static QStringList values(const char* beginning, const QString& text)
{
    const QRegularExpression line(QStringLiteral("^%1\\s+(\\S+)").arg(QLatin1String(beginning)),
                                  QRegularExpression::MultilineOption);
    QStringList found;
    for (auto matches = line.globalMatch(text); matches.hasNext();)
        found += matches.next().captured(1);
    return found;
}

/// What mbpoll reads afterwards is what was read as text and as JSON, or what was to be written.
void tst_driverhost::agreesWithMbpoll()
{
    if (QStandardPaths::findExecutable(QStringLiteral("mbpoll")).isEmpty())
        QSKIP("mbpoll, a Debian package of that name, is not installed");
    // Its types are 0 coil, 1 discrete input, 3 input register, 4 holding register.
    const std::array<const char*, 3> cases[] = {
        {"read HR100 --count 10", "-t 4 -r 100 -c 10", ""},
        {"read HR100 --count 10 --entry instance", "-t 4 -r 100 -c 10", ""},
        {"read FN6HR40000 --count 125", "-t 4 -r 40000 -c 125", ""},
        {"read HR65536", "-t 4 -r 65536 -c 1", ""},
        {"read IR7 --count 20", "-t 3 -r 7 -c 20", ""},
        {"read HR100 --type dword --count 62 --as int", "-t 4:int -r 100 -c 62", ""},
        {"read HR40000SW --type dword --count 62 --as int", "-t 4:int -B -r 40000 -c 62", ""},
        {"read IR1 --type word --count 3 --as hex", "-t 3:hex -r 1 -c 3", ""},
        {"read DO1 --count 100", "-t 0 -r 1 -c 100", ""},
        {"read FN5DO65530 --count 7", "-t 0 -r 65530 -c 7", ""},
        {"read DI5 --count 100 --type bitblock", "-t 1 -r 5 -c 100", ""},
        {"write HR500 1 65535 0x1234", "-t 4 -r 500 -c 3", "1 65535 4660"},
        {"write FN6HR510 7 8 9", "-t 4 -r 510 -c 3", "7 8 9"},
        {"write HR520 --type dword -2 70000", "-t 4:int -r 520 -c 2", "-2 70000"},
        {"write HR530SW --type dword 305419896", "-t 4 -r 530 -c 2", "4660 22136"},
        {"write HR530.14 1 0 1 0", "-t 4 -r 530 -c 2", "21044 22137"},
        {"write HR540 --type float32 1.5 -2.25", "-t 4:float -r 540 -c 2", "1.5 -2.25"},
        {"write FN6HR550SW:float32 10", "-t 4:float -B -r 550 -c 1", "10"},
        {"write HR560 --type byte --as text Valves", "-t 4 -r 560 -c 3", "24918 30316 29541"},
        {"write 'HR563:string(6)' Valve --verify", "-t 4 -r 563 -c 3", "22113 27766 25856"},
        {"write DO501 1 0 1 1", "-t 0 -r 501 -c 4", "1 0 1 1"},
        {"write FN5DO510 1 1 0", "-t 0 -r 510 -c 3", "1 1 0"},
    };
    for (const auto& [command, other, written] : cases) {
        const ProgramRun run = host(QString::fromLatin1(command));
        QCOMPARE(run.err, QString());
        QCOMPARE(run.status, 0);
        const ProgramRun check = m_host.shell(QStringLiteral("mbpoll -1 -q -m tcp -p %1 %2 127.0.0.1")
                                                  .arg(m_slave.port())
                                                  .arg(QLatin1String(other)));
        QStringList seen = values("\\[[0-9]+\\]:", check.out.toLower());
        if (*written) {
            QCOMPARE(seen.join(QLatin1Char(' ')), QString::fromLatin1(written));
            continue;
        }
        QVERIFY2(!seen.isEmpty(), other);
        QCOMPARE(values("\\S+", run.out), seen);
        for (QString& value : seen)
            value = QString::number(value.toLongLong(nullptr, 0));
        const QJsonObject json =
            host(QLatin1String(command) + QStringLiteral(" --format json")).json().value(0);
        QCOMPARE(json.value(QStringLiteral("values")).toVariant().toStringList(), seen);
    }
}

// The session of this process reads the project next to this program.
void tst_driverhost::slaveRestartsBetweenTwoCommands()
{
    const QString project = QCoreApplication::applicationDirPath() + QStringLiteral("/compile");
    QFile::remove(project);
    QVERIFY(QFile::link(m_host.path("compile"), project));
    LinkOptions options;
    options.driverFile = QStringLiteral(PLUGIN_FILE);
    options.device = {QStringLiteral("127.0.0.1"), m_slave.port()};
    options.retry = 0;
    QString error;
    QTextStream trace(&error);
    const auto session = Session::start(options, trace, error);
    QVERIFY2(session, qPrintable(error));
    const CommunicatorCommand command(Word, 2, QStringLiteral("HR100"));
    for (const bool killed : {false, true}) {
        QCOMPARE(session->read(command).data, QByteArray("d\0e\0", 4));
        if (killed)
            m_slave.kill();
        QVERIFY2(m_slave.restart(), m_slave.problem());
        const CommandOutcome outcome = session->read(command);
        QCOMPARE(outcome.error, QString());
        QCOMPARE(outcome.data, QByteArray("d\0e\0", 4));
        QCOMPARE(outcome.attempts, 1);
    }
    QCOMPARE(session->link().connectionsMade(), 3);
    QVERIFY(QFile::remove(project));
}

void tst_driverhost::outputThatCanNotBeWritten()
{
    const ProgramRun run = m_host.run(QStringLiteral("info >/dev/full"));
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QStringLiteral("error: the output cannot be written\n"));
}

void tst_driverhost::interruptEndsAWait()
{
    const std::pair<const char*, const char*> cases[] = {
        {"read HR1 --timeout 60000", "interrupted while waiting for 127.0.0.1:"},
        {"read HR1 --delay 60000", "error: interrupted\n"},
        {"scan --timeout 60000", "error: interrupted\n"},
        {"watch HR1 --timeout 60000", ""},
        {"watch HR1 --delay 60000", ""},
    };
    for (const auto& [command, error] : cases) {
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        m_host.start(QStringLiteral("exec ./driverhost %1 --device 127.0.0.1:%2")
                         .arg(QLatin1String(command))
                         .arg(silent.serverPort()));
        QVERIFY(strstr(command, "--delay") || silent.waitForNewConnection(30000)); // a pause comes before it
        QElapsedTimer timer;
        timer.start();
        m_host.interrupt();
        const ProgramRun run = m_host.finish();
        QVERIFY2(timer.elapsed() < 30000, command);
        QCOMPARE(run.status, 130);
        QVERIFY2(run.err.contains(QLatin1String(error)), qPrintable(run.err));
    }
}

QTEST_GUILESS_MAIN(tst_driverhost)
#include "tst_driverhost.moc"
