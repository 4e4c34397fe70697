#include "hex_bytes.h"
#include "tools/pack.h"

#include <QtTest>
#include <cstring>

// Unaligned memory filled with EE, so that every byte that was written or left shows.
class Memory
{
public:
    explicit Memory(const QByteArray& content = QByteArray())
    {
        std::memset(m_bytes, 0xEE, sizeof m_bytes);
        std::memcpy(at(0), content.constData(), static_cast<size_t>(content.size()));
    }
    unsigned char* at(int index) { return m_bytes + 1 + index; }
    QByteArray hexOf(int size) { return QByteArray(reinterpret_cast<char*>(at(0)), size).toHex(); }

private:
    unsigned char m_bytes[65];
};

// Packs with the caller's va_list, into memory and into an array.
static QByteArray packList(const char* format, ...)
{
    va_list args, again;
    va_start(args, format);
    va_copy(again, args);
    Memory out;
    const int written = VDataPack(out.at(0), format, args);
    const QByteArray bytes = VByteArrayPack(format, again);
    va_end(again);
    va_end(args);
    return written == bytes.size() && out.hexOf(written) == bytes.toHex() ? bytes
                                                                          : QByteArray("forms differ");
}

static int unpackList(const unsigned char* in, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int consumed = VDataUnpack(in, format, args);
    va_end(args);
    return consumed;
}

static void addField(const char* rule, const char* format, const char* frame, const char* targets)
{
    QTest::newRow(rule) << QByteArray(format) << hex(frame) << hex(targets).leftJustified(16, '\xee');
}

static void addEdge(const QByteArray& format, int packed, const char* written, int unpacked)
{
    QTest::newRow(format.constData()) << packed << QByteArray(written) << unpacked;
}

