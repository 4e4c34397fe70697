#include "modbus_tcp_slave.h"

#include "tools.h"

using namespace modbus_tcp;

namespace {

const int RegisterLength = 2;

unsigned short offsetAddress(unsigned short address, int offset)
{
    return static_cast<unsigned short>(address + offset);
}

bool coilsFitRequest(DriverModbusTcpSlave& driver, unsigned short address, int count, int byteCount)
{
    const quint64 coils = static_cast<quint32>(count);
    if (coils <= MaxWriteBits && address + coils <= AddressSpace && byteCount <= MaxByteCount)
        return true;
    driver.setCommError(QString().sprintf("can't write %d bits to DO%d", count, address + 1));
    return false;
}

/// One request of function code 6 for each register of data; stops at the first that fails.
bool writeEachWord(DriverModbusTcpSlave& driver, AbstractDeviceInterface* device, unsigned short address,
                   const QByteArray& data)
{
    for (int i = 0; i < data.size(); i += RegisterLength) {
        if (!driver.write1WordWithFN6(device, offsetAddress(address, i / RegisterLength),
                                      data.mid(i, RegisterLength)))
            return false;
    }
    return true;
}

} // namespace

bool DriverModbusTcpSlave::wordsFitRequest(unsigned short address, quint64 size)
{
    const quint64 words = (size + 1) / RegisterLength;
    if (words <= MaxWriteRegisters && address + words <= AddressSpace)
        return true;
    return fail(QString().sprintf("can't write %llu words to HR%d", size / RegisterLength, address + 1));
}

bool DriverModbusTcpSlave::wordsFitFN6Requests(unsigned short address, quint64 size)
{
    const quint64 words = size / RegisterLength;
    if (words <= MaxWriteRegisters && address + words <= AddressSpace)
        return true;
    return fail(QString::fromLatin1("can't write any word to HR%1").arg(address + 1));
}

bool DriverModbusTcpSlave::writeCoils(AbstractDeviceInterface* device, unsigned short address,
                                      const QByteArray& data, int count)
{
    if (!coilsFitRequest(*this, address, count, data.size()))
        return false;

    const unsigned short quantity = static_cast<unsigned short>(count);
    int transferred = 0;
    if (!sendWriteCoilsCmd(device, address, quantity, data, transferred))
        return failAndClose(device, device->errorString());
    char response[ReceiveBufferLength] = {0};
    return recvWriteDevicesRsp(device, 15, address, quantity, response, transferred);
}

bool DriverModbusTcpSlave::writeCoilsWithFN5(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& data, int count)
{
    if (!coilsFitRequest(*this, address, count, 1))
        return false;

    for (int i = 0; i < count; ++i) {
        const unsigned short coil = offsetAddress(address, i);
        const bool on = getBit(data, i);
        int transferred = 0;
        if (!sendWrite1CoilCmd(device, coil, on, transferred))
            return failAndClose(device, device->errorString());
        char response[ReceiveBufferLength] = {0};
        if (!recvWrite1CoilRsp(device, coil, on, response, transferred))
            return false;
    }
    return true;
}

bool DriverModbusTcpSlave::writeWords(AbstractDeviceInterface* device, unsigned short address,
                                      const QByteArray& data)
{
    if (!wordsFitRequest(address, static_cast<quint64>(data.size())))
        return false;

    int transferred = 0;
    if (!sendWriteWordsCmd(device, address, data, transferred))
        return failAndClose(device, device->errorString());
    const unsigned short quantity = static_cast<unsigned short>(data.size() / RegisterLength);
    char response[ReceiveBufferLength] = {0};
    return recvWriteDevicesRsp(device, 16, address, quantity, response, transferred);
}

bool DriverModbusTcpSlave::write1WordWithFN6(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& data)
{
    if (!wordsFitFN6Requests(address, static_cast<quint64>(data.size())))
        return false;

    int transferred = 0;
    if (!sendWrite1WordCmd(device, address, data, transferred))
        return failAndClose(device, device->errorString());
    char response[ReceiveBufferLength] = {0};
    return recvWrite1WordRsp(device, address, data, response, transferred);
}

bool DriverModbusTcpSlave::writeWordsWithFN6(AbstractDeviceInterface* device, unsigned short address,
                                             const QByteArray& data)
{
    return wordsFitFN6Requests(address, static_cast<quint64>(data.size())) &&
           writeEachWord(*this, device, address, data);
}

/// The registers that hold the bits, in device order: their present values with the bits of data put in.
/// Empty if they cannot be read.
QByteArray DriverModbusTcpSlave::changedRegisters(AbstractDeviceInterface* device, unsigned short address,
                                                  unsigned char bit, const QByteArray& data, int count)
{
    QByteArray values = readWords(device, QByteArray("HR"), address, registersOfBits(bit, count));
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
    return !registers.isEmpty() && writeEachWord(*this, device, address, registers);
}
