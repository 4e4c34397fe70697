#include "peer.h"
#include "session/frame_trace.h"
#include "session/tcp_link.h"

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

/// A link that is connected to a peer, and both of them ready for a request.
struct Connection
{
    explicit Connection(int timeout = timeoutMs)
        : link(QStringLiteral("127.0.0.1"), peer.port(), settingOf(timeout), 1)
    {
        ready = link.open() && peer.accept();
    }

    Peer peer;
    TcpLink link;
    bool ready;
};

} // namespace

class tst_tcp_link : public QObject
{
    Q_OBJECT

private slots:
    void replies_data();
    void replies();
    void deadlineIsForTheWholeCall();
    void staleBytesAreDropped_data();
    void staleBytesAreDropped();
    void floodClosesTheConnection();
    void hangUpIsNoticed_data();
    void hangUpIsNoticed();
    void lateBytesDoNotReachTheNextConnection();
    void connectFailures();
    void everyAddressOfANameIsTried();
    void connectTimesOut();
    void sendDeadline();
    void stopFlagEndsAWait();
    void attempts_data();
    void attempts();
    void settings();
    void trace();
};

// What the device sends in answer to a request is told by verbs: hexadecimal bytes are sent, "fin" and "rst"
// hang up. The driver reads 9 bytes, then 4.
void tst_tcp_link::replies_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<QString>("error");
    const QByteArray nine = "000100000007010304";
    const QByteArray four = "00070008";
    const QString none;
    QTest::newRow("in one piece") << "00010000000701030400070008" << nine << four << none;
    QTest::newRow("in two pieces") << "0001000000 0701030400070008" << nine << four << none;
    QTest::newRow("byte by byte") << "00 01 00 00 00 07 01 03 04 00 07 00 08" << nine << four << none;
    QTest::newRow("none") << "" << QByteArray() << QByteArray() << "no answer from %1 within 150 ms";
    QTest::newRow("5 of 9 bytes") << "0001000000" << nine.left(10) << QByteArray()
                                  << "only 5 of 9 bytes came from %1 within 150 ms";
    QTest::newRow("11 of 13 bytes") << "0001000000070103040007" << nine << four.left(4)
                                    << "only 11 of 13 bytes came from %1 within 150 ms";
    QTest::newRow("9 of 13 bytes") << "000100000007010304" << nine << QByteArray()
                                   << "only 9 of 13 bytes came from %1 within 150 ms";
    QTest::newRow("closed") << "fin" << QByteArray() << QByteArray() << "%1 closed the connection";
    QTest::newRow("reset") << "rst" << QByteArray() << QByteArray() << "%1 reset the connection";
    QTest::newRow("5 bytes, then closed")
        << "0001000000 fin" << nine.left(10) << QByteArray() << "%1 closed the connection after 5 of 9 bytes";
    QTest::newRow("11 bytes, then closed") << "0001000000070103040007 fin" << nine << four.left(4)
                                           << "%1 closed the connection after 11 of 13 bytes";
    QTest::newRow("all, then closed") << "00010000000701030400070008 fin" << nine << four << none;
}

