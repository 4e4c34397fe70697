#ifndef TEXT_PROGRESS_BAR_H
#define TEXT_PROGRESS_BAR_H

#include <QString>
#include <QTextStream>

#include <chrono>

/// Columns of the terminal that stderr is; 0 when it is none.
int terminalWidth();

/// The progress of long work as one line: a bar, the share that is done, the time left and the label.
/// seconds have passed since done was 0. At most width - 1 columns are used.
QString progressLine(const QString& label, qint64 done, qint64 total, double seconds, int width);

/// Shows progressLine in place on a terminal, ten times a second at most, and takes it away again at its
/// end.
class ProgressBar
{
public:
    /// width: columns of the terminal; 0 shows nothing at all.
    ProgressBar(QTextStream& err, int width) : m_err(err), m_width(width) {}
    ~ProgressBar() { clear(); }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// done of total are done. A done that is less than the last one, or another total, begins a new phase.
    void show(const QString& label, qint64 done, qint64 total);

    /// Takes the line away, before anything else is printed.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    QTextStream& m_err;
    const int m_width;
    Clock::time_point m_start;
    Clock::time_point m_drawn;
    qint64 m_done = 0;
    qint64 m_total = -1;
    bool m_isVisible = false;
};

#endif
