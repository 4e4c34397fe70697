#include "watch/statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr int trendLevels = 8;

QChar trendSymbol(double part, TrendSymbols symbols)
{
    static const char ascii[] = "_.,-~+*#";
    const int level = std::clamp(static_cast<int>(std::lround(part * (trendLevels - 1))), 0, trendLevels - 1);
    constexpr ushort lowestBlock = 0x2581;
    return symbols == TrendSymbols::Blocks ? QChar(lowestBlock + level) : QLatin1Char(ascii[level]);
}

/// Indices grow with each sample, past the largest int within weeks unless they are made small again.
void append(Samples& samples, double number)
{
    samples.append(number);
    samples.normalizeIndexes();
}

} // namespace

void ValueHistory::add(double number, const QString& text)
{
    m_latest = text;
    if (!std::isfinite(number)) {
        addGap();
        return;
    }
    if (m_smallestText.isEmpty() || number < m_smallest) {
        m_smallest = number;
        m_smallestText = text;
    }
    if (m_largestText.isEmpty() || number > m_largest) {
        m_largest = number;
        m_largestText = text;
    }
    append(m_samples, number);
}

void ValueHistory::addGap()
{
    append(m_samples, std::numeric_limits<double>::quiet_NaN());
}

void RoundTrips::add(double milliseconds)
{
    append(m_milliseconds, milliseconds);
}

double RoundTrips::quantile(double part) const
{
    if (isEmpty())
        return 0;
    std::vector<double> sorted;
    for (int i = m_milliseconds.firstIndex(); i <= m_milliseconds.lastIndex(); ++i)
        sorted.push_back(m_milliseconds.at(i));
    const double rank = std::ceil(part * static_cast<double>(sorted.size()));
    const auto at = sorted.begin() + std::max(static_cast<long>(rank) - 1, 0L);
    std::nth_element(sorted.begin(), at, sorted.end());
    return *at;
}

QString trendText(const Samples& samples, int width, bool isBit, TrendSymbols symbols)
{
    const int begin = samples.lastIndex() + 1 - std::clamp(width, 0, samples.count());
    double least = isBit ? 0 : std::numeric_limits<double>::infinity();
    double most = isBit ? 1 : -std::numeric_limits<double>::infinity();
    for (int i = begin; i <= samples.lastIndex(); ++i) {
        least = std::fmin(least, samples.at(i));
        most = std::fmax(most, samples.at(i));
    }
    QString text;
    for (int i = begin; i <= samples.lastIndex(); ++i) {
        const double sample = samples.at(i);
        const double part = most > least ? (sample - least) / (most - least) : 0.5;
        text += std::isnan(sample) ? QChar(QLatin1Char(' ')) : trendSymbol(part, symbols);
    }
    return text;
}
