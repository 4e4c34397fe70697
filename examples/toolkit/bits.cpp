#include "tools/bits.h"

#include <cstdio>

int main()
{
    // Registers 8001 and 0003, low byte first. Take the 4 bits starting at bit 14: 0, 1, 1, 1.
    QByteArray bits("\x01\x80\x03\x00", 4);
    RightShiftNBits(bits, 14);
    FitBitArray(bits, 4);
    clearUnnecessaryBits(bits, 4);
    std::printf("bits 14 to 17: %s, each in a byte of its own: %s\n", bits.toHex().constData(),
                ExpandBitsToBytes(bits, 0, 4).toHex().constData());

    // Copy them to bit 10 of a register with all bits set; its other bits stay.
    QByteArray target("\xff\xff");
    CopyBits(target, bits, 10, 4);
    setBit(target, 0, false);
    std::printf("changed: %s, bit 10 is now %d\n", target.toHex().constData(), getBit(target, 10));
}
