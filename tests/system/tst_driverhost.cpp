#include "host_program.h"
#include "session/session.h"
#include "slave_process.h"

#include <QStandardPaths>
#include <QTcpServer>
#include <QtTest>

#include <csignal>

constexpr int patienceMs = 30000; // of a busy machine

class tst_driverhost : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void readsWhatMbpollReads_data();
    void readsWhatMbpollReads();
    void mbpollReadsWhatIsWritten_data();
    void mbpollReadsWhatIsWritten();
    void bitsBesideAWrittenBitStay();
    void limits_data();
    void limits();
    void slaveRestartsBetweenTwoCommands();
    void outputThatCanNotBeWritten();
    void interruptEndsAWait_data();
    void interruptEndsAWait();

private:
    ProgramRun host(const QString& commandLine);
    QStringList mbpoll(const QString& commandLine);

    HostProgram m_host; ///< with a project next to it
    QString m_mbpoll;
    SlaveProcess m_slave;
};

static QStringList words(const QString& text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

void tst_driverhost::initTestCase()
{
    QVERIFY(m_host.install());
    m_mbpoll = QStandardPaths::findExecutable(QStringLiteral("mbpoll"));
    QVERIFY2(m_slave.start(), m_slave.problem());
    const ProgramRun created = host(QStringLiteral("project create --tag DO1 --tag DO3 --tag DO9 --tag DI2"));
    QCOMPARE(created.status, 0);
}

ProgramRun tst_driverhost::host(const QString& commandLine)
{
    return m_host.run(commandLine + QStringLiteral(" --device ") + m_slave.device());
}

/// The values that mbpoll, an independent client, reads from the slave.
QStringList tst_driverhost::mbpoll(const QString& commandLine)
{
    QProcess process;
    process.start(
        m_mbpoll,
        words(QStringLiteral("-1 -q -m tcp -p %1 %2 127.0.0.1").arg(m_slave.port()).arg(commandLine)));
    process.waitForFinished();
    static const QRegularExpression line(QStringLiteral("^\\[[0-9]+\\]:\\s+(\\S+)"),
                                         QRegularExpression::MultilineOption);
    QStringList values;
    auto matches = line.globalMatch(QString::fromLatin1(process.readAllStandardOutput()));
    while (matches.hasNext())
        values += matches.next().captured(1);
    return values;
}

void tst_driverhost::readsWhatMbpollReads_data()
{
    QTest::addColumn<QString>(
        "other"); ///< mbpoll: type (0 coil, 1 discrete input, 3 input, 4 holding), range
    QTest::newRow("read HR100 --count 10") << "-t 4 -r 100 -c 10";
    QTest::newRow("read HR100 --count 10 --entry instance") << "-t 4 -r 100 -c 10";
    QTest::newRow("read FN6HR40000 --count 125") << "-t 4 -r 40000 -c 125";
    QTest::newRow("read HR65536") << "-t 4 -r 65536 -c 1";
    QTest::newRow("read IR7 --count 20") << "-t 3 -r 7 -c 20";
    QTest::newRow("read HR100 --type dword --count 62 --as int") << "-t 4:int -r 100 -c 62";
    QTest::newRow("read HR40000SW --type dword --count 62 --as int") << "-t 4:int -B -r 40000 -c 62";
    QTest::newRow("read IR1 --type word --count 3 --as hex") << "-t 3:hex -r 1 -c 3";
    QTest::newRow("read DO1 --count 100") << "-t 0 -r 1 -c 100";
    QTest::newRow("read FN5DO65530 --count 7") << "-t 0 -r 65530 -c 7";
    QTest::newRow("read DI5 --count 100 --type bitblock") << "-t 1 -r 5 -c 100";
}

void tst_driverhost::readsWhatMbpollReads()
{
    QFETCH(QString, other);
    if (m_mbpoll.isEmpty())
        QSKIP("mbpoll, a Debian package of that name, is not installed");
    const QString command = QString::fromLatin1(QTest::currentDataTag());
    QStringList expected = mbpoll(other);
    QVERIFY(!expected.isEmpty());
    const ProgramRun text = host(command);
    QCOMPARE(text.err, QString());
    QCOMPARE(text.status, 0);
    QStringList values;
    for (const QString& line : text.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        values += words(line).value(1);
    QCOMPARE(values.join(QLatin1Char(' ')), expected.join(QLatin1Char(' ')).toLower());

    QStringList numbers;
    const QJsonObject json = host(command + QStringLiteral(" --format json")).json().value(0);
    for (const QJsonValue& value : json.value(QStringLiteral("values")).toArray())
        numbers += QString::number(value.toVariant().toLongLong());
    for (QString& value : expected)
        value = QString::number(value.toLongLong(nullptr, 0));
    QCOMPARE(numbers, expected);
}

void tst_driverhost::mbpollReadsWhatIsWritten_data()
{
    QTest::addColumn<QString>("other");
    QTest::addColumn<QString>("values");
    QTest::newRow("write HR500 1 65535 0x1234") << "-t 4 -r 500 -c 3"
                                                << "1 65535 4660";
    QTest::newRow("write FN6HR510 7 8 9") << "-t 4 -r 510 -c 3"
                                          << "7 8 9";
    QTest::newRow("write HR520 --type dword -2 70000") << "-t 4:int -r 520 -c 2"
                                                       << "-2 70000";
    QTest::newRow("write HR530SW --type dword 305419896") << "-t 4 -r 530 -c 2"
                                                          << "4660 22136";
    QTest::newRow("write HR540 --type float32 1.5 -2.25") << "-t 4:float -r 540 -c 2"
                                                          << "1.5 -2.25";
    QTest::newRow("write FN6HR550SW:float32 10") << "-t 4:float -B -r 550 -c 1"
                                                 << "10";
    QTest::newRow("write HR560 --type byte --as text Valves") << "-t 4 -r 560 -c 3"
                                                              << "24918 30316 29541";
    QTest::newRow("write 'HR563:string(6)' Valve --verify") << "-t 4 -r 563 -c 3"
                                                            << "22113 27766 25856";
    QTest::newRow("write DO501 1 0 1 1") << "-t 0 -r 501 -c 4"
                                         << "1 0 1 1";
    QTest::newRow("write FN5DO510 1 1 0") << "-t 0 -r 510 -c 3"
                                          << "1 1 0";
}

void tst_driverhost::mbpollReadsWhatIsWritten()
{
    QFETCH(QString, other);
    QFETCH(QString, values);
    if (m_mbpoll.isEmpty())
        QSKIP("mbpoll, a Debian package of that name, is not installed");
    const ProgramRun written = host(QString::fromLatin1(QTest::currentDataTag()));
    QCOMPARE(written.err, QString());
    QCOMPARE(written.status, 0);
    QCOMPARE(mbpoll(other).join(QLatin1Char(' ')), values);
}

void tst_driverhost::bitsBesideAWrittenBitStay()
{
    QCOMPARE(host(QStringLiteral("write HR600 0xa5a5 0xffff 0")).status, 0);
    QCOMPARE(host(QStringLiteral("write HR600.14 1 0 0 0")).status, 0);
    QCOMPARE(host(QStringLiteral("write FN6HR602.5 1")).status, 0);
    QCOMPARE(host(QStringLiteral("read HR600 --count 3 --as hex")).out,
             QStringLiteral("HR600  0x65a5\nHR601  0xfffc\nHR602  0x0020\n"));
    // A byte read does not ask for coils that are not in the project: they are 0.
    QCOMPARE(host(QStringLiteral("write DO1 1 1 1 1 1 1 1 1 1 1")).status, 0);
    QCOMPARE(host(QStringLiteral("read DO1 --type byte --count 2 --as bits")).out,
             QStringLiteral("DO1  00000101\nDO9  00000001\n"));
}

void tst_driverhost::limits_data()
{
    QTest::addColumn<QString>("error"); ///< empty: done
    QTest::newRow("read DO1 --count 2000") << QString();
    QTest::newRow("read HR1 --count 125") << QString();
    QTest::newRow("read HR1 --count 126") << "read 126 word(s) from 1-HR1> can't read any word from HR1";
    QTest::newRow("read HR1 --type dword --count 63")
        << "read 63 dword(s) from 1-HR1> can't read any double word from HR1";
    QTest::newRow("read DO1 --count 2009") << "read 2009 bit(s) from 1-DO1> can't read 2009 bits from DO1";
    QTest::newRow("read HR65536 --count 2")
        << "read 2 word(s) from 1-HR65536> can't read any word from HR65536";
    QTest::newRow("read HR1 --type qword") << "Modbus TCP Slave does not read qword at HR1";
    QTest::newRow("write IR1 1") << "write 1 word(s) to 1-IR1> can't write any word to IR1";
    QTest::newRow("read HR1 --link 2") << "failed to get default station id";
}

void tst_driverhost::limits()
{
    QFETCH(QString, error);
    const ProgramRun outcome =
        host(QString::fromLatin1(QTest::currentDataTag()) + QStringLiteral(" --format json --retry 0"));
    QCOMPARE(outcome.err, error.isEmpty() ? QString() : QStringLiteral("error: %1\n").arg(error));
    QCOMPARE(outcome.status, error.isEmpty() ? 0 : 1);
    const QJsonObject json = outcome.json().value(0);
    QCOMPARE(json.value(QStringLiteral("error")).toString(), error);
    QCOMPARE(json.contains(QStringLiteral("values")), error.isEmpty());
}

// The session of this process reads the project next to this program.
void tst_driverhost::slaveRestartsBetweenTwoCommands()
{
    const QDir home(QCoreApplication::applicationDirPath());
    QVERIFY(home.mkpath(QStringLiteral("compile/database")));
    const QString place = QStringLiteral("compile/database/database");
    QFile::remove(home.filePath(place));
    QVERIFY(QFile::copy(m_host.projectFile(), home.filePath(place)));
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
    QVERIFY(QDir(home.filePath(QStringLiteral("compile"))).removeRecursively());
}

void tst_driverhost::outputThatCanNotBeWritten()
{
    const ProgramRun run = m_host.run(QStringLiteral("info >/dev/full"));
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QStringLiteral("error: the output cannot be written\n"));
}

void tst_driverhost::interruptEndsAWait_data()
{
    QTest::addColumn<bool>("connects");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("read HR1 --timeout 60000")
        << true << QByteArray("interrupted while waiting for 127.0.0.1:");
    QTest::newRow("read HR1 --delay 60000") << false << QByteArray("error: interrupted\n");
    QTest::newRow("scan --timeout 60000") << true << QByteArray("error: interrupted\n");
    QTest::newRow("watch HR1 --timeout 60000") << true << QByteArray();
    QTest::newRow("watch HR1 --delay 60000") << false << QByteArray();
}

/// Whether the process catches the signal; until then it has not begun to work.
static bool catches(qint64 process, int signal)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    const QByteArray text = status.open(QIODevice::ReadOnly) ? status.readAll() : QByteArray();
    const QByteArray caught = text.mid(text.indexOf("SigCgt:") + 7, 17).trimmed();
    return (caught.toULongLong(nullptr, 16) >> (signal - 1) & 1) != 0;
}

void tst_driverhost::interruptEndsAWait()
{
    QFETCH(bool, connects);
    QFETCH(QByteArray, error);
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    QProcess process;
    const QString command = QString::fromLatin1(QTest::currentDataTag());
    process.start(m_host.file(),
                  words(QStringLiteral("%1 --device 127.0.0.1:%2").arg(command).arg(silent.serverPort())));
    QVERIFY(process.waitForStarted());
    if (connects)
        QVERIFY(silent.waitForNewConnection(patienceMs));
    QTRY_VERIFY_WITH_TIMEOUT(catches(process.processId(), SIGINT), patienceMs);
    QTest::qWait(200);
    QCOMPARE(process.state(), QProcess::Running);
    QElapsedTimer timer;
    timer.start();
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    QVERIFY(process.waitForFinished(patienceMs));
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 130);
    const QByteArray text = process.readAllStandardError();
    QVERIFY2(text.contains(error), text.constData());
}

QTEST_GUILESS_MAIN(tst_driverhost)
#include "tst_driverhost.moc"
