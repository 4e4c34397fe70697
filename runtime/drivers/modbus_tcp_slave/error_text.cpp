#include "error_text.h"

ErrorText::ErrorText(const char* latin1) : text(QLatin1String(latin1))
{
}

ErrorText::~ErrorText()
{
}

ErrorText& ErrorText::operator<<(const char* latin1)
{
    text += QLatin1String(latin1);
    return *this;
}

ErrorText& ErrorText::operator<<(const QString& piece)
{
    text += piece;
    return *this;
}

ErrorText& ErrorText::operator<<(int number)
{
    return *this << QString::number(number);
}

ErrorText& ErrorText::operator<<(quint64 number)
{
    return *this << QString::number(number);
}

ErrorText::operator const QString&() const
{
    return text;
}
