#ifndef TEXT_WILDCARD_H
#define TEXT_WILDCARD_H

#include <QRegularExpression>

/// Whether the pattern has a wildcard: * or ?.
bool hasWildcard(const QString& pattern);

/// Matches whole texts that the pattern describes, in any case: * stands for any characters, ? for one, and
/// every other character for itself.
QRegularExpression wildcardExpression(const QString& pattern);

#endif
