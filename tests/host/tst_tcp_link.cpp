#include "peer.h"
#include "session/frame_trace.h"
#include "session/tcp_link.h"

#include <csignal>
#include <dlfcn.h>
#include <netdb.h>
#include <pthread.h>

namespace {

constexpr int timeoutMs = 150;
constexpr int generousMs = 20000;
constexpr int toleranceMs = 1000; // of a busy machine; sanitizers and valgrind included

const QByteArray request = QByteArray::fromHex("000100000006010300630001");
const QByteArray reply = QByteArray::fromHex("0001000000050103020007");
const QByteArray otherReply = QByteArray::fromHex("0002000000050103021234");

DriverSetting settingOf(int timeout)
{
    return DriverSetting(timeout, 3, 17, 0);
}

QByteArray readFrom(TcpLink& link, int length)
{
    QByteArray bytes(length, '\0');
    return bytes.left(link.readData(bytes.data(), length));
}

int writeTo(TcpLink& link, const QByteArray& bytes)
{
    return link.writeData(bytes.constData(), bytes.size());
}

/// What the device does, one verb after the other: hexadecimal bytes are sent, "fin" and "rst" close and
/// reset the connection, "deaf" accepts no more connections. It pauses a moment after each.
void play(Peer& peer, const char* script)
{
    const QByteArrayList verbs = QByteArray(script).split(' ');
    for (const QByteArray& verb : verbs) {
        if (verb == "fin")
            peer.finish();
        else if (verb == "rst")
            peer.reset();
        else if (verb == "deaf")
            peer.stopListening();
        else
            peer.send(QByteArray::fromHex(verb));
        Peer::pause(4);
    }
}

/// A link connected to a peer, both ready for a request.
struct Connection
{
    explicit Connection(int timeout = timeoutMs)
        : link(QStringLiteral("127.0.0.1"), peer.port(), settingOf(timeout), 1)
    {
        ready = link.open() && peer.accept();
    }

    /// The device answers a request, with more bytes after the answer; the driver reads the answer.
    bool exchange(const QByteArray& answer = reply, const QByteArray& more = QByteArray())
    {
        if (writeTo(link, request) != request.size() || peer.receive(request.size()) != request)
            return false;
        peer.send(answer + more);
        return readFrom(link, answer.size()) == answer;
    }

    Peer peer;
    TcpLink link;
    bool ready;
};

/// Interrupts this thread again and again.
class Signals
{
public:
    Signals()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        ::sigaction(SIGUSR1, &action, nullptr);
        m_sender = std::thread([this, target = ::pthread_self()] {
            for (; !m_enough; Peer::pause(1))
                ::pthread_kill(target, SIGUSR1);
        });
    }

    ~Signals()
    {
        m_enough = true;
        m_sender.join();
    }

private:
    std::atomic<bool> m_enough{false};
    std::thread m_sender;
};

bool isNameServerSilent = false;
int questions = 0; ///< to the name server

template<typename Function>
Function systemsOwn(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

/// This and the next function stand in for those of the system.
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
    void replies_data();
    void replies();
    void deadlineIsForTheWholeCall();
    void betweenRequests_data();
    void betweenRequests();
    void closesAfterEachReply();
    void floodClosesTheConnection();
    void lateBytesDoNotReachTheNextConnection();
    void connectFailures_data();
    void connectFailures();
    void everyAddressOfANameIsTried();
    void silentNameServerIsAskedOnce();
    void partlyTakenRequest();
    void waitsEnd_data();
    void waitsEnd();
    void attempts_data();
    void attempts();
    void settings();
    void trace();
};

// The driver reads 9 bytes, then 4; this many of them have come by then.
static const struct
{
    const char* script;
    int first, second;
    const char* error;
} replyRows[] = {
    {"00010000000701030400070008", 9, 4, ""},
    {"0001000000 0701030400070008", 9, 4, ""},
    {"0001000000070103040007 0008", 9, 4, ""},
    {"00 01 00 00 00 07 01 03 04 00 07 00 08", 9, 4, ""},
    {"00010000000701030400070008 fin", 9, 4, ""},
    {"", 0, 0, "no answer from %1 within 150 ms"},
    {"0001000000", 5, 0, "only 5 of 9 bytes came from %1 within 150 ms"},
    {"000100000007010304", 9, 0, "only 9 of 13 bytes came from %1 within 150 ms"},
    {"0001000000070103040007", 9, 2, "only 11 of 13 bytes came from %1 within 150 ms"},
    {"fin", 0, 0, "%1 closed the connection"},
    {"rst", 0, 0, "%1 reset the connection"},
    {"0001000000 fin", 5, 0, "%1 closed the connection after 5 of 9 bytes"},
    {"0001000000070103040007 fin", 9, 2, "%1 closed the connection after 11 of 13 bytes"},
};

