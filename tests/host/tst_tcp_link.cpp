#include "peer.h"
#include "session/frame_trace.h"
#include "session/tcp_link.h"

#include <csignal>
#include <dlfcn.h>
#include <netdb.h>

namespace {

constexpr int timeoutMs = 150;
constexpr int generousMs = 20000;
constexpr int toleranceMs = 1000; // of a busy machine; sanitizers and valgrind included

const QByteArray request = QByteArray::fromHex("000100000006010300630001");
const QByteArray reply = QByteArray::fromHex("0001000000050103020007");

/// Interrupts this thread a thousand times a second.
class Signals
{
public:
    Signals()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        ::sigaction(SIGALRM, &action, nullptr);
        ::ualarm(1000, 1000);
    }
    ~Signals() { ::ualarm(0, 0); }
};

bool isOwnPortTaken = false; ///< by the connections, which then reach themselves
int fullReads = 0;           ///< that come at once whatever a device sends
bool isNameServerSilent = false;
int questions = 0; ///< to the name server

template<typename Function>
Function systemsOwn(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

/// A device, a driver's link to it, and what they do with it, word by word.
struct Play
{
    explicit Play(int timeout = generousMs, const QString& host = QStringLiteral("127.0.0.1"), int queue = 8)
        : peer(queue), link(host, peer.port(), DriverSetting(timeout, 3, 17, 40), 9)
    {
        fullReads = 0;
        link.setStopFlag(&stop);
        link.setOnSilence([this](int attempt) { seen += QStringLiteral("silence-before-%1").arg(attempt); });
    }
    ~Play() { peer.join(); }

    /// Plays a script. From "signals" on they disturb the driver; "&" starts what the device does meanwhile.
    void perform(const QByteArray& script, const QByteArray& meanwhile = QByteArray())
    {
        std::unique_ptr<Signals> disturber;
        for (const QByteArray& word : script.split(' ')) {
            if (word == "signals")
                disturber = std::make_unique<Signals>();
            else if (word == "&")
                peer.later([this, meanwhile] {
                    for (const QByteArray& deed : meanwhile.split(' '))
                        deviceDoes(deed);
                });
            else
                driverDoes(word);
        }
        peer.join();
    }

    /// Without an error nothing is seen but what was asked for.
    void driverDoes(const QByteArray& word)
    {
        const int connections = link.connectionsMade();
        if (word == "open") {
            see(link.open());
        } else if (word == "connect") {
            see(link.open() && peer.accept());
        } else if (word == "close") {
            link.close();
        } else if (word == "up") {
            seen += link.isConnected() ? QStringLiteral("up") : QStringLiteral("down");
        } else if (word == "ask") {
            const bool isSent = write(request) == request.size();
            see(isSent, link.connectionsMade() > connections ? QStringLiteral("anew") : QString());
        } else if (word == "much") { // more than any socket takes
            const int taken = write(QByteArray(64 << 20, 'x'));
            see(false);
            seen.last().replace(QString::number(taken), QStringLiteral("SOME"));
        } else if (word.startsWith("read")) {
            const int wanted = word.mid(4).toInt();
            const QByteArray got = read(wanted);
            see(got.size() == wanted, QString::fromLatin1(got.toHex()));
        } else if (word == "start") {
            link.startCommand();
        } else if (word == "setting") {
            link.deviceSetting();
        } else if (word == "delay") {
            link.commandDelay();
        } else if (word == "retries") {
            seen += QString::number(link.retryCount());
        } else if (word == "attempts") {
            seen += QString::number(link.attempts());
        } else {
            deviceDoes(word);
        }
    }

    /// Hexadecimal bytes are sent. It pauses a moment after each word.
    void deviceDoes(const QByteArray& word)
    {
        if (word == "accept")
            behaves = peer.accept() && behaves;
        else if (word == "take")
            behaves = peer.receive(request.size()) == request && behaves;
        else if (word == "reply")
            peer.send(reply);
        else if (word == "fin")
            peer.finish();
        else if (word == "rst")
            peer.reset();
        else if (word == "deaf")
            peer.stopListening();
        else if (word == "flood")
            fullReads = 1000;
        else if (word == "crowd")
            peer.fillQueue();
        else if (word == "stop")
            stop = true;
        else if (word == "wait")
            Peer::pause(timeoutMs / 2);
        else
            peer.send(QByteArray::fromHex(word));
        Peer::pause(4);
    }

    int write(const QByteArray& bytes) { return link.writeData(bytes.constData(), bytes.size()); }

    QByteArray read(int length)
    {
        QByteArray bytes(length, '\0');
        return bytes.left(link.readData(bytes.data(), length));
    }

    void see(bool isDone, const QString& what = QString())
    {
        if (!what.isEmpty())
            seen += what;
        if (!isDone)
            seen += QLatin1Char('(') + link.errorString().replace(peer.name(), QLatin1String("DEVICE")) +
                    QLatin1Char(')');
    }

    std::atomic<bool> stop{false};
    std::atomic<bool> behaves{true}; ///< the device got what it waited for
    QStringList seen;                ///< by the driver
    Peer peer;
    TcpLink link;
};

} // namespace

