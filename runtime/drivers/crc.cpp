#include "crc.h"

namespace {

// The effect of one byte on a CRC, for each value that the byte can have.
template<typename Crc>
struct ReflectedTable
{
    explicit ReflectedTable(Crc polynomial)
    {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            Crc crc = static_cast<Crc>(byte);
            for (int bit = 0; bit < 8; ++bit)
                crc = static_cast<Crc>((crc >> 1) ^ ((crc & 1) != 0 ? polynomial : 0));
            entries[byte] = crc;
        }
    }

    Crc step(Crc crc, unsigned char c) const
    {
        return static_cast<Crc>((crc >> 8) ^ entries[(crc ^ c) & 0xFF]);
    }

    Crc entries[256];
};

struct CcittTable
{
    CcittTable()
    {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            unsigned int crc = byte << 8;
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc << 1) ^ ((crc & 0x8000) != 0 ? 0x1021 : 0);
            entries[byte] = static_cast<quint16>(crc);
        }
    }

    quint16 step(quint16 crc, unsigned char c) const
    {
        return static_cast<quint16>((crc << 8) ^ entries[(crc >> 8) ^ c]);
    }

    quint16 entries[256];
};

} // namespace

quint16 update_crc_ccitt(quint16 crc, unsigned char c)
{
    static const CcittTable table;
    return table.step(crc, c);
}

quint16 update_crc_16(quint16 crc, unsigned char c)
{
    static const ReflectedTable<quint16> table(0xA001);
    return table.step(crc, c);
}

quint16 update_crc_kermit(quint16 crc, unsigned char c)
{
    static const ReflectedTable<quint16> table(0x8408);
    return table.step(crc, c);
}

quint16 update_crc_dnp(quint16 crc, unsigned char c)
{
    static const ReflectedTable<quint16> table(0xA6BC);
    return table.step(crc, c);
}

quint32 update_crc_32(quint32 crc, unsigned char c)
{
    static const ReflectedTable<quint32> table(0xEDB88320u);
    return table.step(crc, c);
}

quint16 update_crc_sick(quint16 crc, unsigned char c, unsigned char previous)
{
    const int shifted = (crc << 1) ^ ((crc & 0x8000) != 0 ? 0x8005 : 0);
    return static_cast<quint16>(shifted ^ (previous << 8 | c));
}
