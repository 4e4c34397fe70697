#include "modbus_tcp_slave.h"

#include "error_text.h"
#include "tools.h"

#include <QVarLengthArray>

#include <cstring>

using namespace modbus_tcp;

static const unsigned char ExceptionFlag = 0x80;
static const int ExceptionReplyMbapLength = 3;
static const int MbapLengthOffset = 6; ///< the header's length field counts from here
static const int EchoedAddress = MbapLength + 1;
static const int EchoedValue = MbapLength + 3; ///< or quantity

/// What stands before the data of a request: MBAP header, function code and fields. As a format it takes from
/// the front as many as it has of: the header's fields, function code, address, value, number of data bytes.
struct modbus_tcp::RequestHead
{
    const char* format;
    int length;
};

static const QByteArray NoData;
static const RequestHead AddressHead = {"nnnCCn", 10};
static const RequestHead AddressValueHead = {"nnnCCnn", 12};
static const RequestHead AddressValueSizeHead = {"nnnCCnnC", 13};

static unsigned char unitIdentifier(AbstractDeviceInterface* device)
{
    return static_cast<unsigned char>(device->stationId());
}

static unsigned char byteAt(const char* frame, int offset)
{
    return static_cast<unsigned char>(frame[offset]);
}

/// A field of two bytes, the high one first.
static unsigned short fieldAt(const char* frame, int offset)
{
    return static_cast<unsigned short>(byteAt(frame, offset) << 8 | byteAt(frame, offset + 1));
}

unsigned short DriverModbusTcpSlave::getTID()
{
    return transactionId;
}

/// Sends one request: its head, then data.
bool DriverModbusTcpSlave::sendRequest(AbstractDeviceInterface* device, const RequestHead& head,
                                       unsigned char functionCode, unsigned short address,
                                       unsigned short value, const QByteArray& data, int& written)
{
    ++transactionId;
    const unsigned char unitId = unitIdentifier(device);

    const int length = head.length + data.size();
    QVarLengthArray<unsigned char, ReceiveBufferLength> frame(length);
    DataPack(frame.data(), head.format, transactionId, 0, length - MbapLengthOffset, unitId, functionCode,
             address, value, data.size());
    if (!data.isEmpty())
        memcpy(frame.data() + head.length, data.constData(), static_cast<size_t>(data.size()));
    written = device->writeData(reinterpret_cast<const char*>(frame.constData()), length);
    return written == length;
}

bool DriverModbusTcpSlave::sendReadDevicesCmd(AbstractDeviceInterface* device, unsigned char functionCode,
                                              unsigned short startAddress, unsigned short quantity,
                                              int& written)
{
    return sendRequest(device, AddressValueHead, functionCode, startAddress, quantity, NoData, written);
}

bool DriverModbusTcpSlave::sendWrite1CoilCmd(AbstractDeviceInterface* device, unsigned short address, bool on,
                                             int& written)
{
    return sendRequest(device, AddressValueHead, 5, address, on ? 0xFF00 : 0x0000, NoData, written);
}

bool DriverModbusTcpSlave::sendWrite1WordCmd(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& value, int& written)
{
    return sendRequest(device, AddressHead, 6, address, 0, value, written);
}

bool DriverModbusTcpSlave::sendWriteCoilsCmd(AbstractDeviceInterface* device, unsigned short startAddress,
                                             unsigned short quantity, const QByteArray& data, int& written)
{
    return sendRequest(device, AddressValueSizeHead, 15, startAddress, quantity, data, written);
}

bool DriverModbusTcpSlave::sendWriteWordsCmd(AbstractDeviceInterface* device, unsigned short startAddress,
                                             const QByteArray& data, int& written)
{
    return sendRequest(device, AddressValueSizeHead, 16, startAddress,
                       static_cast<unsigned short>(data.size() / 2), data, written);
}

bool DriverModbusTcpSlave::checkMBAP(const char* response, unsigned short expectedLength,
                                     unsigned char unitId)
{
    const unsigned short transaction = fieldAt(response, 0);
    const unsigned short protocol = fieldAt(response, 2);
    const unsigned short length = fieldAt(response, 4);
    const unsigned char unit = byteAt(response, 6);

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
    const unsigned char reply = byteAt(response, MbapLength);
    if (reply == functionCode)
        return true;
    isException = reply == (functionCode | ExceptionFlag);
    if (isException)
        exceptionCode = byteAt(response, MbapLength + 1);
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

    if (fieldAt(buffer, EchoedAddress) != address)
        return fail("wrong device address from response");
    if (fieldAt(buffer, EchoedValue) != (on ? 0xFF00 : 0x0000))
        return fail(ErrorText("failed to write DO") << address + 1);
    return true;
}

bool DriverModbusTcpSlave::recvWrite1WordRsp(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& value, char* buffer, int& received)
{
    if (!receiveResponse(device, 6, buffer, WriteReplyLength, received))
        return false;

    if (fieldAt(buffer, EchoedAddress) != address)
        return fail("wrong device address from response");
    if (value.left(2) != QByteArray::fromRawData(buffer + EchoedValue, 2))
        return fail(ErrorText("failed to write HR") << address + 1);
    return true;
}

bool DriverModbusTcpSlave::recvWriteDevicesRsp(AbstractDeviceInterface* device, unsigned char functionCode,
                                               unsigned short startAddress, unsigned short quantity,
                                               char* buffer, int& received)
{
    if (!receiveResponse(device, functionCode, buffer, WriteReplyLength, received))
        return false;

    if (fieldAt(buffer, EchoedAddress) != startAddress)
        return fail("wrong device address from response");
    if (fieldAt(buffer, EchoedValue) != quantity)
        return fail("wrong quantity from response");
    return true;
}