class tst_pack : public QObject
{
    Q_OBJECT

private slots:
    // The numbers packed are a1b2c3d4, 11223344, 55667788 and 99aabbcc.
    void fields_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QByteArray>("frame");   // EE: left by DataPack
        QTest::addColumn<QByteArray>("targets"); // four variables of 32 bits, in memory order
        addField("C c take a byte", "Cc", "d4 44", "d4eeeeee 44eeeeee");
        addField("n is big-endian", "nn", "c3d4 3344", "d4c3eeee 4433eeee");
        addField("S s v are little-endian", "Ssv", "d4c3 4433 8877", "d4c3eeee 4433eeee 8877eeee");
        addField("N is big-endian", "NN", "a1b2c3d4 11223344", "d4c3b2a1 44332211");
        addField("I i L l are little-endian", "IiLl", "d4c3b2a1 44332211 88776655 ccbbaa99",
                 "d4c3b2a1 44332211 88776655 ccbbaa99");
        addField("V is little-endian", "CV", "d4 44332211", "d4eeeeee 44332211");
        addField("x takes no argument", "xCxn", "00 d4 00 3344", "d4eeeeee 4433eeee");
        addField("X leaves its byte", "XCX", "ee d4 ee", "d4eeeeee");
        addField("header of a frame", "nnnC", "c3d4 3344 7788 cc", "d4c3eeee 4433eeee 8877eeee cceeeeee");
    }

    void fields()
    {
        QFETCH(QByteArray, format);
        QFETCH(QByteArray, frame);
        QFETCH(QByteArray, targets);
        const int a = static_cast<int>(0xA1B2C3D4), b = 0x11223344, c = 0x55667788,
                  d = static_cast<int>(0x99AABBCC);
        Memory out, in(frame), stored;
        QCOMPARE(DataPack(out.at(0), format, a, b, c, d), frame.size());
        QCOMPARE(out.hexOf(frame.size() + 1), frame.toHex() + "ee");
        QCOMPARE(ByteArrayPack(format, a, b, c, d).toHex(), QByteArray(frame).replace('\xee', '\0').toHex());
        QCOMPARE(DataUnpack(in.at(0), format, stored.at(0), stored.at(4), stored.at(8), stored.at(12)),
                 frame.size());
        QCOMPARE(stored.hexOf(16), targets.toHex());
    }

    void arrays_data()
    {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<int>("moved"); // bytes of the array 34 12 cd ab 04 03 02 01 ff 80 7f
        QTest::newRow("3C") << hex("3412cd") << 3;
        QTest::newRow("11c") << hex("3412cdab 04030201 ff807f") << 11;
        QTest::newRow("2n") << hex("1234 abcd") << 4;
        QTest::newRow("2v") << hex("3412 cdab") << 4;
        QTest::newRow("2N") << hex("abcd1234 01020304") << 8;
        QTest::newRow("2V") << hex("3412cdab 04030201") << 8;
        QTest::newRow("01n") << hex("1234") << 2;
    }

    void arrays()
    {
        QFETCH(QByteArray, frame);
        QFETCH(int, moved);
        const QByteArray format = QByteArray(QTest::currentDataTag()) + 'C',
                         elements = hex("3412cdab04030201ff807f");
        Memory array(elements), out, unpacked, in(frame + '\x5a');
        QCOMPARE(DataPack(out.at(0), format, array.at(0), 0x5A), frame.size() + 1);
        QCOMPARE(out.hexOf(frame.size() + 2), frame.toHex() + "5aee");
        QCOMPARE(ByteArrayPack(format, array.at(0), 0x5A).toHex(), frame.toHex() + "5a");
        QCOMPARE(DataUnpack(in.at(0), format, unpacked.at(0), unpacked.at(20)), frame.size() + 1);
        QCOMPARE(unpacked.hexOf(moved + 1), elements.left(moved).toHex() + "ee");
        QCOMPARE(int(*unpacked.at(20)), 0x5A);
    }

    void edges_data()
    {
        QTest::addColumn<int>("packed");         // result of DataPack
        QTest::addColumn<QByteArray>("written"); // what it wrote, where each number is 5a5a5a5a
        QTest::addColumn<int>("unpacked");       // result of DataUnpack; ByteArrayPack fails in every row
        addEdge("", 0, "", 0);
        for (int letter = 1; letter < 256; ++letter) {
            if (!strchr("CcnSsvNIiLlVxX0123456789", letter))
                addEdge(QByteArray("C") + char(letter), 0, "5a", -1);
        }
        addEdge("3xC", 4, "0000005a", 4);
        addEdge("2XC", 3, "eeee5a", 3);
        addEdge("0xC", 1, "5a", 1);
        addEdge("C0X", 1, "5a", 1);
        const char* const wrong[] = {"C0C",          "C0c",          "C0n",          "C0v",        "C0N",
                                     "C0V",          "C2q",          "C2S",          "C2s",        "C2I",
                                     "C2i",          "C2L",          "C2l",          "C2",         "C2 C",
                                     "C2147483648C", "C4294967295x", "C1073741824n", "C536870912N"};
        for (size_t i = 0; i < sizeof wrong / sizeof wrong[0]; ++i)
            addEdge(wrong[i], -1, "5a", -1);
    }

    void edges()
    {
        QFETCH(QByteArray, written);
        const char* const format = QTest::currentDataTag();
        Memory out, in, targets;
        QTEST(DataPack(out.at(0), format, 0x5A5A5A5A, 0x5A5A5A5A), "packed");
        QCOMPARE(out.hexOf(written.size() / 2 + 1), written + "ee");
        QCOMPARE(ByteArrayPack(format, 0x5A5A5A5A, 0x5A5A5A5A).toHex(), QByteArray());
        QTEST(DataUnpack(in.at(0), format, targets.at(0), targets.at(8)), "unpacked");
    }

    void moreArgumentsThanRegistersCarry()
    {
        const char* const format = "CnvNVnCvnC";
        Memory in(hex("01 0002 0300 00000004 05000000 0006 07 0800 0009 0a")), out;
        QCOMPARE(packList(format, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10).toHex(), in.hexOf(21));
        QCOMPARE(unpackList(in.at(0), format, out.at(0), out.at(1), out.at(3), out.at(5), out.at(9),
                            out.at(13), out.at(15), out.at(16), out.at(18), out.at(20)),
                 21);
        QCOMPARE(out.hexOf(22), hex("01 0200 0300 04000000 05000000 0600 07 0800 0900 0a ee").toHex());
    }

    void appendsBigEndian()
    {
        QByteArray bytes("x");
        appendBigEndianUShort(bytes, 0x80FF);
        QCOMPARE(bytes.toHex(), QByteArray("7880ff"));
    }
};

QTEST_MAIN(tst_pack)
#include "tst_pack.moc"
