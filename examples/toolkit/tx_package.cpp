#include "tx_package.h"

#include <cstdio>

int main()
{
    // An ASCII frame: colon, station, function, and the sum of everything before it.
    TxPackage request;
    request.appendString(QLatin1String(":"));
    request.appendByte2Ascii(0x11);
    request.appendByte2Ascii(0x06);
    request.appendLRCAscii();
    std::printf("%s\n", qPrintable(request.toString()));

    // A received frame: station, data length, data. The entry -1 says that section 1 holds the length.
    TxPackage answer;
    answer.setSectionSize(QList<int>() << 1 << 1 << -1);
    answer.setData(QByteArray("\x11\x02\xAB\xCD", 4));
    std::printf("%d bytes of data: %s\n", answer.sectionSize(2), answer.dataAt(2).toHex().constData());
}
