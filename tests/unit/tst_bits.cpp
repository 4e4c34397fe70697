#include "hex_bytes.h"
#include "tools/bits.h"

#include <QtTest>

// The bits of an array as a text of 0 and 1, bit 0 first: shifting and copying bits becomes cutting text.
static QByteArray bitText(const QByteArray& bytes)
{
    QByteArray text;
    for (int bit = 0; bit < 8 * bytes.size(); ++bit)
        text += (bytes.at(bit / 8) >> (bit % 8)) & 1 ? '1' : '0';
    return text;
}

static QByteArray copied(const char* destination, const char* source, int start, int count)
{
    QByteArray to = hex(destination), from = hex(source);
    CopyBits(to, from, start, count);
    return to.toHex();
}

static QByteArray changed(void (*change)(QByteArray& bits, int n), const char* bits, int n)
{
    QByteArray bytes = hex(bits);
    change(bytes, n);
    return bytes.toHex();
}

static QByteArray rotated(QByteArray text, int first)
{
    RotateArray(text.data(), first, text.size() - first);
    return text;
}

template<typename Number>
static void checkNumber(int bit, uint mask)
{
    const unsigned short position = static_cast<unsigned short>(bit);
    const Number one = static_cast<Number>(mask), all = static_cast<Number>(~0u); // one: 0 if beyond the type
    QCOMPARE(setBit(Number(0), position), one);
    QCOMPARE(setBit(all, position), all);
    QCOMPARE(clearBit(all, position), static_cast<Number>(all ^ one));
    QCOMPARE(getBit(all, position), one != 0);
    QCOMPARE(getBit(static_cast<Number>(all ^ one), position), false);
}

class tst_bits : public QObject
{
    Q_OBJECT

private slots:
    void bitsOfNumbers()
    {
        for (int position = 0; position < 70; ++position) {
            const uint mask = position < 32 ? 1u << position : 0;
            checkNumber<unsigned char>(position, mask);
            checkNumber<unsigned short>(position, mask);
            checkNumber<unsigned int>(position, mask);
        }
        checkNumber<unsigned short>(65535, 0);
    }

    void bitsOfArrays()
    {
        QByteArray bits = hex("80");
        const QByteArray copy = bits;
        QVERIFY(getBit(bits, 7) && !getBit(bits, 6) && !getBit(bits, 8) && !getBit(bits, 1 << 30) &&
                !getBit(bits, -1));
        setBit(bits, 17, true);
        setBit(bits, 7, false);
        setBit(bits, 32, false);
        setBit(bits, -1, true);
        QCOMPARE(bits.toHex(), QByteArray("0000020000"));
        QCOMPARE(copy.toHex(), QByteArray("80"));
        unsigned char raw[] = {0xFF, 0x00};
        setBit(raw, 3, false);
        setBit(raw, 15, true);
        QVERIFY(raw[0] == 0xF7 && raw[1] == 0x80 && getBit(raw, 15) && !getBit(raw, 3));
        QVERIFY(getBitData(hex("0100")) && !getBitData(hex("feff")) && !getBitData(QByteArray()));
    }

    void copyBits()
    {
        QCOMPARE(copied("ffffff", "05", 4, 16), QByteArray("5f00f0"));
        QCOMPARE(copied("ff", "00", 100, 0), QByteArray("ff"));
        QCOMPARE(copied("ff", "00", 0, -1), QByteArray("ff"));
        QByteArray bits = hex("05"); // onto itself, bits just written are read again
        CopyBits(bits, bits, 3, 9);
        QCOMPARE(bits.toHex(), QByteArray("6d0b"));
    }

    void copyBitsIsCuttingText()
    {
        for (int round = 0; round < 3000; ++round) {
            QByteArray destination = someBytes(qrand() % 12), source = someBytes(qrand() % 12);
            const int start = qrand() % 64, count = 1 + qrand() % 64;
            const int size = qMax(destination.size(), (start + count + 7) / 8);
            QByteArray expected = bitText(destination).leftJustified(8 * size, '0');
            expected.replace(start, count, bitText(source).leftJustified(count, '0', true));
            CopyBits(destination, source, start, count);
            QCOMPARE(bitText(destination), expected);
        }
    }

    void rightShift()
    {
        QCOMPARE(changed(RightShiftNBits, "ffff", 16), QByteArray("0000"));
        QCOMPARE(changed(RightShiftNBits, "ffff", 1000), QByteArray("0000"));
        QCOMPARE(changed(RightShiftNBits, "", 3), QByteArray());
    }

    void rightShiftIsCuttingText()
    {
        for (int size = 1; size < 40; ++size) {
            for (int n = 0; n < 8 * size; ++n) {
                QByteArray bits = someBytes(size);
                const QByteArray copy = bits, before = bitText(bits);
                const QByteArray expected =
                    before.mid(n).leftJustified(8 * (size - n / 8), '0') + before.left(n / 8 * 8);
                RightShiftNBits(bits, n);
                QCOMPARE(bitText(bits), expected);
                QCOMPARE(bitText(copy), before);
            }
        }
    }

    void sizes()
    {
        QCOMPARE(changed(FitBitArray, "ffffff", 11), QByteArray("ffff"));
        QCOMPARE(changed(FitBitArray, "ff", 17), QByteArray("ff0000"));
        QCOMPARE(changed(FitBitArray, "ff", 0), QByteArray());
        QCOMPARE(changed(clearUnnecessaryBits, "ffffff", 11), QByteArray("ff07ff"));
        QCOMPARE(changed(clearUnnecessaryBits, "ffffff", 16), QByteArray("ffffff"));
        QCOMPARE(changed(clearUnnecessaryBits, "ff", 9), QByteArray("ff"));
        const QByteArray sixteenBits = QByteArray::fromRawData("\x81\x01\xff", 2);
        QCOMPARE(ExpandBitsToBytes(sixteenBits, 7, 10).toHex(), QByteArray("01010000000000000000"));
        QCOMPARE(ExpandBitsToBytes(hex("ff"), 65535, 2).toHex(), QByteArray("0000"));
        QCOMPARE(ExpandBitsToBytes(hex("ff"), 0, -1).toHex(), QByteArray());
        QCOMPARE(rotated("abCDEF", 2), QByteArray("CDEFab"));
        QCOMPARE(rotated("abcdEF", 4), QByteArray("EFabcd"));
        QCOMPARE(rotated("ABC", 0), QByteArray("ABC"));
    }
};

QTEST_MAIN(tst_bits)
#include "tst_bits.moc"
