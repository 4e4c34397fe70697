#ifndef WATCH_TABLE_LAYOUT_H
#define WATCH_TABLE_LAYOUT_H

#include "watch/screen_layout.h"

/// The heading and at most this number of rows of the table, the selected one among them; none is wider than
/// width. Where it is narrow, columns are left out, the least important one first.
QVector<ScreenLine> layOutTable(const ScreenContents& contents, int width, int rows);

#endif
