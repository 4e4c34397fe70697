#include "crc.h"
#include "hex_bytes.h"
#include "tools/checksum.h"

#include <QtTest>

template<typename Crc>
static Crc steps(Crc (*step)(Crc, unsigned char), uint start, const QByteArray& bytes)
{
    Crc crc = static_cast<Crc>(start);
    for (int i = 0; i < bytes.size(); ++i)
        crc = step(crc, bytesOf(bytes)[i]);
    return crc;
}

static uint sick(const QByteArray& bytes)
{
    quint16 crc = 0;
    for (int i = 0; i < bytes.size(); ++i)
        crc = update_crc_sick(crc, bytesOf(bytes)[i], i > 0 ? bytesOf(bytes)[i - 1] : 0);
    return crc;
}

// Polynomial division as hardware does it, one bit at a time, the lowest bit of each byte first.
static uint division(uint polynomial, uint crc, const QByteArray& bytes)
{
    for (int bit = 0; bit < 8 * bytes.size(); ++bit) {
        const uint in = (static_cast<uint>(bytes.at(bit / 8)) >> (bit % 8)) & 1;
        crc = ((crc ^ in) & 1) != 0 ? (crc >> 1) ^ polynomial : crc >> 1;
    }
    return crc;
}

// The same with the highest bit first.
static uint division1021(uint crc, const QByteArray& bytes)
{
    for (int bit = 0; bit < 8 * bytes.size(); ++bit) {
        const uint in = (static_cast<uint>(bytes.at(bit / 8)) >> (7 - bit % 8)) & 1;
        crc = ((crc >> 15) ^ in) != 0 ? ((crc << 1) ^ 0x1021) & 0xFFFF : (crc << 1) & 0xFFFF;
    }
    return crc;
}

class tst_crc : public QObject
{
    Q_OBJECT

private slots:
    // tst_threads has those of the other functions.
    void publishedCheckValues()
    {
        const QByteArray text("123456789");
        QCOMPARE(uint(CRC16Calculate(bytesOf(text), 9)), 0xBB3Du);      // CRC-16/ARC
        QCOMPARE(uint(steps(update_crc_16, 0xFFFF, text)), 0x4B37u);    // CRC-16/MODBUS
        QCOMPARE(uint(steps(update_crc_ccitt, 0xFFFF, text)), 0x29B1u); // CRC-16/CCITT-FALSE
        QCOMPARE(sick(text) >> 8 | (sick(text) & 0xFF) << 8, 0x56A6u);  // SICK, bytes exchanged
    }

    void bitByBit()
    {
        for (int size = 0; size < 300; ++size) {
            const QByteArray bytes = someBytes(size);
            const uint start = static_cast<uint>(qrand()) & 0xFFFF;
            QCOMPARE(uint(steps(update_crc_16, start, bytes)), division(0xA001, start, bytes));
            QCOMPARE(uint(steps(update_crc_kermit, start, bytes)), division(0x8408, start, bytes));
            QCOMPARE(uint(steps(update_crc_dnp, start, bytes)), division(0xA6BC, start, bytes));
            QCOMPARE(steps(update_crc_32, ~start, bytes), division(0xEDB88320u, ~start, bytes));
            QCOMPARE(uint(steps(update_crc_ccitt, start, bytes)), division1021(start, bytes));
        }
    }

    void sums()
    {
        const QByteArray bytes = hex("ff02"), many(260, '\xff');
        QCOMPARE(int(UInt8CheckSum(bytesOf(bytes), 2)), 1);
        QCOMPARE(int(UShortCheckSum(bytesOf(bytes), 2)), 0x101);
        QCOMPARE(int(XorUInt8CheckSum(bytesOf(bytes), 2)), 0xFD);
        QCOMPARE(int(UShortCheckSum(bytesOf(many), 260)), 0x02FC);
        for (int count = -1; count < 1; ++count) {
            QVERIFY(UInt8CheckSum(bytesOf(bytes), count) == 0 && UShortCheckSum(bytesOf(bytes), count) == 0);
            QVERIFY(XorUInt8CheckSum(bytesOf(bytes), count) == 0 &&
                    CRC16Calculate(bytesOf(bytes), count) == 0);
        }
    }
};

QTEST_MAIN(tst_crc)
#include "tst_crc.moc"
