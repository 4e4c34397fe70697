#include "text/json_line.h"

#include "text/shown.h"

#include <QJsonDocument>

#include <cmath>

void printJsonLine(QTextStream& out, const QJsonObject& object)
{
    const QString line = QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
    for (const QChar character : line) {
        if (mayBeShown(character))
            out << character;
        else
            out << QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
    }
    out << '\n';
}

double roundedMilliseconds(double milliseconds)
{
    return std::round(milliseconds * 1000) / 1000;
}
