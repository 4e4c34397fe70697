#include "tools/text.h"

#include <cstdio>
#include <unistd.h>

int main()
{
    // Three characters from the middle of a line.
    const char line[] = "ID=1F4;";
    std::printf("number %u\n", HexToUInt(line + 3, 3));

    std::printf("frame %s\n", qPrintable(dumpByteArray(QByteArray("OK=7"))));
    std::printf("this process is running: %s\n", ProcessIsRunning(getpid()) ? "yes" : "no");
}
