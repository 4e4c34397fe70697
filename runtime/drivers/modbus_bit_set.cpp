#include "modbus_bit_set.h"

#include <algorithm>

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
