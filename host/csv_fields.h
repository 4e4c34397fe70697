#ifndef CSV_FIELDS_H
#define CSV_FIELDS_H

#include <QStringList>

#include <optional>

// Comma-separated values as RFC 4180 has them, one record on each line: fields do not go on on the next line.

/// A field as it stands in a line: in quotes when it needs them, line ends made blanks.
QString csvField(const QString& text);

/// The fields of a line without its line end; empty when a quote is not closed or text follows a closing one.
std::optional<QStringList> csvFieldsOf(const QString& line);

#endif
