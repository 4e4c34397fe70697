#include "modbus_ascii.h"

#include "tools.h"
#include "tx_package.h"

#include <QStringList>

// A message is the station, the function code and the data that belongs to it. The frame around it is a
// colon, the message and its check byte in hexadecimal digits, carriage return and line feed.

namespace {

const unsigned char ReadRegisters = 3;
const unsigned char WriteRegisters = 16;
const unsigned char ExceptionFlag = 0x80;
const int ExceptionLength = 3; ///< the shortest message: station, function code, exception code

int frameLength(int messageLength)
{
    return 1 + 2 * (messageLength + 1) + 2;
}

/// The check byte makes the sum of all bytes 0. TxPackage appends the sum as it is, hence the minus.
QByteArray frameOf(const QByteArray& message)
{
    TxPackage checked;
    checked.appendSection(message);
    checked.appendLRCByte();
    char& checkByte = checked.data()[message.size()];
    checkByte = static_cast<char>(-checkByte);

    TxPackage frame;
    frame.appendString(QLatin1String(":"));
    frame.appendSection(checked.byteArrayData().toHex().toUpper());
    frame.appendString(QLatin1String("\r\n"));
    return frame.byteArrayData();
}

/// The message in a frame; any bytes if the frame is not valid, which their own frameOf will show.
QByteArray messageIn(const QByteArray& frame)
{
    QByteArray message;
    for (int i = 1; frameLength(message.size()) < frame.size(); i += 2)
        message += static_cast<char>(HexToUInt(frame.constData() + i, 2));
    return message;
}

/// Reads until the frame has length characters. False if they do not arrive within the link's timeout.
bool readOn(AbstractDeviceInterface* device, QByteArray& frame, int length)
{
    const int before = frame.size();
    frame.resize(length);
    return device->readData(frame.data() + before, length - before) == length - before;
}

unsigned char stationOf(AbstractDeviceInterface* device)
{
    return static_cast<unsigned char>(device->stationId());
}

/// The zero-based address of a command's first register; negative if its text is not an address.
int addressOf(const CommunicatorCommand& command)
{
    return ExtractPrefixSymbol(command.address).toUpper() == "HR" ? command.address.mid(2).toInt() - 1 : -1;
}

/// The number of registers that a command covers; 0 if one request of at most limit cannot carry it.
int registersOf(const CommunicatorCommand& command, int limit)
{
    const unsigned int bytes = static_cast<unsigned int>(GetSafeDataLen(command));
    const int count = static_cast<int>(NumOfBytesToNumOfWords(bytes));
    const int address = addressOf(command);
    const bool isBits = command.dataType == Bit || command.dataType == BitBlock;
    const bool fits = count <= limit && address >= 0 && address <= ModbusAscii::AddressSpace - count;
    return fits && !isBits ? count : 0;
}

} // namespace

/// One request and what its reply must be.
struct ModbusAscii::Transaction
{
    int registers;        ///< 0 for a command that no request can carry
    QByteArray request;   ///< a message
    QByteArray replyHead; ///< how the message of the reply begins: station, function code and more
    int dataLength;       ///< bytes after the head
};

DriverInterface* CreateDriver()
{
    return new ModbusAscii;
}

QByteArray ModbusAscii::read(AbstractDeviceInterface* device, const CommunicatorCommand& command)
{
    const int registers = registersOf(command, MaxReadRegisters);
    const int station = stationOf(device);
    QByteArray data =
        run(device, {registers, ByteArrayPack("CCnn", station, ReadRegisters, addressOf(command), registers),
                     ByteArrayPack("CCC", station, ReadRegisters, 2 * registers), 2 * registers});
    if (m_hasError)
        describe("read %1 %2 from %3-%4> %5", station, command);
    toLittleEndianUShortArray(data);
    return data.left(GetSafeDataLen(command));
}

bool ModbusAscii::write(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                        const QByteArray& data)
{
    const int registers = registersOf(command, MaxWriteRegisters);
    const int station = stationOf(device);
    const QByteArray head = ByteArrayPack("CCnn", station, WriteRegisters, addressOf(command), registers);
    // Allocate nothing for a command that claims too much.
    const QByteArray bytes = registers > 0 ? toBigEndianUShortArray(ToSafeData(command, data)) : QByteArray();
    run(device, {registers, head + static_cast<char>(bytes.size()) + bytes, head, 0});
    if (m_hasError)
        describe("write %1 %2 to %3-%4> %5", station, command);
    return !m_hasError;
}

/// Makes at most the link's retry count plus one attempts. A link that cannot be opened ends the command.
QByteArray ModbusAscii::run(AbstractDeviceInterface* device, const Transaction& transaction)
{
    if (transaction.registers == 0)
        return fail(QLatin1String("a command takes 1 to 125 registers (123 to write) of HR1 to HR65536"));
    for (int retries = 0;; ++retries) {
        const int delay = device->commandDelay();
        if (delay > 0)
            HRSleep(static_cast<unsigned long>(delay));
        m_hasError = false;
        if (!isConnected(device) && !device->open())
            return fail(device->errorString());
        QByteArray data = attempt(device, transaction);
        if (!m_hasError || retries >= device->retryCount())
            return data;
    }
}

/// Reads as much as the shortest reply has, then the rest if that was not all, so that it never waits for
/// bytes that do not come.
QByteArray ModbusAscii::attempt(AbstractDeviceInterface* device, const Transaction& transaction)
{
    const QByteArray request = frameOf(transaction.request);
    if (device->writeData(request.constData(), request.size()) != request.size())
        return failAndClose(device, device->errorString());

    QByteArray reply;
    if (!readOn(device, reply, frameLength(ExceptionLength)))
        return failAndClose(device, device->errorString());
    const int length = frameLength(transaction.replyHead.size() + transaction.dataLength);
    if (!reply.endsWith('\n') && !readOn(device, reply, length))
        return failAndClose(device, device->errorString());
    return dataOf(device, transaction, reply);
}

QByteArray ModbusAscii::dataOf(AbstractDeviceInterface* device, const Transaction& transaction,
                               const QByteArray& reply)
{
    const QByteArray& head = transaction.replyHead;
    const QByteArray message = messageIn(reply);
    if (reply.toUpper() != frameOf(message)) // the colon, a digit, the check byte or the end is wrong
        return failAndClose(device, QLatin1String("invalid response"));
    if (message.at(0) != head.at(0))
        return failAndClose(device, QLatin1String("invalid station id"));
    if (message.size() == ExceptionLength && message.at(1) == static_cast<char>(head.at(1) | ExceptionFlag))
        return fail(QLatin1String("exception code:") + QString::fromLatin1(message.mid(2).toHex().toUpper()));
    if (message.size() != head.size() + transaction.dataLength || !message.startsWith(head))
        return failAndClose(device, QLatin1String("the response is not one to the request"));
    return message.mid(head.size());
}

QByteArray ModbusAscii::fail(const QString& text)
{
    m_hasError = true;
    m_lastError = text;
    return QByteArray();
}

QByteArray ModbusAscii::failAndClose(AbstractDeviceInterface* device, const QString& text)
{
    device->close();
    return fail(text);
}

void ModbusAscii::describe(const char* format, int station, const CommunicatorCommand& command)
{
    const QStringList names = QString::fromLatin1("bit(s) byte(s) word(s) dword(s) qword(s) byte(s) bit(s)")
                                  .split(QLatin1Char(' '));
    m_lastError = QString::fromLatin1(format).arg(QString::number(static_cast<unsigned int>(command.count)),
                                                  names.value(command.dataType), QString::number(station),
                                                  command.address, m_lastError);
}
