#include "tools/byte_order.h"

#include <cstdio>

int main()
{
    // Two registers as they come from the wire, then as the runtime wants them: low byte first.
    const unsigned char wire[] = {0x12, 0x34, 0x56, 0x78};
    const QByteArray words = fromBigEndianUShortArray(wire, 2);
    std::printf("words: %s, the first is %#x\n", words.toHex().constData(), QByteArrayToWord(words));

    // The same four bytes as one double word.
    const QByteArray doubleWord = fromBigEndianULongArray(wire, 1);
    std::printf("double word: %s, that is %#x\n", doubleWord.toHex().constData(),
                static_cast<unsigned int>(QByteArrayToInt(doubleWord)));

    // And back: three bytes from the runtime make two registers.
    std::printf("to the wire: %s\n", toBigEndianUShortArray(QByteArray("\x34\x12\x78")).toHex().constData());
}
