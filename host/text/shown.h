#ifndef TEXT_SHOWN_H
#define TEXT_SHOWN_H

#include <QString>

/// A text from outside, such as a file or a device, made safe for a terminal: control characters, and others
/// that move or hide the text around them, are written as \x1b or \u202e. The result is one line.
QString shown(const QString& text);

/// Whether the character stays as it is.
bool mayBeShown(QChar character);

#endif
