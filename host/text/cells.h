#ifndef TEXT_CELLS_H
#define TEXT_CELLS_H

#include <QString>

// Where characters stand on a terminal. Wide ones, as those of Chinese, take two cells, combining marks none.
// The locale decides (LC_CTYPE); what it does not know takes one.

/// Number of cells that the text takes.
int cellsOf(const QString& text);

/// The text with blanks behind it, or in front of it, so that it takes at least this many cells.
QString leftAligned(const QString& text, int cells);
QString rightAligned(const QString& text, int cells);

/// As much of the beginning, or of the end, as takes at most this many cells. Of texts with combining marks
/// it may be less than would fit.
QString beginning(const QString& text, int cells);
QString ending(const QString& text, int cells);

#endif
