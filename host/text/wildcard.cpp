#include "text/wildcard.h"

bool hasWildcard(const QString& pattern)
{
    return pattern.contains(QLatin1Char('*')) || pattern.contains(QLatin1Char('?'));
}

QRegularExpression wildcardExpression(const QString& pattern)
{
    QString expression = QRegularExpression::escape(pattern);
    expression.replace(QLatin1String("\\*"), QLatin1String(".*"))
        .replace(QLatin1String("\\?"), QLatin1String("."));
    return QRegularExpression(QRegularExpression::anchoredPattern(expression),
                              QRegularExpression::CaseInsensitiveOption |
                                  QRegularExpression::DotMatchesEverythingOption);
}
