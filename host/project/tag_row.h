#ifndef PROJECT_TAG_ROW_H
#define PROJECT_TAG_ROW_H

#include "signals/signal.h"

// A signal as a row of texts, in tag lists and in the project.

/// The name as a keyboard types it, for comparing: common blanks, an umlaut in one piece. Lists and copied
/// texts have others that look the same.
QString nameAsTyped(const QString& name);

/// The columns of a tag list, in the order of the texts of a row: address, name, type, order, scale, offset,
/// unit, decimals, comment.
const QStringList& tagColumns();

/// A text for each column, empty for what the signal leaves open. Numbers have a decimal point, and as many
/// digits as it takes to read the same number again.
QStringList rowOfSignal(const Signal& signal);

/// The signal of a row with a text for each column; types and orders in any case, the name as typed. If a
/// text is not what its column holds, or a name or unit has characters that shown() does not show, the result
/// is empty, and problem quotes it and says what would be right. The parts are not compared with each other,
/// see signalProblem().
std::optional<Signal> signalOfRow(const QStringList& row, QString& problem);

#endif
