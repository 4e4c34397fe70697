#include "modbus_tcp_slave.h"

#include "area_prefix.h"
#include "device_setting.h"
#include "tools.h"
#include "tools/characters.h"

#include <algorithm>

using namespace modbus_tcp;

namespace {

/// As projects spell them.
const QByteArray UsualPrefixes[] = {"HR", "IR", "DI", "DO", "FN6HR", "FN5DO"};

bool isSame(char expected, QChar character)
{
    return character == QLatin1Char(expected);
}

/// The first length characters of an address as its area prefix. A usual prefix is not allocated: that would
/// add a quarter to the instructions of a read.
QByteArray asPrefix(const QChar* address, int length)
{
    for (const QByteArray& usual : UsualPrefixes) {
        if (usual.size() == length && std::equal(usual.constBegin(), usual.constEnd(), address, isSame))
            return usual;
    }
    return QString(address, length).toLatin1();
}

/// Splits the address text of a command: prefix becomes its area prefix as written, address the number minus
/// one, modulo 65536 (65535 without a number), and bit the decimal digits after a "." that follows the
/// number, modulo 256 (unchanged without a "."). The rest, such as "SW", is ignored: "HR100.3SW" gives HR, 99
/// and 3.
void ModbusTcpSlaveParseAddress(const QString& text, QByteArray& prefix, unsigned short& address,
                                unsigned char& bit)
{
    const QChar* const start = text.constData(); // ends with a zero character
    const QChar* next = start;
    if (*next == QLatin1Char('F') || *next == QLatin1Char('f'))
        next += qMin(text.size(), 3);
    while (isLetter(*next))
        ++next;
    const int length = static_cast<int>(next - start);

    unsigned int number = 0;
    for (; isDigit(*next); ++next)
        number = number * 10 + next->unicode() - '0';
    address = static_cast<unsigned short>(number - 1);
    if (*next == QLatin1Char('.')) {
        bit = 0;
        for (++next; isDigit(*next); ++next)
            bit = static_cast<unsigned char>(bit * 10 + next->unicode() - '0');
    }

    prefix = asPrefix(start, length);
}

/// Whether the command's address has the word-order mark.
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

QString deviceString(AbstractDeviceInterface* device)
{
    const DeviceSetting* const setting = device->deviceSetting();
    return setting ? setting->string : QString();
}

// By data type; the last one serves every other type.
const char* const ReadDescriptions[] = {"read %1 bit(s) from %2-%3> ", "read %1 byte(s) from %2-%3> ",
                                        "read %1 word(s) from %2-%3> ", "read %1 dword(s) from %2-%3> ",
                                        "read %1-%2> "};
const char* const WriteDescriptions[] = {"write %1 bit(s) to %2-%3> ", "write %1 byte(s) to %2-%3> ",
                                         "write %1 word(s) to %2-%3> ", "write %1 dword(s) to %2-%3> ",
                                         "write %1-%2> "};

QString description(const char* const* formats, unsigned char station, const CommunicatorCommand& command)
{
    const bool isCounted = command.dataType >= Bit && command.dataType <= DoubleWord;
    QString text =
        QString::fromLatin1(formats[isCounted ? static_cast<int>(command.dataType) : DoubleWord + 1]);
    if (isCounted)
        text = text.arg(static_cast<unsigned int>(command.count));
    return text.arg(static_cast<int>(station)).arg(command.address);
}

} // namespace

/// Runs attempt until it records no error, at most the link's retry count plus one times. False if the link
/// could not be opened, which ends the command at once.
template<typename Attempt>
bool DriverModbusTcpSlave::runAttempts(AbstractDeviceInterface* device, Attempt attempt)
{
    for (int retries = 0;; ++retries) {
        const int delay = device->commandDelay();
        if (delay > 0)
            HRSleep(static_cast<unsigned long>(delay));
        clearError();
        if (!isConnected(device) && !device->open())
            return fail(device->errorString());
        attempt();
        if (!hasCommError || retries >= device->retryCount())
            return true;
    }
}

QByteArray DriverModbusTcpSlave::read(AbstractDeviceInterface* device, const CommunicatorCommand& command)
{
    if (!databaseLoaded && !readDB(device, deviceString(device)))
        return QByteArray();

    QByteArray prefix;
    unsigned short address = 0;
    unsigned char bit = 0;
    ModbusTcpSlaveParseAddress(command.address, prefix, address, bit);

    QByteArray data;
    if (!runAttempts(device, [&] { data = readArea(device, command, prefix, address, bit); }))
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
        if (isArea(prefix, "HR") || isArea(prefix, "FN6HR") || isArea(prefix, "IR"))
            return readBytes(device, prefix, address, command.count);
        if (isArea(prefix, "DI"))
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
    if (!databaseLoaded && !readDB(device, deviceString(device)))
        return false;

    QByteArray prefix;
    unsigned short address = 0;
    unsigned char bit = 0;
    ModbusTcpSlaveParseAddress(command.address, prefix, address, bit);

    bool done = false;
    if (!runAttempts(device, [&] { done = writeArea(device, command, data, prefix, address, bit); }))
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
        if (beginsWith(prefix, "DO"))
            return writeCoils(device, address, data, command.count);
        if (beginsWith(prefix, "FN5DO"))
            return writeCoilsWithFN5(device, address, data, command.count);
        if (beginsWith(prefix, "HR"))
            return writeHRbit(device, address, bit, data, command.count);
        if (beginsWith(prefix, "FN6HR"))
            return writeHRbitWithFN6(device, address, bit, data, command.count);
        return fail(QString::fromLatin1("can't write any bit to %1").arg(command.address));
    case Byte:
    case Block:
        return writeRegisters(device, command, data, prefix, address, "can't write any byte to %1");
    case Word:
        return writeRegisters(device, command, data, prefix, address, "can't write any word to %1");
    case DoubleWord:
        return writeRegisters(device, command, data, prefix, address, "can't write any double word to %1");
    case QuadWord:
        break;
    }
    return false;
}

/// Writes bytes, words or double words. A command that no request can carry is refused before its data is
/// padded to the length that it claims.
bool DriverModbusTcpSlave::writeRegisters(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                                          const QByteArray& data, const QByteArray& prefix,
                                          unsigned short address, const char* refusal)
{
    const quint64 size = registerDataLength(command);
    if (beginsWith(prefix, "HR"))
        return wordsFitRequest(address, size) && writeWords(device, address, inDeviceOrder(command, data));
    if (beginsWith(prefix, "FN6HR"))
        return wordsFitFN6Requests(address, size) &&
               writeWordsWithFN6(device, address, inDeviceOrder(command, data));
    return fail(QString::fromLatin1(refusal).arg(command.address));
}

void DriverModbusTcpSlave::appendCmdToReadCommError(unsigned char station, const CommunicatorCommand& command)
{
    if (!lastError.contains(QLatin1Char('>')))
        lastError.prepend(description(ReadDescriptions, station, command));
}

void DriverModbusTcpSlave::appendCmdToWriteCommError(unsigned char station,
                                                     const CommunicatorCommand& command)
{
    if (!lastError.contains(QLatin1Char('>')))
        lastError.prepend(description(WriteDescriptions, station, command));
}