// These functions stand in for those of the system.

int connect(int socket, const sockaddr* address, socklen_t length)
{
    if (isOwnPortTaken)
        ::bind(socket, address, length);
    return systemsOwn<decltype(&connect)>(__func__)(socket, address, length);
}

ssize_t recv(int socket, void* buffer, std::size_t size, int flags)
{
    if (fullReads == 0)
        return systemsOwn<decltype(&recv)>(__func__)(socket, buffer, size, flags);
    --fullReads;
    return static_cast<ssize_t>(size);
}

int getaddrinfo_a(int mode, gaicb** list, int count, sigevent* event)
{
    ++questions;
    return isNameServerSilent ? 0 : systemsOwn<decltype(&getaddrinfo_a)>(__func__)(mode, list, count, event);
}

int gai_error(gaicb* question) noexcept
{
    return isNameServerSilent ? EAI_INPROGRESS : systemsOwn<decltype(&gai_error)>(__func__)(question);
}

class tst_tcp_link : public QObject
{
    Q_OBJECT

private slots:
    void plays_data();
    void plays();
    void deadlineIsForTheWholeCall();
    void connectFailures_data();
    void connectFailures();
    void everyAddressOfANameIsTried();
    void silentNameServerIsAskedOnce();
    void partlyTakenRequest();
    void settings();
    void trace();
};

