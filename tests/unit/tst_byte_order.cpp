#include "hex_bytes.h"
#include "tools/byte_order.h"

#include <QtTest>
#include <climits>

static QByteArray inPlace(void (*reverse)(QByteArray&), QByteArray data)
{
    reverse(data);
    return data.toHex();
}

class tst_byte_order : public QObject
{
    Q_OBJECT

private slots:
    void incompleteElements()
    {
        const QByteArray data = hex("0102030405");
        QCOMPARE(toBigEndianUShortArray(data).toHex(), QByteArray("020104030005"));
        QCOMPARE(toBigEndianULongArray(data).toHex(), QByteArray("0403020100000005"));
        QCOMPARE(inPlace(toLittleEndianUShortArray, data), QByteArray("0201040305"));
        QCOMPARE(inPlace(toLittleEndianULongArray, data), QByteArray("0403020105"));
        QCOMPARE(reverseArray(data).toHex(), QByteArray("0504030201"));
        QCOMPARE(toBigEndianULongArray(hex("341278")).toHex(), QByteArray("00781234"));
        QVERIFY(toBigEndianUShortArray(QByteArray()).isEmpty() && reverseArray(QByteArray()).isEmpty());
    }

    // Byte i of an element of n bytes comes from its byte i ^ (n - 1).
    void everyLengthAndAlignment()
    {
        const QByteArray source = someBytes(160);
        for (int offset = 0; offset < 16; ++offset) {
            for (int count = 0; count <= 36; ++count) {
                QByteArray words, doubleWords;
                for (int i = 0; i < 2 * count; ++i)
                    words += source.at(offset + (i ^ 1));
                for (int i = 0; i < 4 * count; ++i)
                    doubleWords += source.at(offset + (i ^ 3));
                QCOMPARE(fromBigEndianUShortArray(bytesOf(source) + offset, count), words);
                QCOMPARE(fromBigEndianULongArray(bytesOf(source) + offset, count), doubleWords);
                QCOMPARE(toBigEndianULongArray(doubleWords), source.mid(offset, 4 * count));
                QCOMPARE(inPlace(toLittleEndianUShortArray, words), source.mid(offset, 2 * count).toHex());
            }
        }
    }

    void countsOutOfRange()
    {
        const unsigned char byte = 1;
        QVERIFY(fromBigEndianUShortArray(&byte, -1).isEmpty() &&
                fromBigEndianUShortArray(&byte, INT_MAX).isEmpty());
        QVERIFY(fromBigEndianULongArray(&byte, INT_MIN).isEmpty() &&
                fromBigEndianULongArray(&byte, 1 << 30).isEmpty());
    }

    void numbers()
    {
        QCOMPARE(QByteArrayToInt(hex("8081ff")), 0xFF8180); // as many bytes as there are
        QCOMPARE(QByteArrayToInt(hex("fdffffff05")), -3);
        QCOMPARE(QByteArrayToInt(QByteArray()), 0);
        QCOMPARE(int(QByteArrayToWord(hex("8081ff"))), 0x8180);
        QCOMPARE(int(QByteArrayToWord(hex("ff"))), 255);
        QCOMPARE(int(QByteArrayToShort(hex("8081ff"))), 0x8180 - 0x10000);
        QCOMPARE(int(QByteArrayToShort(hex("ff"))), 255);
        QCOMPARE(intToByteArray(-3), hex("fdffffff"));
        QCOMPARE(wordToByteArray(0x8180), hex("8081"));
        QCOMPARE(shortToByteArray(-2), hex("feff"));
        QVERIFY(!isBigEndian());
    }
};

QTEST_MAIN(tst_byte_order)
#include "tst_byte_order.moc"
