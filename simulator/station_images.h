#ifndef SLAVESIM_STATION_IMAGES_H
#define SLAVESIM_STATION_IMAGES_H

#include "image_text.h"
#include "process_image.h"

#include <map>

namespace slavesim {

/// The process images of all stations: one that they share, and a copy of it for each station that has cells
/// of its own.
class StationImages
{
public:
    explicit StationImages(ProcessImage shared) : m_shared(std::move(shared)) {}

    /// Reads lines that parseAssignment() takes; cells on no line are 0. Blank lines, text after a #, and
    /// headings are ignored; if two lines name a cell, the later one counts. Throws
    /// std::runtime_error with "FILE:LINE: what is wrong and what would be right" for each of the first wrong
    /// lines, or without a line if the file cannot be read.
    static StationImages fromFile(const std::string& fileName);

    ProcessImage& of(std::uint8_t station);

    /// Puts values into the cells of one station, or of all. From then on these cells exist.
    void set(const Assignment& assignment);

private:
    ProcessImage m_shared;
    std::map<std::uint8_t, ProcessImage> m_own;
};

} // namespace slavesim

#endif
