#ifndef TEXT_TEXT_ENCODING_H
#define TEXT_TEXT_ENCODING_H

#include <QByteArray>

/// The text of a file in UTF-8 without a byte-order mark, whichever way it was saved: UTF-16 with a mark,
/// UTF-8 with or without one, or else Windows-1252.
QByteArray toUtf8(const QByteArray& file);

#endif
