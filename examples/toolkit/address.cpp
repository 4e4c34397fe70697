#include "tools/address.h"

#include <cstdio>

int main()
{
    const QByteArray tag("DI_X17");
    std::printf("area %s\n", ExtractPrefixSymbol(tag).constData());
    std::printf("number %d decimal, %d octal\n", ExtractPLCDeviceAddress(tag, 10),
                ExtractPLCDeviceAddress(tag, 8));

    // In base 16 the area's D would count as a digit, so cut the area off first.
    std::printf("number %d hexadecimal\n", ExtractPLCDeviceAddress(tag.mid(4), 16));
}
