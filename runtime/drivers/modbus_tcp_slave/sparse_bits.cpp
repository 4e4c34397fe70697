#include "modbus_tcp_slave.h"

#include "tools.h"

#include <algorithm>
#include <climits>

using namespace modbus_tcp;

namespace {

/// The most that a QByteArray can hold, apart from its own header.
const int LargestArray = INT_MAX - 64;

/// Finds the runs of consecutive configured addresses in a range of bits, first to last. Addresses wrap from
/// 65535 to 0; a tag counts only if it is after the last one found.
class TagRuns
{
public:
    TagRuns(const UShortVector& sortedTags, unsigned short address, qint64 bits)
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

    /// Bit index in the range. However long the range is, all tags are found in its first 131072 bits.
    int start() const { return static_cast<int>(runStart); }

    int length() const { return runLength; }
    unsigned short address() const { return addressAt(runStart); }

private:
    unsigned short addressAt(qint64 bit) const { return static_cast<unsigned short>(firstAddress + bit); }

    /// Moves index and from to the next bit with a tag, in one step.
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
    const qint64 end;
    std::size_t from; ///< tags before this one are done
    qint64 index;
    qint64 runStart;
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
        setCommError(QString().sprintf("invalid address %d-%s", station, area));
        return QByteArray();
    }
    if (count <= 0)
        return QByteArray();
    if (count > LargestArray) {
        setCommError(QString().sprintf("can't read %d bytes from %s%d", count, area, address + 1));
        return QByteArray();
    }

    QByteArray result(count, '\0');
    const QByteArray prefix(area);
    TagRuns runs(entry->second.*tags, address, static_cast<qint64>(count) * 8);
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
