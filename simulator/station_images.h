#ifndef SLAVESIM_STATION_IMAGES_H
#define SLAVESIM_STATION_IMAGES_H

#include "image_text.h"
#include "process_image.h"

#include <map>

namespace slavesim {

/// The process images of all stations: one that they share, and for a station that has been given something
/// of its own a copy of that.
class StationImages
{
public:
    explicit StationImages(ProcessImage shared) : m_shared(std::move(shared)) {}

    /// From lines as parseAssignment() takes them, all cells that are on none being 0. Blank lines, what
    /// follows a #, and a heading as the first line say nothing; a cell on two lines has the value of the
    /// later one. Throws std::runtime_error with a line "FILE:LINE: what is wrong and what would be right"
    /// for each of the first wrong lines, or without a line where the file cannot be read at all.
    static StationImages fromFile(const std::string& fileName);

    ProcessImage& of(std::uint8_t station);

    /// Puts values into the cells of one station, or of all. They exist from then on.
    void set(const Assignment& assignment);

private:
    ProcessImage m_shared;
    std::map<std::uint8_t, ProcessImage> m_own;
};

} // namespace slavesim

#endif
