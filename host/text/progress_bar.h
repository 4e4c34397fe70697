#ifndef TEXT_PROGRESS_BAR_H
#define TEXT_PROGRESS_BAR_H

#include <QString>
#include <QTextStream>

#include <chrono>

/// Width of the terminal on stderr in columns; 0 if stderr is not a terminal.
int terminalWidth();

/// The progress of long work as one line: a bar, the share done, the time left and the label. seconds is the
/// time since done was 0. Uses at most width - 1 columns.
QString progressLine(const QString& label, qint64 done, qint64 total, double seconds, int width);

/// Shows progressLine in place on a terminal, at most ten times a second, and removes it at the end.
class ProgressBar
{
public:
    /// width: columns of the terminal; with 0 nothing is shown.
    ProgressBar(QTextStream& err, int width) : m_err(err), m_width(width) {}
    ~ProgressBar() { clear(); }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// done of total are done. A smaller done than before, or another total, starts a new phase.
    void show(const QString& label, qint64 done, qint64 total);

    /// Removes the line, before anything else is printed.
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
