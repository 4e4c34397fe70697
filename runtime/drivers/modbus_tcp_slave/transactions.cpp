#include "modbus_tcp_slave.h"

#include "tools.h"

#include <QVarLengthArray>

#include <cstdarg>
#include <cstring>

using namespace modbus_tcp;

/// The part of a request before its data: its format, and its length in bytes.
struct modbus_tcp::RequestHead
{
    const char* format;
    int length;
};

namespace {

const unsigned char ExceptionFlag = 0x80;
const int ExceptionReplyMbapLength = 3;
const int MbapLengthOffset = 6; ///< the header's length field counts from here

const QByteArray NoData;
const RequestHead WriteHead = {"nnnC"
                               "Cn",
                               MbapLength + 3};
const RequestHead ReadHead = {"nnnC"
                              "Cnn",
                              MbapLength + 5};
const RequestHead WriteManyHead = {"nnnC"
                                   "CnnC",
                                   MbapLength + 6};
const int LongestRequest = MbapLength + 6 + MaxByteCount;

const unsigned short CoilOn = 0xFF00;
const unsigned short CoilOff = 0x0000;

const unsigned char* bytesAt(const char* frame, int offset)
{
    return reinterpret_cast<const unsigned char*>(frame) + offset;
}

} // namespace

unsigned short DriverModbusTcpSlave::getTID()
{
    return transactionId;
}

/// Sends one request: its head, then data. The head's format takes as many as it has of: transaction header,
/// function code, address, value, number of data bytes.
bool DriverModbusTcpSlave::sendRequest(AbstractDeviceInterface* device, const RequestHead& head,
                                       unsigned char functionCode, unsigned short address,
                                       unsigned short value, const QByteArray& data, int& written)
{
    ++transactionId;
    const unsigned char unitId = static_cast<unsigned char>(device->stationId());

    const int length = head.length + data.size();
    QVarLengthArray<unsigned char, LongestRequest> frame(length);
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
    return sendRequest(device, ReadHead, functionCode, startAddress, quantity, NoData, written);
}

bool DriverModbusTcpSlave::sendWrite1CoilCmd(AbstractDeviceInterface* device, unsigned short address, bool on,
                                             int& written)
{
    return sendRequest(device, ReadHead, 5, address, on ? CoilOn : CoilOff, NoData, written);
}

bool DriverModbusTcpSlave::sendWrite1WordCmd(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& value, int& written)
{
    return sendRequest(device, WriteHead, 6, address, 0, value, written);
}

bool DriverModbusTcpSlave::sendWriteCoilsCmd(AbstractDeviceInterface* device, unsigned short startAddress,
                                             unsigned short quantity, const QByteArray& data, int& written)
{
    return sendRequest(device, WriteManyHead, 15, startAddress, quantity, data, written);
}

bool DriverModbusTcpSlave::sendWriteWordsCmd(AbstractDeviceInterface* device, unsigned short startAddress,
                                             const QByteArray& data, int& written)
{
    return sendRequest(device, WriteManyHead, 16, startAddress, static_cast<unsigned short>(data.size() / 2),
                       data, written);
}

bool DriverModbusTcpSlave::checkMBAP(const char* response, unsigned short expectedLength,
                                     unsigned char unitId)
{
    unsigned short transaction = 0;
    unsigned short protocol = 0;
    unsigned short length = 0;
    unsigned char unit = 0;
    DataUnpack(bytesAt(response, 0), "nnnC", &transaction, &protocol, &length, &unit);

    if (transaction != getTID())
        return fail(QLatin1String("invalid transaction ID"));
    if (protocol != 0 || (length != expectedLength && length != ExceptionReplyMbapLength))
        return fail(QLatin1String("invalid response"));
    if (unit != unitId)
        return fail(QLatin1String("invalid station id"));
    return true;
}

bool DriverModbusTcpSlave::checkException(const char* response, unsigned char functionCode, bool& isException,
                                          unsigned char& exceptionCode)
{
    const unsigned char reply = *bytesAt(response, MbapLength);
    if (reply == functionCode)
        return true;
    isException = reply == (functionCode | ExceptionFlag);
    if (isException)
        exceptionCode = *bytesAt(response, MbapLength + 1);
    return false;
}

/// Receives one response. The header is checked before the rest is read, so that the driver does not wait for
/// the rest of a stray reply of another length.
bool DriverModbusTcpSlave::receiveResponse(AbstractDeviceInterface* device, unsigned char functionCode,
                                           char* buffer, int expectedLength, int& received)
{
    received = device->readData(buffer, ReplyStartLength);
    if (received != ReplyStartLength)
        return failAndClose(device, device->errorString());

    if (!checkMBAP(buffer, static_cast<unsigned short>(expectedLength - MbapLengthOffset),
                   static_cast<unsigned char>(device->stationId()))) {
        device->close();
        return false;
    }

    bool isException = false;
    unsigned char exceptionCode = 0;
    if (!checkException(buffer, functionCode, isException, exceptionCode)) {
        if (!isException)
            return failAndClose(device, QLatin1String("invalid response"));
        return fail(QString().sprintf("exception code:%02X", exceptionCode));
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

    unsigned short echoedAddress = 0;
    unsigned short echoedValue = 0;
    DataUnpack(bytesAt(buffer, MbapLength), "xnn", &echoedAddress, &echoedValue);
    if (echoedAddress != address)
        return fail(QLatin1String("wrong device address from response"));
    if (echoedValue != (on ? CoilOn : CoilOff))
        return fail(QString().sprintf("failed to write DO%d", address + 1));
    return true;
}

bool DriverModbusTcpSlave::recvWrite1WordRsp(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& value, char* buffer, int& received)
{
    if (!receiveResponse(device, 6, buffer, WriteReplyLength, received))
        return false;

    unsigned short echoedAddress = 0;
    unsigned char echoedValue[2] = {0, 0};
    DataUnpack(bytesAt(buffer, MbapLength), "xnCC", &echoedAddress, &echoedValue[0], &echoedValue[1]);
    if (echoedAddress != address)
        return fail(QLatin1String("wrong device address from response"));
    if (value.left(2) != ByteArrayPack("2C", echoedValue))
        return fail(QString().sprintf("failed to write HR%d", address + 1));
    return true;
}

bool DriverModbusTcpSlave::recvWriteDevicesRsp(AbstractDeviceInterface* device, unsigned char functionCode,
                                               unsigned short startAddress, unsigned short quantity,
                                               char* buffer, int& received)
{
    if (!receiveResponse(device, functionCode, buffer, WriteReplyLength, received))
        return false;

    unsigned short echoedAddress = 0;
    unsigned short echoedQuantity = 0;
    DataUnpack(bytesAt(buffer, MbapLength), "xnn", &echoedAddress, &echoedQuantity);
    if (echoedAddress != startAddress)
        return fail(QLatin1String("wrong device address from response"));
    if (echoedQuantity != quantity)
        return fail(QLatin1String("wrong quantity from response"));
    return true;
}
