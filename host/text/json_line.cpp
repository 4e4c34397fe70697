#include "text/json_line.h"

#include <QJsonDocument>

#include <cmath>

void printJsonLine(QTextStream& out, const QJsonObject& object)
{
    out << QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) << '\n';
}

double roundedMilliseconds(double milliseconds)
{
    return std::round(milliseconds * 1000) / 1000;
}
