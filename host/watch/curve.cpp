#include "watch/curve.h"

#include <algorithm>
#include <cmath>
#include <limits>

void Curve::Part::include(const Part& other)
{
    if (other.least.value < least.value)
        least = other.least;
    if (other.most.value > most.value)
        most = other.most;
    endsLine = endsLine || other.endsLine;
}

bool Curve::areOne(const Part& first, const Part& second) const
{
    return std::floor(first.least.time / m_width) == std::floor(second.least.time / m_width);
}

void Curve::add(double time, double value)
{
    if (!std::isfinite(value))
        return breakLine();
    m_isBinary = m_isBinary && (value == 0 || value == 1);
    const Part sample = {{time, value}, {time, value}, false};
    if (!m_parts.empty() && !m_parts.back().endsLine && areOne(m_parts.back(), sample))
        return m_parts.back().include(sample);
    if (m_parts.size() == mostParts)
        join();
    m_parts.push_back(sample);
}

void Curve::breakLine()
{
    if (!m_parts.empty())
        m_parts.back().endsLine = true;
}

/// Makes room by joining neighbours, into longer and longer parts until half of the room is free.
void Curve::join()
{
    while (m_parts.size() > mostParts / 2) {
        m_width *= 2;
        auto last = m_parts.begin();
        for (auto part = last + 1; part != m_parts.end(); ++part) {
            if (areOne(*last, *part))
                last->include(*part);
            else
                *++last = *part;
        }
        m_parts.erase(last + 1, m_parts.end());
    }
}

std::vector<CurvePoint> Curve::points() const
{
    std::vector<CurvePoint> points;
    for (const Part& part : m_parts) {
        const bool rises = part.least.time <= part.most.time;
        const CurvePoint& first = rises ? part.least : part.most;
        const CurvePoint& second = rises ? part.most : part.least;
        points.push_back(first);
        if (second.time != first.time)
            points.push_back(second);
        if (part.endsLine)
            points.push_back({second.time, std::numeric_limits<double>::quiet_NaN()});
    }
    return points;
}