void tst_tcp_link::replies_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("disturbed");
    for (int i = 0; i < int(std::size(replyRows)); ++i) {
        QTest::addRow("\"%s\"", replyRows[i].script) << i << false;
        QTest::addRow("\"%s\", among signals", replyRows[i].script) << i << true;
    }
}

void tst_tcp_link::replies()
{
    QFETCH(int, row);
    QFETCH(bool, disturbed);
    const auto& wanted = replyRows[row];
    const QString error = QLatin1String(wanted.error);
    // Only rows that wait for the deadline have a short one, so that a busy machine does not spoil the
    // others.
    const bool waits = error.contains(QLatin1String("within"));
    const std::unique_ptr<Signals> disturber(disturbed ? new Signals : nullptr);
    Connection c(waits ? timeoutMs : generousMs);
    QVERIFY(c.ready);
    QCOMPARE(writeTo(c.link, request), request.size());
    QCOMPARE(c.peer.receive(request.size()), request);
    c.peer.later([&] { play(c.peer, wanted.script); });
    QElapsedTimer timer;
    timer.start();
    const QByteArray whole = QByteArray::fromHex("00010000000701030400070008");
    QCOMPARE(readFrom(c.link, 9), whole.left(wanted.first));
    if (wanted.first == 9)
        QCOMPARE(readFrom(c.link, 4), whole.mid(9, wanted.second));
    QVERIFY(!waits || (timer.elapsed() >= timeoutMs - 1 && timer.elapsed() < 2 * timeoutMs + toleranceMs));
    if (!error.isEmpty())
        QCOMPARE(c.link.errorString(), error.arg(c.peer.name()));
}

void tst_tcp_link::deadlineIsForTheWholeCall()
{
    Connection c;
    QVERIFY(c.ready);
    c.peer.later([&] {
        for (int i = 0; i < 9; ++i) {
            c.peer.send(reply.mid(i, 1));
            Peer::pause(timeoutMs / 3);
        }
    });
    QElapsedTimer timer;
    timer.start();
    const QByteArray got = readFrom(c.link, 9);
    QVERIFY(timer.elapsed() >= timeoutMs - 1);
    QVERIFY(timer.elapsed() < timeoutMs + toleranceMs);
    QVERIFY(!got.isEmpty() && got.size() < 9);
}

// What the device does between its reply and the next request. The driver asks for the connection only before
// the first request of an attempt.
static const struct
{
    const char* name;
    QByteArray withTheReply; ///< comes in one piece with the reply
    QByteArray script;
    bool asks;
    const char* error; ///< of the next request; empty: it goes out
    int connections;
} betweenRows[] = {
    {"second reply, in one piece", reply, "", true, "", 1},
    {"second reply, later", "", reply.toHex(), true, "", 1},
    {"second reply, within an attempt", reply, reply.toHex(), false, "", 1},
    {"more than the link's buffer", "", QByteArray(10000, '7'), true, "", 1},
    {"closes", "", "fin", true, "%1 closed the connection", 1},
    {"closes behind unread bytes", "", reply.toHex() + " fin", true, "%1 closed the connection", 1},
    {"resets", "", "rst", true, "%1 reset the connection", 1},
    {"closes, within an attempt", "", "fin", false, "", 2},
    {"closes behind unread bytes, within an attempt", reply, "fin", false, "%1 closed the connection", 1},
    {"resets, within an attempt", "", "rst", false, "%1 reset the connection", 1},
    {"goes, within an attempt", "", "fin deaf", false, "connection refused by %1", 1},
};

void tst_tcp_link::betweenRequests_data()
{
    QTest::addColumn<int>("row");
    for (int i = 0; i < int(std::size(betweenRows)); ++i)
        QTest::newRow(betweenRows[i].name) << i;
}

