#include "station_images.h"

#include "text.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace slavesim {

ProcessImage& StationImages::of(std::uint8_t station)
{
    const auto own = m_own.find(station);
    return own == m_own.end() ? m_shared : own->second;
}

static void setCells(ProcessImage& image, const Assignment& assignment)
{
    std::uint32_t number = assignment.number;
    for (const std::uint16_t value : assignment.values) {
        image.addToExisting(assignment.area, number);
        const int kept = image.value(assignment.area, number) & ~assignment.mask;
        image.setValue(assignment.area, number++, static_cast<std::uint16_t>(kept | value));
    }
}

void StationImages::set(const Assignment& assignment)
{
    if (assignment.station)
        return setCells(m_own.try_emplace(*assignment.station, m_shared).first->second, assignment);
    setCells(m_shared, assignment);
    for (auto& own : m_own)
        setCells(own.second, assignment);
}

StationImages StationImages::fromFile(const std::string& fileName)
{
    constexpr int MostComplaints = 10;
    constexpr std::size_t LongestLine = 1000;
    const std::string name = printable(fileName);
    std::ifstream file(fileName);
    if (!file)
        throw std::runtime_error(name + ": cannot be opened: " + std::strerror(errno));

    StationImages images{ProcessImage()};
    std::string complaints;
    int complaintCount = 0;
    char line[LongestLine + 1];
    int number = 1;
    for (; file.getline(line, sizeof line) && complaintCount < MostComplaints; ++number) {
        const auto length = static_cast<std::size_t>(file.gcount()) - (file.eof() ? 0 : 1);
        const std::string_view content = contentOf({line, length});
        if (content.empty() || isHeading(content))
            continue;
        try {
            images.set(parseAssignment(content));
        } catch (const std::runtime_error& error) {
            complaints +=
                (complaintCount++ ? "\n" : "") + name + ":" + std::to_string(number) + ": " + error.what();
        }
    }
    if (!complaints.empty())
        throw std::runtime_error(complaints);
    if (file.bad())
        throw std::runtime_error(name + ": cannot be read, a text file is needed");
    if (!file.eof())
        throw std::runtime_error(name + ":" + std::to_string(number) + ": longer than 1000 characters");
    return images;
}

} // namespace slavesim
