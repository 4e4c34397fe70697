#include "tools/pack.h"

#include <cstdio>

int main()
{
    // Read 10 holding registers (function code 3) of station 17, starting at address 99.
    const QByteArray request = ByteArrayPack("nnnCCnn", 1, 0, 6, 17, 3, 99, 10);
    std::printf("request: %s\n", request.toHex().constData());

    // From the reply: the transaction identifier, the station and, after the byte count, two registers.
    const unsigned char reply[] = {0, 1, 0, 0, 0, 7, 17, 3, 4, 0x12, 0x34, 0xAB, 0xCD};
    unsigned short transaction, registers[2];
    unsigned char station;
    const int length = DataUnpack(reply, "n4xC2x2n", &transaction, &station, registers);
    std::printf("%d bytes: transaction %d, station %d, registers %04x %04x\n", length, transaction, station,
                registers[0], registers[1]);
}