void tst_tcp_link::betweenRequests()
{
    QFETCH(int, row);
    const auto& wanted = betweenRows[row];
    const bool goesOn = !*wanted.error;
    Connection c(generousMs);
    QVERIFY(c.ready && c.link.isConnected() && c.exchange(reply, wanted.withTheReply));
    play(c.peer, wanted.script);
    Peer::pause(20);
    if (wanted.asks)
        QCOMPARE(c.link.isConnected(), goesOn);
    QCOMPARE(writeTo(c.link, request), goesOn ? request.size() : -1);
    QCOMPARE(c.link.connectionsMade(), wanted.connections);
    if (!goesOn)
        QCOMPARE(c.link.errorString(), QString::fromLatin1(wanted.error).arg(c.peer.name()));
    const bool isDeaf = wanted.script.endsWith("deaf");
    QCOMPARE(!goesOn && c.link.open(), !goesOn && !isDeaf);
    if (!isDeaf && c.link.connectionsMade() == 2)
        QVERIFY(c.peer.accept());
    if (goesOn)
        QCOMPARE(c.peer.receive(request.size()), request);
    c.peer.send(otherReply);
    QCOMPARE(readFrom(c.link, otherReply.size()), isDeaf ? QByteArray() : otherReply);
}

// The device is slow to close. The link learns of it from the first request that is lost.
void tst_tcp_link::closesAfterEachReply()
{
    constexpr int exchanges = 4;
    Connection c(generousMs);
    QVERIFY(c.ready && c.exchange());
    QCOMPARE(writeTo(c.link, request), request.size());
    c.peer.finish();
    QCOMPARE(readFrom(c.link, reply.size()), QByteArray());
    QVERIFY(c.link.open());
    c.peer.later([&] {
        for (int i = 0; i < exchanges && c.peer.accept(); ++i) {
            c.peer.receive(request.size());
            c.peer.send(reply);
            Peer::pause(5);
        }
        c.peer.receive(request.size());
        c.peer.send(otherReply);
    });
    for (int i = 0; i < exchanges; ++i) {
        QCOMPARE(writeTo(c.link, request), request.size());
        QCOMPARE(readFrom(c.link, reply.size()), reply);
    }
    QCOMPARE(writeTo(c.link, request), request.size()); // now it has stayed open
    QCOMPARE(readFrom(c.link, otherReply.size()), otherReply);
    QCOMPARE(c.link.connectionsMade(), 1 + exchanges);
}

void tst_tcp_link::floodClosesTheConnection()
{
    Connection c;
    QVERIFY(c.ready);
    std::atomic<bool> enough{false};
    c.peer.later([&] {
        const QByteArray block(1 << 20, 'x');
        for (int i = 0; i < 2000 && !enough; ++i)
            c.peer.send(block);
    });
    Peer::pause(50);
    bool connected = true;
    for (int i = 0; i < 50 && connected; ++i)
        connected = c.link.isConnected();
    enough = true;
    c.link.close();
    if (connected)
        QSKIP("the peer is slower than the link on this machine");
    QCOMPARE(c.link.errorString(), c.peer.name() + QStringLiteral(" sends without being asked"));
}

void tst_tcp_link::lateBytesDoNotReachTheNextConnection()
{
    Connection c;
    QVERIFY(c.ready && c.exchange(reply, reply));
    c.peer.send(reply);
    c.link.close();
    QVERIFY(!c.link.isConnected());
    QVERIFY(c.link.open() && c.peer.accept());
    QVERIFY(c.exchange(otherReply));
}

void tst_tcp_link::connectFailures_data()
{
    QTest::addColumn<QString>("error");
    QTest::newRow("127.0.0.1") << "connection refused by 127.0.0.1:%1";
    QTest::newRow("no such host") << "host name \"no such host\" cannot be resolved (";
    QTest::newRow("255.255.255.255") << " 255.255.255.255:%1";
    QTest::newRow("::1") << " [::1]:%1";
}

void tst_tcp_link::connectFailures()
{
    QFETCH(QString, error);
    Peer peer;
    peer.stopListening();
    TcpLink link(QLatin1String(QTest::currentDataTag()), peer.port(), settingOf(5000), 1);
    QVERIFY(!link.open());
    const QString wanted = error.contains(QLatin1Char('%')) ? error.arg(peer.port()) : error;
    QVERIFY2(link.errorString().contains(wanted), qPrintable(link.errorString()));
    QCOMPARE(readFrom(link, 9), QByteArray());
    QCOMPARE(writeTo(link, request), -1);
    QVERIFY(!link.isConnected());
}

