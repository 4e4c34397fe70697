#ifndef WATCH_STATISTICS_H
#define WATCH_STATISTICS_H

#include <QByteArray>
#include <QString>

#include <deque>

/// The last samples of a series, oldest first.
using Samples = std::deque<double>;

/// What is known about one watched element.
class ValueHistory
{
public:
    /// Number of samples kept: the widest trend that is ever shown.
    static constexpr std::size_t width = 160;

    /// Adds a sample: its number, which need not be finite, and its data, which is not empty.
    void add(double number, const QByteArray& data);

    /// Adds a failed sample.
    void addGap();

    /// The smallest and the largest count from the next sample on.
    void resetExtremes();

    /// Data of the last, the smallest and the largest sample; empty before the first sample.
    const QByteArray& latest() const { return m_latest; }
    const QByteArray& smallest() const { return m_smallestData; }
    const QByteArray& largest() const { return m_largestData; }

    /// The last samples; a failed one is NaN.
    const Samples& samples() const { return m_samples; }

private:
    QByteArray m_latest;
    QByteArray m_smallestData;
    QByteArray m_largestData;
    double m_smallest = 0;
    double m_largest = 0;
    Samples m_samples;
};

/// How long the last commands took.
class RoundTrips
{
public:
    /// Number of commands that count.
    static constexpr std::size_t window = 1000;

    void add(double milliseconds);
    bool isEmpty() const { return m_milliseconds.empty(); }

    /// The shortest time in which this part of the commands, above 0 and up to 1, was done; 0.5 gives the
    /// median. In milliseconds; 0 if there was no command.
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

/// The last samples, at most width of them, as one character each, the newest last. They are scaled between
/// the smallest and the largest that is shown, or from 0 to 1 for bits. A failed sample leaves a blank.
QString trendText(const Samples& samples, int width, bool isBit, TrendSymbols symbols);

#endif
