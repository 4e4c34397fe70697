#include "text/cells.h"

#include <QVector>

#include <algorithm>
#include <cwchar>

namespace {

QString blanks(const QString& text, int cells)
{
    return QString(std::max(cells - cellsOf(text), 0), QLatin1Char(' '));
}

} // namespace

int cellsOf(const QString& text)
{
    int cells = 0;
    for (const uint character : text.toUcs4()) {
        const int width = ::wcwidth(static_cast<wchar_t>(character));
        cells += width < 0 ? 1 : width;
    }
    return cells;
}

QString leftAligned(const QString& text, int cells)
{
    return text + blanks(text, cells);
}

QString rightAligned(const QString& text, int cells)
{
    return blanks(text, cells) + text;
}

QString beginning(const QString& text, int cells)
{
    QString part = text.left(std::max(cells, 0));
    while (!part.isEmpty() && (cellsOf(part) > cells || part.at(part.size() - 1).isHighSurrogate()))
        part.chop(1);
    return part;
}

QString ending(const QString& text, int cells)
{
    QString part = text.right(std::max(cells, 0));
    while (!part.isEmpty() && (cellsOf(part) > cells || part.at(0).isLowSurrogate()))
        part.remove(0, 1);
    return part;
}