void tst_tcp_link::everyAddressOfANameIsTried()
{
    Peer peer; // listens on IPv4 only; localhost can be ::1 first
    TcpLink link(QStringLiteral("localhost"), peer.port(), settingOf(2000), 1);
    QVERIFY2(link.open(), qPrintable(link.errorString()));
}

void tst_tcp_link::silentNameServerIsAskedOnce()
{
    questions = 0;
    isNameServerSilent = true;
    TcpLink link(QStringLiteral("plc7"), 502, settingOf(20), 1);
    for (int i = 0; i < 5; ++i) {
        QVERIFY(!link.open());
        QCOMPARE(link.errorString(), QStringLiteral("host name \"plc7\" was not resolved in time"));
    }
    isNameServerSilent = false;
    QCOMPARE(questions, 1);
}

/// Clients that fill the queue of a listener, so that further connections get no answer.
class Crowd
{
public:
    explicit Crowd(const Peer& peer)
    {
        for (int& client : m_clients)
            client = peer.strayClient();
        Peer::pause(20);
    }

    ~Crowd()
    {
        for (const int client : m_clients)
            ::close(client);
    }

private:
    int m_clients[4];
};

// More than the buffers of both sockets hold.
void tst_tcp_link::partlyTakenRequest()
{
    const Signals disturber;
    Connection c(generousMs);
    QVERIFY(c.ready);
    QByteArray large;
    for (int i = 0; large.size() < 16 << 20; ++i)
        large += QByteArray::number(i);
    QByteArray received;
    c.peer.later([&] { received = c.peer.receive(large.size()); });
    QCOMPARE(writeTo(c.link, large), large.size());
    c.peer.join();
    QVERIFY(received == large);
}

void tst_tcp_link::waitsEnd_data()
{
    QTest::addColumn<bool>("stopped"); ///< by the flag, else by the deadline
    QTest::addColumn<QString>("error");
    QTest::newRow("connect") << false << "no connection to %1 within 150 ms";
    QTest::newRow("write") << false << "%1 took only %2 of 67108864 bytes within 150 ms";
    QTest::newRow("connect, stopped") << true << "interrupted while connecting to %1";
    QTest::newRow("read, stopped") << true << "interrupted while waiting for %1";
    QTest::newRow("write, stopped") << true << "interrupted while sending to %1";
}

void tst_tcp_link::waitsEnd()
{
    QFETCH(bool, stopped);
    QFETCH(QString, error);
    const QByteArray wait = QByteArray(QTest::currentDataTag()).split(',').first();
    std::atomic<bool> stop{false};
    Peer peer(wait == "connect" ? 0 : 8);
    const std::unique_ptr<Crowd> crowd(wait == "connect" ? new Crowd(peer) : nullptr);
    TcpLink link(QStringLiteral("127.0.0.1"), peer.port(), settingOf(stopped ? generousMs : timeoutMs), 1);
    link.setStopFlag(&stop);
    QVERIFY(crowd || (link.open() && peer.accept()));
    QCOMPARE(link.retryCount(), 3);
    peer.later([&] {
        Peer::pause(timeoutMs / 2);
        stop = stopped;
    });
    QElapsedTimer timer;
    timer.start();
    int done = 0;
    if (wait == "connect")
        QVERIFY(!link.open());
    else if (wait == "read")
        QCOMPARE(readFrom(link, 9), QByteArray());
    else
        done = writeTo(link, QByteArray(64 << 20, 'x')); // no socket takes it, and the peer does not read
    QVERIFY(timer.elapsed() >= timeoutMs / (stopped ? 2 : 1) - 1);
    QVERIFY(timer.elapsed() < timeoutMs + 2 * toleranceMs);
    QCOMPARE(link.errorString(), error.replace(QLatin1String("%2"), QString::number(done)).arg(peer.name()));
    QCOMPARE(link.retryCount(), stopped ? 0 : 3);
    QVERIFY(!stopped || (!link.open() && link.errorString() == QLatin1String("interrupted")));
}

// What a driver calls on the link: s deviceSetting, d commandDelay, c isConnected, o open, r retryCount.
void tst_tcp_link::attempts_data()
{
    QTest::addColumn<QByteArray>("calls");
    QTest::addColumn<int>("attempts");
    QTest::newRow("project not loaded") << QByteArray("s") << 0;
    QTest::newRow("done at once") << QByteArray("sdc") << 1;
    QTest::newRow("type not served") << QByteArray("dco") << 1;
    QTest::newRow("done at the third") << QByteArray("dcrdcordc") << 3;
    QTest::newRow("failed, one retry") << QByteArray("dcrdcr") << 2;
    QTest::newRow("sparse reads ask for the pause again") << QByteArray("dcddd") << 1;
}

