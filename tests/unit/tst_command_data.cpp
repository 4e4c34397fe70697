#include "communicator_command.h"
#include "hex_bytes.h"
#include "tools/command_data.h"

#include <QtTest>
#include <climits>

static CommunicatorCommand command(int type, int count)
{
    return CommunicatorCommand(static_cast<CommandDataType>(type), count, QString());
}

static int safeLength(int type, int count)
{
    return GetSafeDataLen(command(type, count));
}

static QByteArray safeData(const char* data)
{
    return ToSafeData(command(Word, 2), hex(data)).toHex();
}

class tst_command_data : public QObject
{
    Q_OBJECT

private slots:
    void typeTests()
    {
        for (int type = -1; type < 8; ++type) {
            QCOMPARE(isBitCommand(command(type, 1)), type == 0);
            QCOMPARE(isByteCommand(command(type, 1)), type == 1);
            QCOMPARE(isWordCommand(command(type, 1)), type == 2);
            QCOMPARE(isDoubleWordCommand(command(type, 1)), type == 3);
            QCOMPARE(isBlockCommand(command(type, 1)), type == 5);
        }
    }

    void sizes_data()
    {
        QTest::addColumn<uint>("offset");
        QTest::addColumn<uint>("bits");
        QTest::addColumn<uint>("bytes");
        QTest::addColumn<uint>("words");
        QTest::addColumn<uint>("doubleWords");
        QTest::addColumn<uint>("quadWords");
        QTest::newRow("none") << 0u << 0u << 0u << 0u << 0u << 0u;
        QTest::newRow("one word") << 0u << 16u << 2u << 1u << 1u << 1u;
        QTest::newRow("across a border") << 15u << 2u << 3u << 2u << 1u << 1u;
        QTest::newRow("offset beyond a word") << 31u << 2u << 5u << 3u << 2u << 1u;
        QTest::newRow("just above") << 64u << 1u << 9u << 5u << 3u << 2u;
        QTest::newRow("most bits") << 0u << UINT_MAX << 0x20000000u << 0x10000000u << 0x08000000u
                                   << 0x04000000u;
        QTest::newRow("sum that wraps") << 2u << UINT_MAX << 1u << 1u << 1u << 1u;
    }

    void sizes()
    {
        QFETCH(uint, offset);
        QFETCH(uint, bits);
        QFETCH(uint, bytes);
        QTEST(NumOfBitsToNumOfBytes(offset, bits), "bytes");
        QTEST(NumOfBitsToNumOfWords(offset, bits), "words");
        QTEST(NumOfBitsToNumOfDWords(offset, bits), "doubleWords");
        QTEST(NumOfBytesToNumOfWords(bytes), "words");
        QTEST(NumOfBytesToNumOfDWords(bytes), "doubleWords");
        QTEST(NumOfBytesToNumOfQuadWords(bytes), "quadWords");
        QCOMPARE(NumOfBytesToNumOfQuadWords(UINT_MAX), 1u << 29);
    }

    void padding()
    {
        QCOMPARE(To16bitsData("abc"), QByteArray("abc\0", 4));
        QCOMPARE(To16bitsData("abcd"), QByteArray("abcd"));
        QCOMPARE(To32bitsData("abcde"), QByteArray("abcde\0\0\0", 8));
        QCOMPARE(To64bitsData("abcde"), QByteArray("abcde\0\0\0", 8));
        QCOMPARE(To64bitsData(QByteArray(12, 'x')), QByteArray(12, 'x') + QByteArray(4, '\0'));
        QCOMPARE(To64bitsData(QByteArray()), QByteArray());
    }

    void dataOfCommands()
    {
        QVERIFY(safeLength(Bit, 8) == 1 && safeLength(Bit, 9) == 2 && safeLength(BitBlock, 0) == 0);
        QVERIFY(safeLength(Byte, 7) == 7 && safeLength(Block, 7) == 7 && safeLength(Word, 3) == 6);
        QVERIFY(safeLength(DoubleWord, 3) == 12 && safeLength(QuadWord, 3) == 24 && safeLength(7, 100) == 0);
        // Counts that wrap.
        QCOMPARE(safeLength(Word, int(0x80000001)), 2);
        QCOMPARE(safeLength(DoubleWord, 0x40000001), 4);
        QCOMPARE(safeLength(Word, INT_MAX), -2);
        QCOMPARE(safeLength(Byte, -1), -1);
        QCOMPARE(safeLength(Bit, -1), 0x20000000);
        QCOMPARE(ToSafeData(CommunicatorCommand(Word, INT_MAX, QString()), "ab"), QByteArray());
        QCOMPARE(safeData("0102030405"), QByteArray("01020304"));
        QCOMPARE(safeData("01"), QByteArray("01000000"));
        QCOMPARE(safeData("01020304"), QByteArray("01020304"));
    }
};

QTEST_MAIN(tst_command_data)
#include "tst_command_data.moc"
