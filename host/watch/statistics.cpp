#include "watch/statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int trendLevels = 8;

QChar trendSymbol(double part, TrendSymbols symbols)
{
    static const char ascii[] = "_.,-~+*#";
    const int level = std::clamp(static_cast<int>(std::lround(part * (trendLevels - 1))), 0, trendLevels - 1);
    constexpr ushort lowestBlock = 0x2581;
    return symbols == TrendSymbols::Blocks ? QChar(lowestBlock + level) : QLatin1Char(ascii[level]);
}

void append(Samples& samples, double number, std::size_t most)
{
    samples.push_back(number);
    if (samples.size() > most)
        samples.pop_front();
}

} // namespace

void ValueHistory::add(double number, const QByteArray& data)
{
    m_latest = data;
    if (!std::isfinite(number)) {
        addGap();
        return;
    }
    if (m_smallestData.isEmpty() || number < m_smallest) {
        m_smallest = number;
        m_smallestData = data;
    }
    if (m_largestData.isEmpty() || number > m_largest) {
        m_largest = number;
        m_largestData = data;
    }
    append(m_samples, number, width);
}

void ValueHistory::addGap()
{
    append(m_samples, std::numeric_limits<double>::quiet_NaN(), width);
}

void ValueHistory::resetExtremes()
{
    m_smallestData.clear();
    m_largestData.clear();
}

void RoundTrips::add(double milliseconds)
{
    append(m_milliseconds, milliseconds, window);
}

double RoundTrips::quantile(double part) const
{
    if (isEmpty())
        return 0;
    Samples sorted = m_milliseconds;
    const double rank = std::ceil(part * static_cast<double>(sorted.size()));
    const auto at = sorted.begin() + std::max(static_cast<long>(rank) - 1, 0L);
    std::nth_element(sorted.begin(), at, sorted.end());
    return *at;
}

QString trendText(const Samples& samples, int width, bool isBit, TrendSymbols symbols)
{
    const std::size_t shown = std::min(samples.size(), static_cast<std::size_t>(std::max(width, 0)));
    const std::size_t begin = samples.size() - shown;
    double least = isBit ? 0 : std::numeric_limits<double>::infinity();
    double most = isBit ? 1 : -std::numeric_limits<double>::infinity();
    for (std::size_t i = begin; i < samples.size(); ++i) {
        least = std::fmin(least, samples.at(i));
        most = std::fmax(most, samples.at(i));
    }
    QString text;
    for (std::size_t i = begin; i < samples.size(); ++i) {
        const double sample = samples.at(i);
        const double part = most > least ? (sample - least) / (most - least) : 0.5;
        text += std::isnan(sample) ? QChar(QLatin1Char(' ')) : trendSymbol(part, symbols);
    }
    return text;
}
