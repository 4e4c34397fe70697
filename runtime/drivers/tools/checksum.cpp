#include "checksum.h"

#include "crc.h"

namespace {

const int slice = 8;

// entries[k][b] is what byte b does to the CRC of a slice in which k bytes follow it. The steps over a slice
// are independent look-ups, where a byte-wise CRC waits for each step's result.
struct SlicedTable
{
    SlicedTable()
    {
        for (int byte = 0; byte < 256; ++byte) {
            entries[0][byte] = update_crc_16(0, static_cast<unsigned char>(byte));
            for (int k = 1; k < slice; ++k)
                entries[k][byte] = update_crc_16(entries[k - 1][byte], 0);
        }
    }

    quint16 entries[slice][256];
};

} // namespace

unsigned char UInt8CheckSum(const unsigned char* data, int count)
{
    return static_cast<unsigned char>(UShortCheckSum(data, count) & 0xFF);
}

unsigned short UShortCheckSum(const unsigned char* data, int count)
{
    unsigned int sum = 0;
    for (int i = 0; i < count; ++i)
        sum += data[i];
    return static_cast<unsigned short>(sum & 0xFFFF);
}

unsigned char XorUInt8CheckSum(const unsigned char* data, int count)
{
    unsigned char result = 0;
    for (int i = 0; i < count; ++i)
        result = static_cast<unsigned char>(result ^ data[i]);
    return result;
}

unsigned short CRC16Calculate(const unsigned char* data, int count)
{
    static const SlicedTable table;
    const quint16(*const entries)[256] = table.entries;
    quint16 crc = 0;
    for (; count >= slice; data += slice, count -= slice) {
        int next = entries[slice - 1][data[0] ^ (crc & 0xFF)] ^ entries[slice - 2][data[1] ^ (crc >> 8)];
        for (int i = 2; i < slice; ++i)
            next ^= entries[slice - 1 - i][data[i]];
        crc = static_cast<quint16>(next);
    }
    for (; count > 0; ++data, --count)
        crc = static_cast<quint16>((crc >> 8) ^ entries[0][(crc ^ *data) & 0xFF]);
    return crc;
}
