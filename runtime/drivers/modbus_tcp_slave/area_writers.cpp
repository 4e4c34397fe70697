#include "modbus_tcp_slave.h"

#include "error_text.h"
#include "tools.h"

#include <cstring>

using namespace modbus_tcp;

namespace {

/// The length of one register's data, and the data of register k of an array of them.
const int RegisterLength = 2;

struct WriteResponse
{
    WriteResponse() { memset(bytes, 0, sizeof bytes); }

    char bytes[WriteReplyLength];
};

quint64 registersOf(const QByteArray& data)
{
    return static_cast<quint64>(data.size() / RegisterLength);
}

unsigned short offsetAddress(unsigned short address, int offset)
{
    return static_cast<unsigned short>(address + offset);
}

} // namespace

/// dataLength: bytes that one request has to carry, 0 when there is one request for each coil.
bool DriverModbusTcpSlave::coilsFitRequest(unsigned short address, int count, int dataLength)
{
    const quint64 coils = static_cast<quint32>(count);
    if (coils <= MaxWriteBits && address + coils <= AddressSpace && dataLength <= MaxWriteBits / 8)
        return true;
    return fail(ErrorText("can't write ") << count << " bits to DO" << address + 1);
}

bool DriverModbusTcpSlave::wordsFitRequest(unsigned short address, quint64 words)
{
    if (words <= MaxWriteRegisters && address + words <= AddressSpace)
        return true;
    return fail(ErrorText("can't write ") << words << " words to HR" << address + 1);
}

bool DriverModbusTcpSlave::wordsFitFN6Requests(unsigned short address, quint64 words)
{
    if (words <= MaxWriteRegisters && address + words <= AddressSpace)
        return true;
    return fail(ErrorText("can't write any word to HR") << address + 1);
}

/// A request that the link did not take whole leaves the device with half a frame: start afresh.
bool DriverModbusTcpSlave::failedToSend(AbstractDeviceInterface* device)
{
    return failAndClose(device, device->errorString());
}

bool DriverModbusTcpSlave::writeCoils(AbstractDeviceInterface* device, unsigned short address,
                                      const QByteArray& data, int count)
{
    if (!coilsFitRequest(address, count, data.size()))
        return false;

    const unsigned short quantity = static_cast<unsigned short>(count);
    int transferred = 0;
    if (!sendWriteCoilsCmd(device, address, quantity, data, transferred))
        return failedToSend(device);
    WriteResponse response;
    return recvWriteDevicesRsp(device, 15, address, quantity, response.bytes, transferred);
}

bool DriverModbusTcpSlave::writeCoilsWithFN5(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& data, int count)
{
    if (!coilsFitRequest(address, count, 0))
        return false;

    for (int i = 0; i < count; ++i) {
        const unsigned short coil = offsetAddress(address, i);
        const bool on = getBit(data, i);
        int transferred = 0;
        if (!sendWrite1CoilCmd(device, coil, on, transferred))
            return failedToSend(device);
        WriteResponse response;
        if (!recvWrite1CoilRsp(device, coil, on, response.bytes, transferred))
            return false;
    }
    return true;
}

bool DriverModbusTcpSlave::writeWords(AbstractDeviceInterface* device, unsigned short address,
                                      const QByteArray& data)
{
    if (!wordsFitRequest(address, NumOfBytesToNumOfWords(static_cast<unsigned int>(data.size()))))
        return false;

    int transferred = 0;
    if (!sendWriteWordsCmd(device, address, data, transferred))
        return failedToSend(device);
    WriteResponse response;
    return recvWriteDevicesRsp(device, 16, address, static_cast<unsigned short>(registersOf(data)),
                               response.bytes, transferred);
}

bool DriverModbusTcpSlave::write1WordWithFN6(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& data)
{
    if (!wordsFitFN6Requests(address, registersOf(data)))
        return false;

    int transferred = 0;
    if (!sendWrite1WordCmd(device, address, data, transferred))
        return failedToSend(device);
    WriteResponse response;
    return recvWrite1WordRsp(device, address, data, response.bytes, transferred);
}

bool DriverModbusTcpSlave::writeWordsWithFN6(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& data)
{
    if (!wordsFitFN6Requests(address, registersOf(data)))
        return false;

    for (int i = 0; i < data.size(); i += RegisterLength) {
        if (!write1WordWithFN6(device, offsetAddress(address, i / RegisterLength),
                               data.mid(i, RegisterLength)))
            return false;
    }
    return true;
}

/// The registers that hold the bits, in device order, as they read now but with the bits of data in place.
/// Empty when they can not be read.
QByteArray DriverModbusTcpSlave::changedRegisters(AbstractDeviceInterface* device, unsigned short address,
                                                  unsigned char bit, const QByteArray& data, int count)
{
    const unsigned int registers = NumOfBitsToNumOfWords(bit, static_cast<unsigned int>(count));
    QByteArray values = readWords(device, QByteArray("HR"), address, static_cast<int>(registers));
    if (values.isEmpty())
        return values;
    for (int i = 0; i < count; ++i)
        setBit(values, bit + i, getBit(data, i));
    return toBigEndianUShortArray(values);
}

bool DriverModbusTcpSlave::writeHRbit(AbstractDeviceInterface* device, unsigned short address,
                                      unsigned char bit, const QByteArray& data, int count)
{
    const QByteArray registers = changedRegisters(device, address, bit, data, count);
    return !registers.isEmpty() && writeWords(device, address, registers);
}

bool DriverModbusTcpSlave::writeHRbitWithFN6(AbstractDeviceInterface* device, unsigned short address,
                                             unsigned char bit, const QByteArray& data, int count)
{
    const QByteArray registers = changedRegisters(device, address, bit, data, count);
    if (registers.isEmpty())
        return false;
    for (int i = 0; i < registers.size(); i += RegisterLength) {
        if (!write1WordWithFN6(device, offsetAddress(address, i / RegisterLength),
                               registers.mid(i, RegisterLength)))
            return false;
    }
    return true;
}
