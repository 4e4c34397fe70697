#include "modbus_tcp_slave.h"

#include "error_text.h"
#include "tools.h"

#include <QVarLengthArray>

#include <cstdarg>
#include <cstring>

using namespace modbus_tcp;

static const unsigned char ExceptionFlag = 0x80;
static const int ExceptionReplyMbapLength = 3;
static const int MbapLengthOffset = 6; ///< the header's length field counts from here

static unsigned char unitIdentifier(AbstractDeviceInterface* device)
{
    return static_cast<unsigned char>(device->stationId());
}

static const unsigned char* bytesAt(const char* buffer, int offset)
{
    return reinterpret_cast<const unsigned char*>(buffer) + offset;
}

unsigned short DriverModbusTcpSlave::getTID()
{
    return transactionId;
}

/// Sends one request: MBAP header, the fields that pduFormat packs, then data.
bool DriverModbusTcpSlave::sendRequest(AbstractDeviceInterface* device, const QByteArray& data, int& written,
                                       const char* pduFormat, ...)
{
    ++transactionId;
    const unsigned char unitId = unitIdentifier(device);

    QVarLengthArray<unsigned char, ReceiveBufferLength> frame(MbapLength +
                                                              6); // "CnnC" is the longest run of fields
    va_list fields;
    va_start(fields, pduFormat);
    const int headLength = MbapLength + VDataPack(frame.data() + MbapLength, pduFormat, fields);
    va_end(fields);
    const int length = headLength + data.size();
    DataPack(frame.data(), "nnnC", transactionId, 0, length - MbapLengthOffset, unitId);

    frame.resize(length);
    if (!data.isEmpty())
        memcpy(frame.data() + headLength, data.constData(), static_cast<size_t>(data.size()));
    written = device->writeData(reinterpret_cast<const char*>(frame.constData()), length);
    return written == length;
}

bool DriverModbusTcpSlave::sendReadDevicesCmd(AbstractDeviceInterface* device, unsigned char functionCode,
                                              unsigned short startAddress, unsigned short quantity,
                                              int& written)
{
    return sendRequest(device, QByteArray(), written, "Cnn", functionCode, startAddress, quantity);
}

bool DriverModbusTcpSlave::sendWrite1CoilCmd(AbstractDeviceInterface* device, unsigned short address, bool on,
                                             int& written)
{
    return sendRequest(device, QByteArray(), written, "Cnn", 5, address, on ? 0xFF00 : 0x0000);
}

bool DriverModbusTcpSlave::sendWrite1WordCmd(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& value, int& written)
{
    return sendRequest(device, value, written, "Cn", 6, address);
}

bool DriverModbusTcpSlave::sendWriteCoilsCmd(AbstractDeviceInterface* device, unsigned short startAddress,
                                             unsigned short quantity, const QByteArray& data, int& written)
{
    return sendRequest(device, data, written, "CnnC", 15, startAddress, quantity, data.size());
}

bool DriverModbusTcpSlave::sendWriteWordsCmd(AbstractDeviceInterface* device, unsigned short startAddress,
                                             const QByteArray& data, int& written)
{
    return sendRequest(device, data, written, "CnnC", 16, startAddress, data.size() / 2, data.size());
}

bool DriverModbusTcpSlave::checkMBAP(const char* response, unsigned short expectedLength,
                                     unsigned char unitId)
{
    quint16 transaction = 0;
    quint16 protocol = 0;
    quint16 length = 0;
    quint8 unit = 0;
    DataUnpack(bytesAt(response, 0), "nnnC", &transaction, &protocol, &length, &unit);

    if (transaction != getTID())
        return fail("invalid transaction ID");
    if (protocol != 0 || (length != expectedLength && length != ExceptionReplyMbapLength))
        return fail("invalid response");
    if (unit != unitId)
        return fail("invalid station id");
    return true;
}

