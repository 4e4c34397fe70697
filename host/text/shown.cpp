#include "text/shown.h"

bool mayBeShown(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

QString shown(const QString& text)
{
    QString result;
    for (const QChar character : text) {
        const ushort code = character.unicode();
        if (mayBeShown(character))
            result += character;
        else if (code < 0x100)
            result += QStringLiteral("\\x%1").arg(code, 2, 16, QLatin1Char('0'));
        else
            result += QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0'));
    }
    return result;
}
