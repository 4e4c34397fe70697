#include "modbus_bit_set.h"

#include <algorithm>
#include <bitset>

namespace {

const size_t addresses = 65536;

// From about here on, marking each address that occurs is quicker than comparing.
const size_t largeSet = 2048;

void sortByMarking(UShortVector& set)
{
    std::bitset<addresses> marked;
    for (size_t i = 0; i < set.size(); ++i)
        marked.set(set[i]);
    set.clear();
    for (size_t address = 0; address < addresses; ++address) {
        if (marked.test(address))
            set.push_back(static_cast<unsigned short>(address));
    }
}

} // namespace

int ModbusBitSet::setContains(UShortVector& set, int l, ushort value)
{
    Q_ASSERT(l >= 0);
    if (static_cast<size_t>(l) >= set.size())
        return -1;
    const UShortVector::const_iterator found = std::lower_bound(set.begin() + l, set.end(), value);
    return found != set.end() && *found == value ? static_cast<int>(found - set.begin()) : -1;
}

void ModbusBitSet::setSort(UShortVector& set)
{
    if (set.size() >= largeSet) {
        sortByMarking(set);
        return;
    }
    std::sort(set.begin(), set.end());
    set.erase(std::unique(set.begin(), set.end()), set.end());
}

int ModbusBitSet::DOSetContains(ushort value)
{
    return setContains(doSet, 0, value);
}

int ModbusBitSet::DOSetContains(int l, ushort value)
{
    return setContains(doSet, l, value);
}

int ModbusBitSet::DISetContains(ushort value)
{
    return setContains(diSet, 0, value);
}

int ModbusBitSet::DISetContains(int l, ushort value)
{
    return setContains(diSet, l, value);
}

void ModbusBitSet::DOSetPush(ushort value)
{
    doSet.push_back(value);
}

void ModbusBitSet::DISetPush(ushort value)
{
    diSet.push_back(value);
}

void ModbusBitSet::DOSetSort()
{
    setSort(doSet);
}

void ModbusBitSet::DISetSort()
{
    setSort(diSet);
}
