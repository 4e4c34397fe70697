#ifndef SLAVESIM_SERVED_CELLS_H
#define SLAVESIM_SERVED_CELLS_H

#include "process_image.h"
#include "request.h"
#include "text.h"

#include <array>
#include <vector>

namespace slavesim {

/// Which cells a slave has: the ranges added for an area, or the whole area if none was added.
class ServedCells
{
public:
    /// numbers: cell numbers, 1 to 65536.
    void add(Area area, NumberRange numbers);

    /// Whether all of cells is served. Cells beyond 65536 are in no range.
    bool contains(const Cells& cells) const;

private:
    std::array<std::vector<NumberRange>, AreaCount> m_ranges; ///< sorted by their first number
};

} // namespace slavesim

#endif
