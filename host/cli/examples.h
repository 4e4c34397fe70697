#ifndef CLI_EXAMPLES_H
#define CLI_EXAMPLES_H

#include <QString>
#include <QStringList>

/// Command lines to paste, for a command such as "read" or "project import". They need a slave at
/// 127.0.0.1:1502, a project, and in the current folder the file tags.csv that project export writes.
QStringList examplesOf(const QString& command);

#endif
