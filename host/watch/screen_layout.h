#ifndef WATCH_SCREEN_LAYOUT_H
#define WATCH_SCREEN_LAYOUT_H

#include "watch/csv_recorder.h"
#include "watch/watch_control.h"

// What appears where on the screen, whatever terminal shows it.

enum class ScreenStyle
{
    Plain,
    Title, ///< the bar on top
    Heading,
    Quiet,
    Selected, ///< name of the selected row
    Changed,  ///< a value that is new
    Trend,
    Good,
    Bad
};

/// A piece of a line.
struct ScreenSpan
{
    QString text;
    ScreenStyle style = ScreenStyle::Plain;
};
using ScreenLine = QVector<ScreenSpan>;

struct ScreenSize
{
    int width = 80;
    int height = 24;
};

/// What the screen shows besides the state.
struct ScreenContents
{
    const WatchState& state;
    QString device;  ///< "127.0.0.1:502"
    QString station; ///< as text
    std::chrono::milliseconds interval;
    const CsvRecorder* recorder; ///< null: nothing is recorded
    bool paused;
    const WatchControl& control;
    TrendSymbols symbols;
    PollSchedule::Clock::time_point now;
};

/// Number of elements that the table has room for.
int tableRows(const ScreenContents& contents, const ScreenSize& size);

/// The text if it is not wider, else as much of it as leaves room for a mark.
QString shortened(const QString& text, int width, TrendSymbols symbols);

/// The lines from top to bottom: at most as many as the screen has, and none wider. If the window is too
/// small, columns are left out, the least important one first, then lines below the table. The last of these
/// stays longest, because it asks questions. The help takes the place of the table.
QVector<ScreenLine> layOutScreen(const ScreenContents& contents, const ScreenSize& size);

/// A duration in at most five characters and a unit: "0.4 s", "12 s", "3 min", "7 h", "2 d".
QString ageText(std::chrono::milliseconds age);

#endif
