#ifndef WATCH_GNUPLOT_H
#define WATCH_GNUPLOT_H

#include <QByteArray>
#include <QString>

/// A text as a string in a script for gnuplot, which shows it as it is and takes none of it for a command, a
/// variable or a markup, whatever it is: all ASCII but letters, digits and blanks stands in it as octal
/// codes. Control characters, such as line ends, are shown as \xNN.
QString gnuplotString(const QString& text);

/// Likewise, for the label of a tic, in which gnuplot looks for places to put numbers.
QString gnuplotTicLabel(QString text);

/// Runs gnuplot, a program of its own. The result is the picture; it is empty, and error says why, when
/// gnuplot is not installed or refuses the script.
QByteArray runGnuplot(const QByteArray& script, QString& error);

#endif