static const struct
{
    QByteArray script;
    const char* meanwhile; ///< what the device does
    const char* seen;
} rows[] = {
    // A reply comes in pieces; the driver reads 9 bytes, then the rest.
    {"connect ask take & read9 read4", "00010000000701030400070008", "000100000007010304 00070008"},
    {"connect ask take & read9 read2 read2", "00010000000701030400070008", "000100000007010304 0007 0008"},
    {"connect ask take & read9 read4", "0001000000 0701030400070008", "000100000007010304 00070008"},
    {"connect ask take & read9 read4", "0001000000070103040007 0008", "000100000007010304 00070008"},
    {"connect ask take signals & read9 read4", "00 01 00 00 00 07 01 03 04 00 07 00 08",
     "000100000007010304 00070008"},
    {"connect ask take & read9 read4", "00010000000701030400070008 fin", "000100000007010304 00070008"},
    {"connect ask take signals & read9", "0001000000",
     "0001000000 (only 5 of 9 bytes came from DEVICE within 150 ms)"},
    {"connect ask take & read9 read4", "000100000007010304",
     "000100000007010304 (only 9 of 13 bytes came from DEVICE within 150 ms)"},
    {"connect ask take & read9 read4", "0001000000070103040007",
     "000100000007010304 0007 (only 11 of 13 bytes came from DEVICE within 150 ms)"},
    {"connect ask take & read9", "fin", "(DEVICE closed the connection)"},
    {"connect ask take & read9", "rst", "(DEVICE reset the connection)"},
    {"connect ask take & read9", "0001000000 fin",
     "0001000000 (DEVICE closed the connection after 5 of 9 bytes)"},
    {"connect ask take & read9 read4", "0001000000070103040007 fin",
     "000100000007010304 0007 (DEVICE closed the connection after 11 of 13 bytes)"},

    // More comes behind a reply. The driver asks for the connection only before the first request of an
    // attempt.
    {"connect ask take 0102 read1 up ask take reply read11", "", "01 up REPLY"},
    {"connect ask take reply read11 01 up ask take reply read11", "", "REPLY up REPLY"},
    {"connect ask take 0102 read1 03 ask take reply read11", "", "01 REPLY"},
    {"connect ask take reply read11 " + QByteArray(20000, '7') + " up ask take reply read11", "",
     "REPLY up REPLY"},
    {"connect flood up ask", "", "down (DEVICE sends without being asked)"},
    {"connect ask take 0102 read1 close up read1", "", "01 down ()"},

    // The device ends the connection behind its reply.
    {"connect ask take reply read11 fin up ask connect ask take reply read11", "",
     "REPLY down (DEVICE closed the connection) REPLY"},
    {"connect ask take reply read11 01 fin up ask connect ask take reply read11", "",
     "REPLY down (DEVICE closed the connection) REPLY"},
    {"connect ask take reply read11 rst up ask connect ask take reply read11", "",
     "REPLY down (DEVICE reset the connection) REPLY"},
    {"connect ask take reply read11 fin ask accept take reply read11", "", "REPLY anew REPLY"},
    {"connect ask take 0102 read1 fin ask connect ask take reply read11", "",
     "01 (DEVICE closed the connection) REPLY"},
    {"connect ask take reply read11 01 fin ask connect ask take reply read11", "",
     "REPLY (DEVICE closed the connection) REPLY"},
    {"connect ask take reply read11 rst ask connect ask take reply read11", "",
     "REPLY (DEVICE reset the connection) REPLY"},
    {"connect ask take reply read11 fin deaf ask open read11", "",
     "REPLY (connection refused by DEVICE) (connection refused by DEVICE) (connection refused by DEVICE)"},
    // It is slow to do so. The link learns of it from the first request that is lost.
    {"connect ask take reply read9 read2 ask take fin read11 open & ask read11 ask read11 ask read11 ask "
     "read1",
     "accept take reply fin accept take reply fin accept take reply take 07",
     "000100000005010302 0007 (DEVICE closed the connection) REPLY anew REPLY anew REPLY 07"},

    // Every wait has a deadline, and ends when the user stops it.
    {"crowd open", "", "(no connection to DEVICE within 150 ms)"},
    {"connect ask take reply read11 retries ask read9 retries ask", "",
     "REPLY 3 (no answer from DEVICE within 150 ms) 3 silence-before-3"},
    {"connect much", "", "(DEVICE took only SOME of 67108864 bytes within 150 ms)"},
    {"crowd signals & open retries open", "wait stop",
     "(interrupted while connecting to DEVICE) 0 (interrupted)"},
    {"connect signals & read9 retries", "wait stop", "(interrupted while waiting for DEVICE) 0"},
    {"connect & much retries", "wait stop", "(interrupted while sending to DEVICE) 0"},

    // Drivers call the link in different orders: no project loaded, done at once, type not served, done at
    // the third attempt, failed, sparse reads.
    {"start setting attempts", "", "0"},
    {"start setting delay up start delay up attempts", "", "down down 1"},
    {"start delay up open attempts", "", "down 1"},
    {"start delay up retries delay up open retries delay up attempts", "", "down 3 down 3 up 3"},
    {"start delay up retries start delay up retries delay up retries attempts", "", "down 3 down 3 down 3 2"},
    {"start delay up delay delay delay attempts", "", "down 1"},
};

void tst_tcp_link::plays_data()
{
    QTest::addColumn<int>("row");
    for (int i = 0; i < int(std::size(rows)); ++i)
        QTest::addRow("%.80s [%s]", rows[i].script.constData(), rows[i].meanwhile) << i;
}

void tst_tcp_link::plays()
{
    QFETCH(int, row);
    const QString wanted =
        QString::fromLatin1(rows[row].seen).replace(QLatin1String("REPLY"), QLatin1String(reply.toHex()));
    // Only what waits for the deadline has a short one, so that a busy machine does not spoil the others.
    const bool waits = wanted.contains(QLatin1String("within"));
    Play play(waits ? timeoutMs : generousMs, QStringLiteral("127.0.0.1"),
              rows[row].script.startsWith("crowd") ? 0 : 8);
    QElapsedTimer timer;
    timer.start();
    play.perform(rows[row].script, rows[row].meanwhile);
    const qint64 elapsed = timer.elapsed();
    QCOMPARE(play.seen.join(QLatin1Char(' ')), wanted);
    QVERIFY(play.behaves);
    QVERIFY(waits ? elapsed >= timeoutMs - 1 && elapsed < 3 * timeoutMs + toleranceMs
                  : elapsed < generousMs / 2);
}

void tst_tcp_link::deadlineIsForTheWholeCall()
{
    Play play(timeoutMs);
    play.perform("connect");
    play.peer.later([&] {
        for (const char byte : reply) {
            play.peer.send(QByteArray(1, byte));
            Peer::pause(timeoutMs / 3);
        }
    });
    QVERIFY(play.read(9).size() < 9);
}

