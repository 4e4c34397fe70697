#include "checksum.h"

#include "crc.h"

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
    unsigned short crc = 0;
    for (int i = 0; i < count; ++i)
        crc = update_crc_16(crc, data[i]);
    return crc;
}
