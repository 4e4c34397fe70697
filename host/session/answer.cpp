#include "session/answer.h"

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
    if (error.isEmpty())
        return Answer();
    Answer answer;
    answer.text = error.mid(error.indexOf(QLatin1String("> ")) + 1).trimmed();
    answer.kind = Answer::Silence;
    bool isException = false;
    const int code = error.section(QLatin1String("exception code:"), 1).toInt(&isException, 16);
    if (isException && !saysNothingOfTheElements(code)) {
        answer.kind = Answer::Exception;
        answer.code = code;
    }
    return answer;
}
