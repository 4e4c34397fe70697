#include "scan/number_list.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace scan {

QVector<int> parseNumberList(const QString& text, int least, int most)
{
    static const QRegularExpression form(QStringLiteral("^([0-9]{1,9})(?:-([0-9]{1,9}))?$"));
    QVector<int> numbers;
    for (const QString& part : text.split(QLatin1Char(','))) {
        const QRegularExpressionMatch match = form.match(part);
        const int first = match.captured(1).toInt();
        const int last = match.capturedLength(2) > 0 ? match.captured(2).toInt() : first;
        if (!match.hasMatch() || first < least || last > most || first > last)
            return {};
        for (int number = first; number <= last; ++number)
            numbers += number;
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

QString numberListText(const QVector<int>& numbers)
{
    QStringList parts;
    for (int i = 0; i < numbers.size();) {
        int end = i + 1;
        while (end < numbers.size() && numbers.at(end) == numbers.at(end - 1) + 1)
            ++end;
        parts += end - i == 1 ? QString::number(numbers.at(i))
                              : QStringLiteral("%1-%2").arg(numbers.at(i)).arg(numbers.at(end - 1));
        i = end;
    }
    return parts.join(QLatin1Char(','));
}

} // namespace scan
