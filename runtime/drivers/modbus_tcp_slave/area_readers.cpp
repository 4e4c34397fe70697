#include "modbus_tcp_slave.h"

#include "error_text.h"
#include "tools.h"

#include <cstring>

using namespace modbus_tcp;

namespace {

const int DataOffset = 9; ///< of a read response: header, function code, byte count

/// Room for the largest read response, of which as much as is expected is zeroed, so that nothing of an
/// earlier one can show through.
struct ReadResponse
{
    explicit ReadResponse(int dataLength) : length(DataOffset + dataLength)
    {
        memset(bytes, 0, static_cast<size_t>(length));
    }
    const unsigned char* data() const { return reinterpret_cast<const unsigned char*>(bytes) + DataOffset; }

    const int length;
    char bytes[ReceiveBufferLength];
};

inline unsigned char registerFunctionCode(const QByteArray& prefix)
{
    return beginsWith(prefix, "HR") || beginsWith(prefix, "FN6HR") ? 3 : 4;
}

inline unsigned char bitFunctionCode(const QByteArray& prefix)
{
    return beginsWith(prefix, "DO") || beginsWith(prefix, "FN5DO") ? 1 : 2;
}

/// A count as the limits see it: a negative one is far beyond any of them.
quint64 elements(int count)
{
    return static_cast<quint32>(count);
}

bool fitsRequest(unsigned short address, quint64 quantity, int limit)
{
    return quantity <= static_cast<quint64>(limit) && address + quantity <= AddressSpace;
}

QString latin1(const QByteArray& prefix)
{
    return QString::fromLatin1(prefix.constData(), prefix.size());
}

} // namespace

/// Sends a read request; when the link does not take it whole, its reason becomes the error text.
bool DriverModbusTcpSlave::requestRead(AbstractDeviceInterface* device, unsigned char functionCode,
                                       unsigned short address, quint64 quantity)
{
    int written = 0;
    if (sendReadDevicesCmd(device, functionCode, address, static_cast<unsigned short>(quantity), written))
        return true;
    setCommError(device->errorString());
    return false;
}

QByteArray DriverModbusTcpSlave::readWords(AbstractDeviceInterface* device, const QByteArray& prefix,
                                           unsigned short address, int count)
{
    if (!fitsRequest(address, elements(count), MaxReadRegisters)) {
        setCommError(ErrorText("can't read any word from ") << latin1(prefix) << address + 1);
        return QByteArray();
    }

    const unsigned char functionCode = registerFunctionCode(prefix);
    if (!requestRead(device, functionCode, address, elements(count)))
        return QByteArray();

    ReadResponse response(2 * count);
    int received = 0;
    if (!recvReadDeviceRsp(device, functionCode, response.bytes, response.length, received))
        return QByteArray();
    return fromBigEndianUShortArray(response.data(), count);
}

QByteArray DriverModbusTcpSlave::readDWords(AbstractDeviceInterface* device, const QByteArray& prefix,
                                            unsigned short address, int count, bool highWordFirst)
{
    const quint64 quantity = 2 * elements(count);
    if (!fitsRequest(address, quantity, MaxReadRegisters)) {
        setCommError(ErrorText("can't read any double word from ") << latin1(prefix) << address + 1);
        return QByteArray();
    }

    const unsigned char functionCode = registerFunctionCode(prefix);
    if (!requestRead(device, functionCode, address, quantity))
        return QByteArray();

    ReadResponse response(4 * count);
    int received = 0;
    if (!recvReadDeviceRsp(device, functionCode, response.bytes, response.length, received))
        return QByteArray();
    return highWordFirst ? fromBigEndianULongArray(response.data(), count)
                         : fromBigEndianUShortArray(response.data(), 2 * count);
}

QByteArray DriverModbusTcpSlave::readBytes(AbstractDeviceInterface* device, const QByteArray& prefix,
                                           unsigned short address, int count)
{
    const quint64 quantity = (elements(count) + 1) / 2;
    if (!fitsRequest(address, quantity, MaxReadRegisters)) {
        setCommError(ErrorText("can't read any byte from ") << latin1(prefix) << address + 1);
        return QByteArray();
    }

    const unsigned char functionCode = registerFunctionCode(prefix);
    if (!requestRead(device, functionCode, address, quantity)) {
        device->close();
        return QByteArray();
    }

    const int registers = static_cast<int>(quantity);
    ReadResponse response(2 * registers);
    int received = 0;
    if (!recvReadDeviceRsp(device, functionCode, response.bytes, response.length, received))
        return QByteArray();
    QByteArray result = fromBigEndianUShortArray(response.data(), registers);
    result.resize(count);
    return result;
}

QByteArray DriverModbusTcpSlave::readDIDOs(AbstractDeviceInterface* device, const QByteArray& prefix,
                                           unsigned short address, int count)
{
    if (!fitsRequest(address, elements(count), MaxReadBits)) {
        setCommError(ErrorText("can't read ") << count << " bits from " << latin1(prefix) << address + 1);
        return QByteArray();
    }

    const unsigned char functionCode = bitFunctionCode(prefix);
    if (!requestRead(device, functionCode, address, elements(count))) {
        device->close();
        return QByteArray();
    }

    const int bytes = (count + 7) / 8;
    ReadResponse response(bytes);
    int received = 0;
    if (!recvReadDeviceRsp(device, functionCode, response.bytes, response.length, received))
        return QByteArray();
    QByteArray result(reinterpret_cast<const char*>(response.data()), bytes);
    clearUnnecessaryBits(result, count);
    return result;
}

QByteArray DriverModbusTcpSlave::readIRHRbits(AbstractDeviceInterface* device, const QByteArray& prefix,
                                              unsigned short address, unsigned char bit, int count)
{
    const unsigned int registers = NumOfBitsToNumOfWords(bit, static_cast<unsigned int>(count));
    QByteArray result = readWords(device, prefix, address, static_cast<int>(registers));
    if (result.isEmpty())
        return result;
    RightShiftNBits(result, bit);
    FitBitArray(result, count);
    clearUnnecessaryBits(result, count);
    return result;
}
