#include "text/text_encoding.h"

#include <QTextCodec>

namespace {

bool isUtf8(const QByteArray& bytes)
{
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

} // namespace

QByteArray toUtf8(const QByteArray& file)
{
    if (file.startsWith("\xEF\xBB\xBF"))
        return file.mid(3);
    if (file.startsWith("\xFF\xFE") || file.startsWith("\xFE\xFF"))
        return QTextCodec::codecForName("UTF-16")->toUnicode(file).toUtf8();
    return isUtf8(file) ? file : QTextCodec::codecForName("Windows-1252")->toUnicode(file).toUtf8();
}
