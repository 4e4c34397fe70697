#include "scan/answer.h"

#include <QRegularExpression>

namespace scan {
namespace {

bool saysNothingOfTheElements(int code)
{
    constexpr int acknowledge = 5;
    constexpr int busy = 6;
    constexpr int gatewayPathUnavailable = 10;
    constexpr int gatewayTargetSilent = 11;
    return code == acknowledge || code == busy || code == gatewayPathUnavailable ||
           code == gatewayTargetSilent;
}

} // namespace

Answer answerFromError(const QString& error)
{
    static const QRegularExpression exception(QStringLiteral("exception code:([0-9A-F]{2})$"));
    if (error.isEmpty())
        return Answer();
    Answer answer;
    answer.text = error.mid(error.indexOf(QLatin1String("> ")) + 1).trimmed();
    answer.kind = Answer::Silence;
    const QRegularExpressionMatch match = exception.match(error);
    const int code = match.captured(1).toInt(nullptr, 16);
    if (match.hasMatch() && !saysNothingOfTheElements(code)) {
        answer.kind = Answer::Exception;
        answer.code = code;
    }
    return answer;
}

} // namespace scan
