#include "modbus_tcp_slave.h"

#include "device_setting.h"
#include "tools.h"

using namespace modbus_tcp;

static char upperCase(char letter)
{
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

bool modbus_tcp::beginsWith(const QByteArray& prefix, const char* area)
{
    const char* text = prefix.constData();
    for (; *area; ++area, ++text)
        if (upperCase(*text) != *area)
            return false;
    return true;
}

namespace {

bool equals(const QByteArray& prefix, const char* area)
{
    return qstricmp(prefix.constData(), area) == 0;
}

unsigned char eightBit(QChar character)
{
    return character.unicode() < 256 ? static_cast<unsigned char>(character.unicode()) : '?';
}

bool isLetter(unsigned char character)
{
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

bool isDigit(unsigned char character)
{
    return character >= '0' && character <= '9';
}

/// Whether prefix holds the first length characters of text. Most commands name the area of the one before.
bool holds(const QByteArray& prefix, const QChar* text, int length)
{
    if (prefix.size() != length)
        return false;
    const char* characters = prefix.constData();
    int i = 0;
    while (i < length && static_cast<unsigned char>(characters[i]) == eightBit(text[i]))
        ++i;
    return i == length;
}

/// Takes the text of a command's address apart: prefix becomes the area prefix as written, address the
/// number minus one modulo 65536 (65535 without a number) and bit, only when the number is followed by ".",
/// the decimal digits after that modulo 256. What follows, such as "SW", is not looked at.
void ModbusTcpSlaveParseAddress(const QString& text, QByteArray& prefix, unsigned short& address,
                                unsigned char& bit)
{
    const QChar* const characters = text.constData();
    const int end = text.size();
    int position = 0;
    address = AddressSpace - 1;

    if (end > 0 && (characters[0] == QLatin1Char('F') || characters[0] == QLatin1Char('f')))
        position = qMin(end, 3);
    while (position < end && isLetter(eightBit(characters[position])))
        ++position;
    if (!holds(prefix, characters, position))
        prefix = text.left(position).toLatin1();

    if (position < end && isDigit(eightBit(characters[position]))) {
        quint32 number = 0;
        for (; position < end && isDigit(eightBit(characters[position])); ++position)
            number = number * 10 + (eightBit(characters[position]) - quint32('0'));
        address = static_cast<unsigned short>(number - 1);
    }

    if (position >= end || characters[position] != QLatin1Char('.'))
        return;
    bit = 0;
    for (++position; position < end && isDigit(eightBit(characters[position])); ++position)
        bit = static_cast<unsigned char>(bit * 10 + (eightBit(characters[position]) - '0'));
}

bool isHighWordFirst(const CommunicatorCommand& command)
{
    return command.address.contains(QLatin1String("SW"), Qt::CaseInsensitive);
}

/// Bytes that the elements of a register command take on the wire, whatever their count.
quint64 registerDataLength(const CommunicatorCommand& command)
{
    const quint64 count = static_cast<quint32>(command.count);
    switch (command.dataType) {
    case Word:
        return 2 * count;
    case DoubleWord:
        return 4 * count;
    default:
        return count + count % 2;
    }
}

QByteArray inDeviceOrder(const CommunicatorCommand& command, const QByteArray& data)
{
    const QByteArray exact = ToSafeData(command, data);
    return command.dataType == DoubleWord && isHighWordFirst(command) ? toBigEndianULongArray(exact)
                                                                      : toBigEndianUShortArray(exact);
}

} // namespace

bool DriverModbusTcpSlave::loadProject(AbstractDeviceInterface* device)
{
    if (databaseLoaded)
        return true;
    const DeviceSetting* setting = device->deviceSetting();
    return readDB(device, setting ? setting->string : QString());
}

/// Runs attempt until it records no error, at most the link's retry count plus one times. False when the
/// link could not be opened, which ends the command at once.
template<typename Attempt>
bool DriverModbusTcpSlave::runAttempts(AbstractDeviceInterface* device, Attempt attempt)
{
    for (int retries = 0;; ++retries) {
        const int delay = device->commandDelay();
        if (delay > 0)
            HRSleep(static_cast<unsigned long>(delay));
        clearError();
        if (!isConnected(device) && !device->open()) {
            setCommError(device->errorString());
            return false;
        }
        attempt();
        if (!hasCommError || retries >= device->retryCount())
            return true;
    }
}

QByteArray DriverModbusTcpSlave::read(AbstractDeviceInterface* device, const CommunicatorCommand& command)
{
    if (!loadProject(device))
        return QByteArray();

    unsigned short address = 0;
    unsigned char bit = 0;
    ModbusTcpSlaveParseAddress(command.address, areaPrefix, address, bit);

    QByteArray data;
    if (!runAttempts(device, [&] { data = readArea(device, command, areaPrefix, address, bit); }))
        return QByteArray();
    if (hasCommError)
        appendCmdToReadCommError(static_cast<unsigned char>(device->stationId()), command);
    return data;
}

QByteArray DriverModbusTcpSlave::readArea(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                                          const QByteArray& prefix, unsigned short address, unsigned char bit)
{
    switch (command.dataType) {
    case Bit:
    case BitBlock:
        if (beginsWith(prefix, "DO") || beginsWith(prefix, "FN5DO") || beginsWith(prefix, "DI"))
            return readDIDOs(device, prefix, address, command.count);
        return readIRHRbits(device, prefix, address, bit, command.count);
    case Byte:
    case Block:
        if (equals(prefix, "HR") || equals(prefix, "FN6HR") || equals(prefix, "IR"))
            return readBytes(device, prefix, address, command.count);
        if (equals(prefix, "DI"))
            return readBytesFromDI(device, address, command.count);
        return readBytesFromDO(device, address, command.count);
    case Word:
        return readWords(device, prefix, address, command.count);
    case DoubleWord:
        return readDWords(device, prefix, address, command.count, isHighWordFirst(command));
    case QuadWord:
        break;
    }
    return QByteArray();
}

bool DriverModbusTcpSlave::write(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                                 const QByteArray& data)
{
    if (!loadProject(device))
        return false;

    unsigned short address = 0;
    unsigned char bit = 0;
    ModbusTcpSlaveParseAddress(command.address, areaPrefix, address, bit);

    bool done = false;
    if (!runAttempts(device, [&] { done = writeArea(device, command, data, areaPrefix, address, bit); }))
        return false;
    if (hasCommError)
        appendCmdToWriteCommError(static_cast<unsigned char>(device->stationId()), command);
    return done;
}

bool DriverModbusTcpSlave::writeArea(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                                     const QByteArray& data, const QByteArray& prefix, unsigned short address,
                                     unsigned char bit)
{
    switch (command.dataType) {
    case Bit:
    case BitBlock:
        return writeBits(device, command, data, prefix, address, bit);
    case Byte:
    case Block:
        return writeRegisters(device, command, data, prefix, address, "byte");
    case Word:
        return writeRegisters(device, command, data, prefix, address, "word");
    case DoubleWord:
        return writeRegisters(device, command, data, prefix, address, "double word");
    case QuadWord:
        break;
    }
    return false;
}

bool DriverModbusTcpSlave::writeBits(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                                     const QByteArray& data, const QByteArray& prefix, unsigned short address,
                                     unsigned char bit)
{
    if (beginsWith(prefix, "DO"))
        return writeCoils(device, address, data, command.count);
    if (beginsWith(prefix, "FN5DO"))
        return writeCoilsWithFN5(device, address, data, command.count);
    if (beginsWith(prefix, "HR"))
        return writeHRbit(device, address, bit, data, command.count);
    if (beginsWith(prefix, "FN6HR"))
        return writeHRbitWithFN6(device, address, bit, data, command.count);
    setCommError(QLatin1String("can't write any bit to ") + command.address);
    return false;
}

/// Writes bytes, words or double words. A command that no request can carry is refused before its data is
/// padded to the length that it claims.
bool DriverModbusTcpSlave::writeRegisters(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                                          const QByteArray& data, const QByteArray& prefix,
                                          unsigned short address, const char* elementName)
{
    const quint64 words = registerDataLength(command) / 2;
    if (beginsWith(prefix, "HR"))
        return wordsFitRequest(address, words) && writeWords(device, address, inDeviceOrder(command, data));
    if (beginsWith(prefix, "FN6HR"))
        return wordsFitFN6Requests(address, words) &&
               writeWordsWithFN6(device, address, inDeviceOrder(command, data));
    setCommError(QLatin1String("can't write any ") + QLatin1String(elementName) + QLatin1String(" to ") +
                 command.address);
    return false;
}

void DriverModbusTcpSlave::appendCmdToReadCommError(unsigned char station, const CommunicatorCommand& command)
{
    describeCommand("read", "from", station, command);
}

void DriverModbusTcpSlave::appendCmdToWriteCommError(unsigned char station,
                                                     const CommunicatorCommand& command)
{
    describeCommand("write", "to", station, command);
}

void DriverModbusTcpSlave::describeCommand(const char* verb, const char* preposition, unsigned char station,
                                           const CommunicatorCommand& command)
{
    if (lastError.contains(QLatin1Char('>')))
        return;

    static const char* const elementNames[] = {"bit(s)", "byte(s)", "word(s)", "dword(s)"};
    QString description = QLatin1String(verb) + QLatin1Char(' ');
    if (command.dataType >= Bit && command.dataType <= DoubleWord)
        description += QString::number(static_cast<quint32>(command.count)) + QLatin1Char(' ') +
                       QLatin1String(elementNames[command.dataType]) + QLatin1Char(' ') +
                       QLatin1String(preposition) + QLatin1Char(' ');
    description += QString::number(station) + QLatin1Char('-') + command.address + QLatin1String("> ");
    lastError.prepend(description);
}
