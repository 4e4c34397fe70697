#ifndef WATCH_STATISTICS_H
#define WATCH_STATISTICS_H

#include <QString>

#include <deque>

/// The last samples of a series, the oldest first.
using Samples = std::deque<double>;

/// What is known of one watched element.
class ValueHistory
{
public:
    /// Samples that are kept: as wide as a trend is ever shown.
    static constexpr std::size_t width = 160;

    /// A sample: its number, which may be not finite, and its text in print.
    void add(double number, const QString& text);

    /// A sample that failed.
    void addGap();

    /// Text of the last, the smallest and the largest sample; empty before there is one.
    const QString& latest() const { return m_latest; }
    const QString& smallest() const { return m_smallestText; }
    const QString& largest() const { return m_largestText; }

    /// The last samples; a failed one is not a number.
    const Samples& samples() const { return m_samples; }

private:
    QString m_latest;
    QString m_smallestText;
    QString m_largestText;
    double m_smallest = 0;
    double m_largest = 0;
    Samples m_samples;
};

/// How long the last commands took.
class RoundTrips
{
public:
    /// Commands that count.
    static constexpr std::size_t window = 1000;

    void add(double milliseconds);
    bool isEmpty() const { return m_milliseconds.empty(); }

    /// The shortest time within which that part of the commands, above 0 and up to 1, was done: 0.5 gives the
    /// median. In milliseconds; 0 when there was no command.
    double quantile(double part) const;

private:
    Samples m_milliseconds;
};

/// How a trend is drawn.
enum class TrendSymbols
{
    Blocks, ///< eighths of a block, from Unicode
    Ascii
};

/// The last samples, at most width of them, one character each, the newest last: scaled between least and
/// most of those that are shown, or from 0 to 1 for bits. A failed sample leaves a blank.
QString trendText(const Samples& samples, int width, bool isBit, TrendSymbols symbols);

#endif
