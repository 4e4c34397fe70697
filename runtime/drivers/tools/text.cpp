#include "text.h"

#include "characters.h"
#include <cerrno>
#include <csignal>
#include <sys/types.h>

static bool hasHexPrefix(const char* text, int length)
{
    return length >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

unsigned int HexToUInt(const char* text, int length)
{
    unsigned int number = 0;
    for (int i = hasHexPrefix(text, length) ? 2 : 0; i < length && text[i] != '\0'; ++i) {
        const int digit = digitValue(text[i]);
        if (digit < 0)
            return 0;
        number = number << 4 | static_cast<unsigned int>(digit);
    }
    return number;
}

bool ProcessIsRunning(long long pid)
{
    return kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}

QString dumpByteArray(const QByteArray& bytes)
{
    QString text(QLatin1Char('('));
    for (int i = 0; i < bytes.size(); ++i) {
        const uint byte = static_cast<unsigned char>(bytes.at(i));
        text += QLatin1String("0X") + QString::number(byte, 16) + QLatin1Char(' ');
    }
    const uint length = qstrnlen(bytes.constData(), static_cast<uint>(bytes.size()));
    return text + QLatin1String(") : ") + QString::fromLatin1(bytes.constData(), static_cast<int>(length));
}
