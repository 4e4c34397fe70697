#ifndef TEXT_JSON_LINE_H
#define TEXT_JSON_LINE_H

#include <QJsonObject>
#include <QTextStream>

/// Prints an object as one line of JSON, in which characters that shown() does not show are escaped.
void printJsonLine(QTextStream& out, const QJsonObject& object);

/// A duration as it is printed: milliseconds with three decimals.
double roundedMilliseconds(double milliseconds);

#endif