bool DriverModbusTcpSlave::checkException(const char* response, unsigned char functionCode, bool& isException,
                                          unsigned char& exceptionCode)
{
    const unsigned char* reply = bytesAt(response, MbapLength);
    if (reply[0] == functionCode)
        return true;
    isException = reply[0] == (functionCode | ExceptionFlag);
    if (isException)
        exceptionCode = reply[1];
    return false;
}

bool DriverModbusTcpSlave::failAndClose(AbstractDeviceInterface* device, const QString& text)
{
    setCommError(text);
    device->close();
    return false;
}

/// Receives one response. The header is checked before the rest is read, so that a stray reply of another
/// length is not waited for.
bool DriverModbusTcpSlave::receiveResponse(AbstractDeviceInterface* device, unsigned char functionCode,
                                           char* buffer, int expectedLength, int& received)
{
    received = device->readData(buffer, ReplyStartLength);
    if (received != ReplyStartLength)
        return failAndClose(device, device->errorString());

    if (!checkMBAP(buffer, static_cast<unsigned short>(expectedLength - MbapLengthOffset),
                   unitIdentifier(device))) {
        device->close();
        return false;
    }

    bool isException = false;
    unsigned char exceptionCode = 0;
    if (!checkException(buffer, functionCode, isException, exceptionCode)) {
        if (!isException)
            return failAndClose(device, QLatin1String("invalid response"));
        const QString code = QString::number(exceptionCode, 16).toUpper().rightJustified(2, QLatin1Char('0'));
        return fail(ErrorText("exception code:") << code);
    }

    received += device->readData(buffer + ReplyStartLength, expectedLength - ReplyStartLength);
    if (received != expectedLength)
        return failAndClose(device, device->errorString());
    return true;
}

bool DriverModbusTcpSlave::recvReadDeviceRsp(AbstractDeviceInterface* device, unsigned char functionCode,
                                             char* buffer, int expectedLength, int& received)
{
    return receiveResponse(device, functionCode, buffer, expectedLength, received);
}

bool DriverModbusTcpSlave::recvWrite1CoilRsp(AbstractDeviceInterface* device, unsigned short address, bool on,
                                             char* buffer, int& received)
{
    if (!receiveResponse(device, 5, buffer, WriteReplyLength, received))
        return false;

    quint16 echoedAddress = 0;
    quint16 echoedValue = 0;
    DataUnpack(bytesAt(buffer, MbapLength), "xnn", &echoedAddress, &echoedValue);
    if (echoedAddress != address)
        return fail("wrong device address from response");
    if (echoedValue != (on ? 0xFF00 : 0x0000))
        return fail(ErrorText("failed to write DO") << address + 1);
    return true;
}

bool DriverModbusTcpSlave::recvWrite1WordRsp(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& value, char* buffer, int& received)
{
    if (!receiveResponse(device, 6, buffer, WriteReplyLength, received))
        return false;

    quint16 echoedAddress = 0;
    quint8 echoedValue[2] = {0, 0};
    DataUnpack(bytesAt(buffer, MbapLength), "xnCC", &echoedAddress, &echoedValue[0], &echoedValue[1]);
    if (echoedAddress != address)
        return fail("wrong device address from response");
    const QByteArray echo(reinterpret_cast<const char*>(echoedValue), 2);
    if (value.left(2) != echo)
        return fail(ErrorText("failed to write HR") << address + 1);
    return true;
}

bool DriverModbusTcpSlave::recvWriteDevicesRsp(AbstractDeviceInterface* device, unsigned char functionCode,
                                               unsigned short startAddress, unsigned short quantity,
                                               char* buffer, int& received)
{
    if (!receiveResponse(device, functionCode, buffer, WriteReplyLength, received))
        return false;

    quint16 echoedAddress = 0;
    quint16 echoedQuantity = 0;
    DataUnpack(bytesAt(buffer, MbapLength), "xnn", &echoedAddress, &echoedQuantity);
    if (echoedAddress != startAddress)
        return fail("wrong device address from response");
    if (echoedQuantity != quantity)
        return fail("wrong quantity from response");
    return true;
}
