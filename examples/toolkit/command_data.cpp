#include "tools/command_data.h"
#include "communicator_command.h"

#include <cstdio>

int main()
{
    // The runtime writes 3 words but hands over 4 bytes: the driver sends what the command says.
    const CommunicatorCommand words(Word, 3, QLatin1String("HR100"));
    const QByteArray data = ToSafeData(words, QByteArray("\x01\x02\x03\x04"));
    std::printf("%d bytes: %s\n", GetSafeDataLen(words), data.toHex().constData());

    // How many registers hold 20 bits, starting at bit 14 of the first?
    std::printf("registers: %u\n", NumOfBitsToNumOfWords(14, 20));

    // Text written to registers is padded to whole registers.
    std::printf("padded: %s\n", To16bitsData("abc").toHex().constData());
}
