#include "modbus_tcp_slave.h"

#include "area_prefix.h"
#include "tools.h"

using namespace modbus_tcp;

namespace {

unsigned char registerFunctionCode(const QByteArray& prefix)
{
    return beginsWith(prefix, "HR") || beginsWith(prefix, "FN6HR") ? 3 : 4;
}

unsigned char bitFunctionCode(const QByteArray& prefix)
{
    return beginsWith(prefix, "DO") || beginsWith(prefix, "FN5DO") ? 1 : 2;
}

/// A count for comparison with the limits: a negative one is far above any of them.
quint64 elements(int count)
{
    return static_cast<quint32>(count);
}

bool fitsRequest(unsigned short address, quint64 quantity, int limit)
{
    return quantity <= static_cast<quint64>(limit) && address + quantity <= AddressSpace;
}

/// Sends a read request. If the link does not take all of it, its reason becomes the error text.
bool requestRead(DriverModbusTcpSlave& driver, AbstractDeviceInterface* device, unsigned char functionCode,
                 unsigned short address, quint64 quantity)
{
    int written = 0;
    if (driver.sendReadDevicesCmd(device, functionCode, address, static_cast<unsigned short>(quantity),
                                  written))
        return true;
    driver.setCommError(device->errorString());
    return false;
}

const unsigned char* dataOf(const char* response)
{
    return reinterpret_cast<const unsigned char*>(response) + ReplyStartLength;
}

} // namespace

QByteArray DriverModbusTcpSlave::readWords(AbstractDeviceInterface* device, const QByteArray& prefix,
                                           unsigned short address, int count)
{
    if (!fitsRequest(address, elements(count), MaxReadRegisters)) {
        setCommError(QString().sprintf("can't read any word from %s%d", prefix.constData(), address + 1));
        return QByteArray();
    }

    const unsigned char functionCode = registerFunctionCode(prefix);
    if (!requestRead(*this, device, functionCode, address, elements(count)))
        return QByteArray();

    char response[ReceiveBufferLength] = {0};
    int received = 0;
    if (!recvReadDeviceRsp(device, functionCode, response, ReplyStartLength + 2 * count, received))
        return QByteArray();
    return fromBigEndianUShortArray(dataOf(response), count);
}

QByteArray DriverModbusTcpSlave::readDWords(AbstractDeviceInterface* device, const QByteArray& prefix,
                                            unsigned short address, int count, bool highWordFirst)
{
    const quint64 quantity = 2 * elements(count);
    if (!fitsRequest(address, quantity, MaxReadRegisters)) {
        setCommError(
            QString().sprintf("can't read any double word from %s%d", prefix.constData(), address + 1));
        return QByteArray();
    }

    const unsigned char functionCode = registerFunctionCode(prefix);
    if (!requestRead(*this, device, functionCode, address, quantity))
        return QByteArray();

    char response[ReceiveBufferLength] = {0};
    int received = 0;
    if (!recvReadDeviceRsp(device, functionCode, response, ReplyStartLength + 4 * count, received))
        return QByteArray();
    return highWordFirst ? fromBigEndianULongArray(dataOf(response), count)
                         : fromBigEndianUShortArray(dataOf(response), 2 * count);
}

QByteArray DriverModbusTcpSlave::readBytes(AbstractDeviceInterface* device, const QByteArray& prefix,
                                           unsigned short address, int count)
{
    const quint64 quantity = (elements(count) + 1) / 2;
    if (!fitsRequest(address, quantity, MaxReadRegisters)) {
        setCommError(QString().sprintf("can't read any byte from %s%d", prefix.constData(), address + 1));
        return QByteArray();
    }

    const unsigned char functionCode = registerFunctionCode(prefix);
    if (!requestRead(*this, device, functionCode, address, quantity)) {
        device->close();
        return QByteArray();
    }

    const int registers = static_cast<int>(quantity);
    char response[ReceiveBufferLength] = {0};
    int received = 0;
    if (!recvReadDeviceRsp(device, functionCode, response, ReplyStartLength + 2 * registers, received))
        return QByteArray();
    QByteArray result = fromBigEndianUShortArray(dataOf(response), registers);
    result.resize(count);
    return result;
}

QByteArray DriverModbusTcpSlave::readDIDOs(AbstractDeviceInterface* device, const QByteArray& prefix,
                                           unsigned short address, int count)
{
    if (!fitsRequest(address, elements(count), MaxReadBits)) {
        setCommError(
            QString().sprintf("can't read %d bits from %s%u", count, prefix.constData(), address + 1u));
        return QByteArray();
    }

    const unsigned char functionCode = bitFunctionCode(prefix);
    if (!requestRead(*this, device, functionCode, address, elements(count))) {
        device->close();
        return QByteArray();
    }

    const int bytes = (count + 7) / 8;
    char response[ReceiveBufferLength] = {0};
    int received = 0;
    if (!recvReadDeviceRsp(device, functionCode, response, ReplyStartLength + bytes, received))
        return QByteArray();
    QByteArray result(response + ReplyStartLength, bytes);
    clearUnnecessaryBits(result, count);
    return result;
}

int DriverModbusTcpSlave::registersOfBits(unsigned char bit, int count)
{
    const unsigned int bits = qMin<unsigned int>(static_cast<unsigned int>(count), AddressSpace);
    return static_cast<int>(NumOfBitsToNumOfWords(bit, bits));
}

QByteArray DriverModbusTcpSlave::readIRHRbits(AbstractDeviceInterface* device, const QByteArray& prefix,
                                              unsigned short address, unsigned char bit, int count)
{
    QByteArray result = readWords(device, prefix, address, registersOfBits(bit, count));
    if (result.isEmpty())
        return result;
    RightShiftNBits(result, bit);
    FitBitArray(result, count);
    clearUnnecessaryBits(result, count);
    return result;
}
