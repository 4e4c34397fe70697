#include "modbus_tcp_slave.h"

#include "device_setting.h"
#include "error_text.h"
#include "tools.h"

using namespace modbus_tcp;

namespace {

bool equals(const QByteArray& prefix, const char* area)
{
    return qstricmp(prefix.constData(), area) == 0;
}

bool isLetter(QChar character)
{
    const ushort code = character.unicode();
    return (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z');
}

bool isDigit(QChar character)
{
    return character.unicode() >= '0' && character.unicode() <= '9';
}

unsigned int digitAt(const QChar* character)
{
    return character->unicode() - static_cast<unsigned int>('0');
}

/// Whether prefix holds the characters from text to end. Most commands name the area of the one before.
bool holds(const QByteArray& prefix, const QChar* text, const QChar* end)
{
    if (prefix.size() != end - text)
        return false;
    const char* known = prefix.constData();
    while (text != end && static_cast<unsigned char>(*known) == text->unicode())
        ++text, ++known;
    return text == end;
}

/// The first length characters of text. Kept out of the way of commands that do without.
__attribute__((noinline)) void takePrefix(QByteArray& prefix, const QString& text, int length)
{
    prefix = text.left(length).toLatin1();
}

/// Takes the text of a command's address apart: prefix becomes the area prefix as written, address the
/// number minus one modulo 65536 (65535 without a number) and bit, only when the number is followed by ".",
/// the decimal digits after that modulo 256. What follows, such as "SW", is not looked at.
void ModbusTcpSlaveParseAddress(const QString& text, QByteArray& prefix, unsigned short& address,
                                unsigned char& bit)
{
    const QChar* const start = text.constData();
    const QChar* const end = start + text.size();
    const QChar* next = start;
    address = AddressSpace - 1;

    if (next != end && (*next == QLatin1Char('F') || *next == QLatin1Char('f')))
        next += qMin(text.size(), 3);
    while (next != end && isLetter(*next))
        ++next;
    const QChar* const prefixEnd = next;

    if (next != end && isDigit(*next)) {
        unsigned int number = 0;
        for (; next != end && isDigit(*next); ++next)
            number = number * 10 + digitAt(next);
        address = static_cast<unsigned short>(number - 1);
    }

    if (next != end && *next == QLatin1Char('.')) {
        bit = 0;
        for (++next; next != end && isDigit(*next); ++next)
            bit = static_cast<unsigned char>(bit * 10 + digitAt(next));
    }

    if (!holds(prefix, start, prefixEnd))
        takePrefix(prefix, text, static_cast<int>(prefixEnd - start));
}

/// Whether the command's address has the mark "SW" anywhere, in any case.
bool isHighWordFirst(const CommunicatorCommand& command)
{
    const QChar* text = command.address.constData();
    const QChar* const end = text + command.address.size();
    while (end - text >= 2 && !beginsWith(text, "SW"))
        ++text;
    return end - text >= 2;
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
    if (!databaseLoaded && !loadProject(device))
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
    if (!databaseLoaded && !loadProject(device))
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
    return fail(ErrorText("can't write any bit to ") << command.address);
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
    return fail(ErrorText("can't write any ") << elementName << " to " << command.address);
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
    ErrorText description(verb);
    if (command.dataType >= Bit && command.dataType <= DoubleWord)
        description << " " << quint64(static_cast<quint32>(command.count)) << " "
                    << elementNames[command.dataType] << " " << preposition;
    description << " " << int(station) << "-" << command.address << "> " << lastError;
    lastError = description;
}