void tst_tcp_link::attempts()
{
    QFETCH(QByteArray, calls);
    QFETCH(int, attempts);
    Peer peer;
    TcpLink link(QStringLiteral("127.0.0.1"), peer.port(), settingOf(timeoutMs), 1);
    for (int command = 0; command < 2; ++command) {
        link.startCommand();
        for (const char call : calls) {
            if (call == 's')
                QVERIFY(link.deviceSetting());
            else if (call == 'd')
                QCOMPARE(link.commandDelay(), 0);
            else if (call == 'c')
                link.isConnected();
            else if (call == 'o')
                QVERIFY(link.open());
            else
                QCOMPARE(link.retryCount(), 3);
        }
        QCOMPARE(link.attempts(), attempts);
    }
}

void tst_tcp_link::settings()
{
    TcpLink link(QStringLiteral("10.0.0.9"), 1502, DriverSetting(3000, 2, 257, 40), 9);
    QCOMPARE(link.stationId(), 257);
    QCOMPARE(link.commandDelay(), 40);
    QCOMPARE(link.retryCount(), 2);
    QCOMPARE(link.deviceSetting()->linkID, 9);
    QCOMPARE(link.deviceSetting()->string, QStringLiteral("ETHERNET"));
    QCOMPARE(link.deviceSetting()->socketIP(-1), QStringLiteral("10.0.0.9"));
    QCOMPARE(int(link.deviceSetting()->port(-1)), 1502);
    QVERIFY(!link.errorString().contains(QLatin1Char('>')));
}

void tst_tcp_link::trace()
{
    Connection c;
    QVERIFY(c.ready);
    QString text;
    QTextStream out(&text);
    {
        FrameTrace trace(out, QStringLiteral("\x1b[2J"), FrameKind::ModbusTcp);
        c.link.setObserver(&trace);
        writeTo(c.link, request);
        c.peer.send(reply.left(4));
        readFrom(c.link, 4);
        c.peer.send(reply.mid(4) + QByteArray("rubbish"));
        readFrom(c.link, reply.size() - 4);
        Peer::pause(20);
        writeTo(c.link, request);
        c.peer.send(QByteArray::fromHex("000100000003018302") + reply.left(5));
        readFrom(c.link, 14);
        QVERIFY(c.link.open() && c.peer.accept());
        c.peer.finish();
        readFrom(c.link, 9);
        c.link.setObserver(nullptr);
    }
    const QStringList lines = text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QString connected = QStringLiteral("-- connected to \\x1b[2J");
    const QStringList wanted = {
        QStringLiteral("-> tid 1 unit 1 Read Holding Registers address 99 quantity 1 | 00 01 00 00 00 06 01 "
                       "03 00 63 00 01"),
        QStringLiteral(
            "<- tid 1 unit 1 Read Holding Registers 2 data bytes | 00 01 00 00 00 05 01 03 02 00 07"),
        QStringLiteral("<- no Modbus TCP frame | 72 75 62 62 69 73 68"),
        QStringLiteral("<- dropped, nobody waits for it any more | 72 75 62 62 69 73 68"),
        QStringLiteral("-> tid 1 unit 1 Read Holding Registers address 99 quantity 1 | 00 01 00 00 00 06 01 "
                       "03 00 63 00 01"),
        QStringLiteral("<- tid 1 unit 1 Read Holding Registers exception 2 (illegal data address) | 00 01 00 "
                       "00 00 03 01 83 02"),
        QStringLiteral("<- incomplete frame | 00 01 00 00 00"),
        QStringLiteral("-- connection closed"),
        connected,
        QStringLiteral("-- %1 closed the connection").arg(c.peer.name())};
    QCOMPARE(lines.size(), wanted.size());
    for (int i = 0; i < lines.size(); ++i) {
        QVERIFY(QTime::fromString(lines.at(i).left(12), QStringLiteral("HH:mm:ss.zzz")).isValid());
        QCOMPARE(lines.at(i).mid(13), wanted.at(i));
    }
}

QTEST_GUILESS_MAIN(tst_tcp_link)
#include "tst_tcp_link.moc"
