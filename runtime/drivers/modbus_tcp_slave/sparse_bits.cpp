#include "modbus_tcp_slave.h"

#include "error_text.h"
#include "tools.h"

#include <algorithm>
#include <climits>

using namespace modbus_tcp;

namespace {

/// Finds the runs of consecutive configured addresses in a range of bits, first to last. Addresses past
/// 65535 go on at 0; a tag counts only when it lies behind the last one found.
class TagRuns
{
public:
    TagRuns(const UShortVector& sortedTags, unsigned short address, int bits)
        : tags(sortedTags), firstAddress(address), end(bits), from(0), index(0), runStart(0), runLength(0)
    {
    }

    /// Moves to the next run; false when there is none.
    bool next()
    {
        if (!findTag())
            return false;
        runStart = index;
        runLength = 0;
        do {
            ++runLength;
            ++index;
            ++from;
        } while (index < end && from < tags.size() && tags[from] == addressAt(index));
        return true;
    }

    int start() const { return runStart; } ///< bit index in the range
    int length() const { return runLength; }
    unsigned short address() const { return addressAt(runStart); }

private:
    unsigned short addressAt(int bit) const { return static_cast<unsigned short>(firstAddress + bit); }

    /// Moves index and from to the next bit with a tag. What lies between is stepped over at once.
    bool findTag()
    {
        while (index < end && from < tags.size()) {
            const unsigned short current = addressAt(index);
            const UShortVector::const_iterator rest = tags.begin() + static_cast<std::ptrdiff_t>(from);
            const UShortVector::const_iterator found = std::lower_bound(rest, tags.end(), current);
            const int lastAddress = AddressSpace - 1;
            const int distance = (found == tags.end() ? lastAddress + 1 : *found) - current;
            if (distance >= end - index)
                return false;
            index += distance;
            if (found != tags.end()) {
                from = static_cast<std::size_t>(found - tags.begin());
                return true;
            }
        }
        return false;
    }

    const UShortVector& tags;
    const unsigned short firstAddress;
    const int end;
    std::size_t from; ///< tags before this one are behind
    int index;
    int runStart;
    int runLength;
};

} // namespace

QByteArray DriverModbusTcpSlave::readBytesFromDI(AbstractDeviceInterface* device, unsigned short address,
                                                 int count)
{
    return readSparseBits(device, address, count, &ModbusBitSet::diSet, "DI");
}

QByteArray DriverModbusTcpSlave::readBytesFromDO(AbstractDeviceInterface* device, unsigned short address,
                                                 int count)
{
    return readSparseBits(device, address, count, &ModbusBitSet::doSet, "DO");
}

QByteArray DriverModbusTcpSlave::readSparseBits(AbstractDeviceInterface* device, unsigned short address,
                                                int count, UShortVector ModbusBitSet::*tags, const char* area)
{
    const int station = device->stationId();
    const std::map<unsigned char, ModbusBitSet>::const_iterator entry =
        validBitAddressesMap.find(static_cast<unsigned char>(station));
    if (entry == validBitAddressesMap.end()) {
        setCommError(ErrorText("invalid address ") << station << "-" << area);
        return QByteArray();
    }
    if (count <= 0)
        return QByteArray();
    if (count > INT_MAX / 8) {
        setCommError(ErrorText("can't read ")
                     << quint64(8) * static_cast<quint32>(count) << " bits from " << area << address + 1);
        return QByteArray();
    }

    QByteArray result(count, '\0');
    const QByteArray prefix(area);
    TagRuns runs(entry->second.*tags, address, count * 8);
    for (bool first = true; runs.next(); first = false) {
        const int delay = first ? 0 : device->commandDelay();
        if (delay > 0)
            HRSleep(static_cast<unsigned long>(delay));
        QByteArray bits = readDIDOs(device, prefix, runs.address(), runs.length());
        if (bits.isEmpty())
            return bits;
        CopyBits(result, bits, runs.start(), runs.length());
    }
    return result;
}
