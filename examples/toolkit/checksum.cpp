#include "tools/checksum.h"
#include "crc.h"

#include <cstdio>

int main()
{
    const unsigned char frame[] = {0x11, 0x03, 0x00, 0x6B, 0x00, 0x03};
    const int length = sizeof frame;
    std::printf("sum %02x, exclusive-or %02x\n", UInt8CheckSum(frame, length),
                XorUInt8CheckSum(frame, length));

    // CRC16Calculate starts from 0. The CRC of serial Modbus starts from FFFF and is sent low byte first.
    unsigned short crc = 0xFFFF;
    for (int i = 0; i < length; ++i)
        crc = update_crc_16(crc, frame[i]);
    std::printf("CRC-16/ARC %04x, CRC-16/MODBUS %04x\n", CRC16Calculate(frame, length), crc);
}
