#ifndef WATCH_GNUPLOT_H
#define WATCH_GNUPLOT_H

#include <QByteArray>
#include <QString>

/// A text as a string for a gnuplot script. gnuplot shows it as it is and never takes part of it for a
/// command, a variable or markup, because all ASCII except letters, digits and blanks is written as octal
/// codes. Control characters, such as line ends, are shown as \xNN.
QString gnuplotString(const QString& text);

/// The same for the label of a tic, in which gnuplot would also look for number formats.
QString gnuplotTicLabel(QString text);

/// Runs gnuplot, a separate program, and returns the picture. If gnuplot is not installed or refuses the
/// script, the result is empty and error says why.
QByteArray runGnuplot(const QByteArray& script, QString& error);

#endif