void tst_tcp_link::connectFailures_data()
{
    QTest::addColumn<bool>("fromItsPort");
    QTest::addColumn<QString>("error");
    QTest::newRow("127.0.0.1") << false << "(connection refused by DEVICE)";
    QTest::newRow("127.0.0.1") << true << "(connection refused by DEVICE)";
    QTest::newRow("no such host") << false << "(host name \"no such host\" cannot be resolved (";
    QTest::newRow("255.255.255.255") << false << " 255.255.255.255:";
    QTest::newRow("::1") << false << " [::1]:";
}

void tst_tcp_link::connectFailures()
{
    QFETCH(bool, fromItsPort);
    QFETCH(QString, error);
    Play play(5000, QLatin1String(QTest::currentDataTag()));
    play.perform("deaf");
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    const uint before = descriptors.count();
    isOwnPortTaken = fromItsPort;
    play.perform("open read9 ask up");
    isOwnPortTaken = false;
    QCOMPARE(QDir(descriptors.path()).count(), before);
    const QString first = play.seen.value(0);
    QVERIFY2(first.contains(error), qPrintable(first));
    QCOMPARE(play.seen, QStringList({first, first, first, QStringLiteral("down")}));
}

void tst_tcp_link::everyAddressOfANameIsTried()
{
    Play play(2000, QStringLiteral("localhost")); // which can be ::1 first; the device has IPv4 only
    play.perform("open");
    QCOMPARE(play.seen, QStringList());
}

void tst_tcp_link::silentNameServerIsAskedOnce()
{
    questions = 0;
    isNameServerSilent = true;
    Play play(20, QStringLiteral("plc7"));
    play.perform("open open open");
    isNameServerSilent = false;
    QCOMPARE(play.seen.join(QString()),
             QStringLiteral("(host name \"plc7\" was not resolved in time)").repeated(3));
    QCOMPARE(questions, 1);
}

// More than the buffers of both sockets hold.
void tst_tcp_link::partlyTakenRequest()
{
    const Signals disturber;
    Play play;
    QVERIFY(play.link.open() && play.peer.accept());
    QByteArray large;
    for (int i = 0; large.size() < 16 << 20; ++i)
        large += QByteArray::number(i);
    QByteArray received;
    play.peer.later([&] { received = play.peer.receive(large.size()); });
    QCOMPARE(play.write(large), large.size());
    play.peer.join();
    QVERIFY(received == large);
}

void tst_tcp_link::settings()
{
    TcpLink link(QStringLiteral("10.0.0.9"), 1502, DriverSetting(3000, 2, 257, 40), 9);
    QCOMPARE(link.stationId(), 257);
    QCOMPARE(link.commandDelay(), 40);
    QCOMPARE(link.deviceSetting()->linkID, 9);
    QCOMPARE(link.deviceSetting()->string, QStringLiteral("ETHERNET"));
    QCOMPARE(link.deviceSetting()->socketIP(-1), QStringLiteral("10.0.0.9"));
    QCOMPARE(int(link.deviceSetting()->port(-1)), 1502);
}

void tst_tcp_link::trace()
{
    Play play;
    play.perform("connect");
    QString text;
    QTextStream out(&text);
    {
        FrameTrace trace(out, QStringLiteral("\x1b[2J"), FrameKind::ModbusTcp);
        play.link.setObserver(&trace);
        play.perform("ask 00010000 read4 00050103020007" + QByteArray("rubbish").toHex() +
                     " read7 ask 0001000000030183020001000000 read14 connect fin read9");
        play.link.setObserver(nullptr);
    }
    text.remove(QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d{3} "),
                                   QRegularExpression::MultilineOption));
    const QString asked = QStringLiteral("-> tid 1 unit 1 Read Holding Registers address 99 quantity 1 | "
                                         "00 01 00 00 00 06 01 03 00 63 00 01\n");
    QCOMPARE(text, asked +
                       QStringLiteral("<- tid 1 unit 1 Read Holding Registers 2 data bytes | "
                                      "00 01 00 00 00 05 01 03 02 00 07\n"
                                      "<- no Modbus TCP frame | 72 75 62 62 69 73 68\n"
                                      "<- dropped, nobody waits for it any more | 72 75 62 62 69 73 68\n") +
                       asked +
                       QStringLiteral("<- tid 1 unit 1 Read Holding Registers exception 2 (illegal data "
                                      "address) | 00 01 00 00 00 03 01 83 02\n"
                                      "<- incomplete frame | 00 01 00 00 00\n"
                                      "-- connection closed\n"
                                      "-- connected to \\x1b[2J\n"
                                      "-- %1 closed the connection\n")
                           .arg(play.peer.name()));
}

QTEST_GUILESS_MAIN(tst_tcp_link)
#include "tst_tcp_link.moc"
