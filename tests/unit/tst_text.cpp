#include "hex_bytes.h"
#include "tools/text.h"

#include <QtTest>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// Memory of exactly this size, so that the address sanitizer stops a read beyond it.
static std::vector<char> exactly(const QByteArray& bytes, int size)
{
    return std::vector<char>(bytes.constData(), bytes.constData() + size);
}

class tst_text : public QObject
{
    Q_OBJECT

private slots:
    void hexadecimal_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("length");
        QTest::addColumn<uint>("number");
        QTest::newRow("with 0x") << QByteArray("0x1F") << 4 << 0x1Fu;
        QTest::newRow("with 0X") << QByteArray("0Xa") << 3 << 0xAu;
        QTest::newRow("without 0x") << QByteArray("1f") << 2 << 0x1Fu;
        QTest::newRow("leading zero") << QByteArray("0A") << 2 << 10u;
        QTest::newRow("length cuts") << QByteArray("1F") << 1 << 1u;
        QTest::newRow("length ends after 0x") << QByteArray("0x1F") << 2 << 0u;
        QTest::newRow("length ends before x") << QByteArray("0x1F") << 1 << 0u;
        QTest::newRow("0x twice") << QByteArray("0x0x1") << 5 << 0u;
        QTest::newRow("no digit at the end") << QByteArray("0x1G") << 4 << 0u;
        QTest::newRow("no digit at the start") << QByteArray("x1") << 2 << 0u;
        QTest::newRow("above ASCII") << QByteArray("1\xb1") << 2 << 0u;
        QTest::newRow("ends at a zero byte") << hex("3132003300") << 5 << 0x12u;
        QTest::newRow("zero byte after 0x") << hex("30780031") << 4 << 0u;
        QTest::newRow("more than 32 bits") << QByteArray("123456789aBcDeF0") << 16 << 0x9ABCDEF0u;
        QTest::newRow("no length") << QByteArray("1F") << 0 << 0u;
    }

    void hexadecimal()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, length);
        QTEST(HexToUInt(exactly(text, length).data(), length), "number");
        QCOMPARE(HexToUInt(text, -1), 0u);
    }

    void dump()
    {
        QCOMPARE(dumpByteArray(hex("410f")), QString::fromLatin1("(0X41 0Xf ) : A\x0f"));
        QCOMPARE(dumpByteArray(QByteArray()), QString::fromLatin1("() : "));
        QCOMPARE(dumpByteArray(hex("410042")), QString::fromLatin1("(0X41 0X0 0X42 ) : A"));
        const std::vector<char> unterminated = exactly("\xe4\xff", 2);
        QCOMPARE(dumpByteArray(QByteArray::fromRawData(unterminated.data(), 2)),
                 QString::fromLatin1("(0Xe4 0Xff ) : \xe4\xff"));
    }

    void processes()
    {
        QVERIFY(ProcessIsRunning(getpid()));
        QVERIFY(ProcessIsRunning(1)); // another user's, unless the test runs as root
        QVERIFY(ProcessIsRunning(getpid() + (1LL << 32)));
        const pid_t child = fork();
        if (child == 0)
            pause();
        QVERIFY(ProcessIsRunning(child));
        kill(child, SIGKILL);
        QCOMPARE(waitpid(child, nullptr, 0), child);
        QVERIFY(!ProcessIsRunning(child));
    }
};

QTEST_MAIN(tst_text)
#include "tst_text.moc"