void tst_tcp_link::replies()
{
    QFETCH(QString, script);
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    QFETCH(QString, error);
    // Only rows that wait for the deadline have a short one, so that a busy machine does not spoil the
    // others.
    const bool waits = error.contains(QLatin1String("within"));
    Connection c(waits ? timeoutMs : generousMs);
    QVERIFY(c.ready);
    QCOMPARE(writeTo(c.link, request), request.size());
    QCOMPARE(c.peer.receive(request.size()), request);
    c.peer.later([&] {
        const QStringList verbs = script.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        for (const QString& verb : verbs) {
            Peer::pause(4);
            if (verb == QLatin1String("fin"))
                c.peer.finish();
            else if (verb == QLatin1String("rst"))
                c.peer.reset();
            else
                c.peer.send(QByteArray::fromHex(verb.toLatin1()));
        }
    });
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(readFrom(c.link, 9).toHex(), first);
    if (first.size() == 18)
        QCOMPARE(readFrom(c.link, 4).toHex(), second);
    QVERIFY(!waits || timer.elapsed() < timeoutMs + toleranceMs);
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

void tst_tcp_link::staleBytesAreDropped_data()
{
    QTest::addColumn<QByteArray>("withTheReply"); ///< comes in one piece with the old reply
    QTest::addColumn<QByteArray>("later");        ///< comes when the old reply has been read
    QTest::addColumn<bool>("asksIfConnected");
    QTest::newRow("reply twice, in one piece") << reply << QByteArray() << true;
    QTest::newRow("second reply later") << QByteArray() << reply << true;
    QTest::newRow("second reply, next request of one command") << reply << reply << false;
    QTest::newRow("more than the link's buffer") << QByteArray() << QByteArray(100000, 'x') << true;
}

void tst_tcp_link::staleBytesAreDropped()
{
    QFETCH(QByteArray, withTheReply);
    QFETCH(QByteArray, later);
    QFETCH(bool, asksIfConnected);
    Connection c;
    QVERIFY(c.ready);
    QCOMPARE(writeTo(c.link, request), request.size());
    c.peer.send(reply + withTheReply);
    QCOMPARE(readFrom(c.link, reply.size()), reply);
    c.peer.send(later);
    Peer::pause(20);
    if (asksIfConnected)
        QVERIFY(c.link.isConnected());
    QCOMPARE(writeTo(c.link, request), request.size());
    c.peer.send(otherReply);
    QCOMPARE(readFrom(c.link, otherReply.size()), otherReply);
    QCOMPARE(c.link.connectionsMade(), 1);
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

void tst_tcp_link::hangUpIsNoticed_data()
{
    QTest::addColumn<bool>("reset");
    QTest::addColumn<QByteArray>("lastWords");
    QTest::newRow("closed") << false << QByteArray();
    QTest::newRow("reset") << true << QByteArray();
    QTest::newRow("closed behind unread bytes") << false << reply;
}

void tst_tcp_link::hangUpIsNoticed()
{
    QFETCH(bool, reset);
    QFETCH(QByteArray, lastWords);
    Connection c;
    QVERIFY(c.ready);
    QVERIFY(c.link.isConnected());
    c.peer.send(lastWords);
    reset ? c.peer.reset() : c.peer.finish();
    Peer::pause(20);
    QVERIFY(!c.link.isConnected());
    QCOMPARE(c.link.errorString(),
             c.peer.name() + (reset ? " reset the connection" : " closed the connection"));
    QCOMPARE(writeTo(c.link, request), -1);
    QVERIFY(c.link.open());
    QVERIFY(c.peer.accept());
    QVERIFY(c.link.isConnected());
    QCOMPARE(c.link.connectionsMade(), 2);
}

void tst_tcp_link::lateBytesDoNotReachTheNextConnection()
{
    Connection c;
    QVERIFY(c.ready);
    c.peer.send(reply);
    c.link.close();
    QVERIFY(!c.link.isConnected());
    QVERIFY(c.link.open());
    QVERIFY(c.peer.accept());
    c.peer.send(otherReply);
    QCOMPARE(readFrom(c.link, otherReply.size()), otherReply);
}

void tst_tcp_link::connectFailures()
{
    Peer peer;
    peer.stopListening();
    TcpLink refused(QStringLiteral("127.0.0.1"), peer.port(), settingOf(timeoutMs), 1);
    QVERIFY(!refused.open());
    QCOMPARE(refused.errorString(), QStringLiteral("connection refused by ") + peer.name());
    QCOMPARE(readFrom(refused, 9), QByteArray());
    QVERIFY(!refused.isConnected());

    TcpLink unnamed(QStringLiteral("no such host"), 502, settingOf(5000), 1);
    QVERIFY(!unnamed.open());
    QVERIFY2(
        unnamed.errorString().startsWith(QLatin1String("host name \"no such host\" can not be resolved")),
        qPrintable(unnamed.errorString()));

    TcpLink unreachable(QStringLiteral("255.255.255.255"), 502, settingOf(timeoutMs), 1);
    QVERIFY(!unreachable.open());
    QVERIFY(unreachable.errorString().contains(QLatin1String("255.255.255.255:502")));

    TcpLink v6(QStringLiteral("::1"), peer.port(), settingOf(timeoutMs), 1);
    QVERIFY(!v6.open());
    QVERIFY(v6.errorString().contains(QStringLiteral(" [::1]:%1").arg(peer.port())));
}

void tst_tcp_link::everyAddressOfANameIsTried()
{
    Peer peer; // listens on IPv4 only; localhost can be ::1 first
    TcpLink link(QStringLiteral("localhost"), peer.port(), settingOf(2000), 1);
    QVERIFY2(link.open(), qPrintable(link.errorString()));
}

void tst_tcp_link::connectTimesOut()
{
    Peer peer(0);
    QVector<int> strays;
    for (int i = 0; i < 4; ++i) // more than the listener's queue takes: further connections get no answer
        strays += peer.strayClient();
    Peer::pause(20);
    TcpLink link(QStringLiteral("127.0.0.1"), peer.port(), settingOf(timeoutMs), 1);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!link.open());
    QVERIFY(timer.elapsed() >= timeoutMs - 1);
    QVERIFY(timer.elapsed() < timeoutMs + toleranceMs);
    QCOMPARE(link.errorString(), QStringLiteral("no connection to %1 within 150 ms").arg(peer.name()));
    for (const int stray : qAsConst(strays))
        ::close(stray);
}

void tst_tcp_link::sendDeadline()
{
    Connection c;
    QVERIFY(c.ready);
    const QByteArray large(64 << 20, 'x'); // no socket buffer takes it, and the peer does not read
    QElapsedTimer timer;
    timer.start();
    const int sent = writeTo(c.link, large);
    QVERIFY(sent > 0 && sent < large.size());
    QVERIFY(timer.elapsed() < timeoutMs + 2 * toleranceMs);
    QCOMPARE(c.link.errorString(), QStringLiteral("%1 took only %2 of %3 bytes within 150 ms")
                                       .arg(c.peer.name())
                                       .arg(sent)
                                       .arg(large.size()));
}

void tst_tcp_link::stopFlagEndsAWait()
{
    std::atomic<bool> stop{false};
    Peer peer;
    TcpLink link(QStringLiteral("127.0.0.1"), peer.port(), settingOf(generousMs), 1);
    link.setStopFlag(&stop);
    QVERIFY(link.open() && peer.accept());
    QCOMPARE(link.retryCount(), 3);
    peer.later([&] {
        Peer::pause(30);
        stop = true;
    });
    QElapsedTimer timer;
    timer.start();
    const QByteArray got = readFrom(link, 9);
    QCOMPARE(got, QByteArray());
    QVERIFY(timer.elapsed() < generousMs / 2);
    QCOMPARE(link.errorString(), QStringLiteral("interrupted while waiting for ") + peer.name());
    QCOMPARE(link.retryCount(), 0);
    QVERIFY(!link.open());
    QCOMPARE(link.errorString(), QStringLiteral("interrupted"));
}

// What a driver asks the link for: s deviceSetting, d commandDelay, c isConnected, o open, r retryCount.
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
        FrameTrace trace(out, c.link.peer(), FrameKind::ModbusTcp);
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
        c.link.close();
        c.link.setObserver(nullptr);
    }
    const QStringList lines = text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
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
        QStringLiteral("-- connection closed")};
    QCOMPARE(lines.size(), wanted.size());
    for (int i = 0; i < lines.size(); ++i) {
        QVERIFY(QTime::fromString(lines.at(i).left(12), QStringLiteral("HH:mm:ss.zzz")).isValid());
        QCOMPARE(lines.at(i).mid(13), wanted.at(i));
    }
}

QTEST_GUILESS_MAIN(tst_tcp_link)
#include "tst_tcp_link.moc"
