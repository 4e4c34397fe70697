#ifndef TEXT_SHOWN_H
#define TEXT_SHOWN_H

#include <QString>

/// A text from outside, out of a file or a device, as it may go to a terminal: control characters, and others
/// that move or hide what stands around them, are written as \x1b or \u202e. What is left is one line.
QString shown(const QString& text);

#endif
