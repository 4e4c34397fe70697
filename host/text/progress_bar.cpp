#include "text/progress_bar.h"

#include <algorithm>
#include <cmath>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int barWidth = 24;
constexpr std::chrono::milliseconds betweenDrawings(100);

QString durationText(double seconds)
{
    const auto whole = static_cast<qint64>(std::ceil(seconds));
    const QString minutes =
        whole < 3600
            ? QString::number(whole / 60)
            : QStringLiteral("%1:%2").arg(whole / 3600).arg(whole / 60 % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2").arg(minutes).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

int terminalWidth()
{
    constexpr int usualWidth = 80;
    winsize size{};
    if (::isatty(STDERR_FILENO) == 0)
        return 0;
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

QString progressLine(const QString& label, qint64 done, qint64 total, double seconds, int width)
{
    const double share = total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 0;
    const int filled = static_cast<int>(share * barWidth);
    QString line = QLatin1Char('[') + QString(filled, QLatin1Char('#')) +
                   QString(barWidth - filled, QLatin1Char('.')) +
                   QStringLiteral("] %1 %").arg(static_cast<int>(share * 100), 3);
    line += share > 0 ? QStringLiteral("  %1 left").arg(durationText(seconds / share - seconds), 7)
                      : QString(14, QLatin1Char(' '));
    line += QStringLiteral("  ") + label;
    return line.left(std::max(width - 1, 0));
}

void ProgressBar::show(const QString& label, qint64 done, qint64 total)
{
    if (m_width == 0)
        return;
    const Clock::time_point now = Clock::now();
    if (total != m_total || done < m_done)
        m_start = now;
    m_done = done;
    m_total = total;
    if (m_isVisible && now - m_drawn < betweenDrawings)
        return;
    m_drawn = now;
    m_isVisible = true;
    const double seconds = std::chrono::duration<double>(now - m_start).count();
    m_err << '\r' << progressLine(label, done, total, seconds, m_width).leftJustified(m_width - 1);
    m_err.flush();
}

void ProgressBar::clear()
{
    if (!m_isVisible)
        return;
    m_err << '\r' << QString(m_width - 1, QLatin1Char(' ')) << '\r';
    m_err.flush();
    m_isVisible = false;
}
