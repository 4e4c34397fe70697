#include "served_cells.h"

#include <algorithm>

namespace slavesim {

void ServedCells::add(Area area, NumberRange numbers)
{
    auto& list = m_ranges[static_cast<std::size_t>(area)];
    const auto before = [](const NumberRange& one, const NumberRange& other) {
        return one.first < other.first;
    };
    list.insert(std::upper_bound(list.begin(), list.end(), numbers, before), numbers);
}

bool ServedCells::contains(const Cells& cells) const
{
    const auto& list = m_ranges[static_cast<std::size_t>(cells.area)];
    if (list.empty())
        return true;
    std::uint32_t next = cells.address + 1;
    const std::uint32_t end = next + cells.count;
    for (const NumberRange& range : list) {
        if (range.first <= next && next <= range.last)
            next = range.last + 1;
    }
    return next >= end;
}

} // namespace slavesim
