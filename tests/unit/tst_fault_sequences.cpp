#include "modbus_tcp_slave.h"
#include "project_fixture.h"
#include "scripted_link.h"
#include "tools.h"

#include <QtTest>
#include <qmath.h>

/// What a device can answer: the good reply with a byte changed, cut to a length, behind other bytes ("E" is
/// an exception reply); whether the rest comes with the next answer; and how many attempts that costs at
/// most.
static const struct
{
    int changedByte, change, length;
    const char* ahead;
    bool restIsLate;
    int attempts;
} replies[] = {
    {0, 0, 99, "", false, 0},         // good
    {0, 0, 0, "E", false, 1},         // exception
    {0, 0, 99, "E", false, 2},        // exception, then the reply
    {1, 1, 99, "", false, 1},         // wrong transaction
    {6, 1, 99, "", false, 1},         // wrong unit
    {7, 7, 99, "", false, 1},         // wrong function code
    {5, 1, 99, "", false, 1},         // wrong length
    {0, 0, 99, "\xA5\x5A", false, 1}, // garbage ahead
    {0, 0, 0, "", false, 1},          // silence
    {0, 0, 0, "", true, 1},           // all of it late
    {0, 0, 8, "", true, 1},           // cut inside its first nine bytes
    {0, 0, 10, "", true, 1},          // cut behind them
    {0, 0, 0, "", false, 1},          // the device closes the connection
};
static const int Kinds = sizeof replies / sizeof *replies;

static QByteArray asRegister(int value)
{
    return QByteArray(1, char(value >> 8)) + char(value);
}

/// Answers as a sequence of kinds tells, then well. Its registers hold the number of the latest request, so
/// that the reply to any other one is recognised. The link drops nothing by itself.
class FaultyDevice : public ScriptedLink
{
public:
    int writeData(const char* data, int length) override
    {
        const QByteArray request(data, length);
        const bool isRead = request.at(7) == 3;
        const int kind = requests < sequence.size() ? sequence.at(requests) : 0;
        ++requests;
        bad += kind != 0 || !m_incoming.isEmpty();
        written += isRead ? QByteArray() : request.right(2);
        const QByteArray pdu = isRead ? "\3\2" + asRegister(requests) : request.mid(7, 5);
        QByteArray reply = request.left(5) + char(pdu.size() + 1) + request.at(6) + pdu;
        const QByteArray exception = reply.left(5) + '\3' + reply.at(6) + char(reply.at(7) | 0x80) + '\6';
        const int changed = replies[kind].changedByte;
        reply[changed] = char(reply.at(changed) ^ replies[kind].change);
        const QByteArray ahead = replies[kind].ahead;
        m_incoming += late + (ahead == "E" ? exception : ahead) + reply.left(replies[kind].length);
        late = replies[kind].restIsLate ? reply.mid(replies[kind].length) : QByteArray();
        if (kind == Kinds - 1)
            close();
        return length;
    }

    void close() override
    {
        late.clear();
        ScriptedLink::close();
    }

    QByteArray sequence;
    int requests;       ///< since the sequence began
    int bad;            ///< replies that no driver may accept, since the sequence began
    QByteArray written; ///< the last two bytes of each write
    QByteArray late;    ///< comes ahead of the next answer, unless the link is closed before
};

class tst_fault_sequences : public QObject
{
    Q_OBJECT

private slots:
    void everySequence_data();
    void everySequence();
};

/// wire: the values that the last attempt must have written; none: bit 15 of what the register held.
void tst_fault_sequences::everySequence_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("wire");
    QTest::newRow("read") << "HR1" << 1 << hex("") << hex("");
    QTest::newRow("16") << "HR1" << 1 << hex("3412") << hex("1234");
    QTest::newRow("6") << "FN6HR1" << 2 << hex("34127856") << hex("12345678");
    QTest::newRow("5") << "FN5DO1" << 2 << hex("01") << hex("FF000000");
    QTest::newRow("3 and 16") << "HR1.15" << 1 << hex("01") << hex("");
    QTest::newRow("3 and 6") << "FN6HR1.15" << 1 << hex("01") << hex("");
}

void tst_fault_sequences::everySequence()
{
    QFETCH(QString, address);
    QFETCH(int, count);
    QFETCH(QByteArray, data);
    QFETCH(QByteArray, wire);
    const CommunicatorCommand command(data.size() == 1 ? Bit : Word, count, address);
    ProjectFixture::clear();
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList()));
    DriverModbusTcpSlave driver;
    FaultyDevice device;

    const int length = qgetenv("SMALL_PROJECTS").isEmpty() ? 4 : 3;
    for (int number = 0; number < 3 * qPow(Kinds, length); ++number) {
        device.sequence.clear();
        device.retries = number % 3;
        int attempts = 0;
        for (int rest = number / 3; device.sequence.size() < length; rest /= Kinds) {
            device.sequence += char(rest % Kinds);
            attempts += replies[rest % Kinds].attempts;
        }
        device.requests = device.bad = 0;
        for (bool done = false; !done || device.requests < length;) {
            const int before = device.bad;
            const QByteArray read = data.isEmpty() ? driver.read(&device, command) : QByteArray();
            done = data.isEmpty() ? !read.isEmpty() : driver.write(&device, command, data);
            const int bad = device.bad - before;
            const QByteArray wanted = wire.isEmpty() ? asRegister((device.requests - 1) | 0x8000) : wire;
            const bool isRight = data.isEmpty() ? toBigEndianUShortArray(read) == asRegister(device.requests)
                                                : device.written.endsWith(wanted);
            QVERIFY2(done ? isRight && bad <= device.retries : bad == device.retries + 1,
                     device.sequence.toHex());
            QVERIFY2(done != driver.hasError() && device.bad <= attempts, device.sequence.toHex());
        }
        device.written.clear();
    }
}

QTEST_MAIN(tst_fault_sequences)
#include "tst_fault_sequences.moc"
