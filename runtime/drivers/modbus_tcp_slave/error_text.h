#ifndef ERROR_TEXT_H
#define ERROR_TEXT_H

#include <QString>

/// The text of an error, put together piece by piece:
/// ErrorText("can't write ") << count << " bits to DO" << number. Nothing of it is inline, as texts are made
/// at many places but only on failure, and the module is to stay small.
class ErrorText
{
public:
    explicit ErrorText(const char* latin1);
    ~ErrorText();

    ErrorText& operator<<(const char* latin1);
    ErrorText& operator<<(const QString& piece);
    ErrorText& operator<<(int number);
    ErrorText& operator<<(quint64 number);

    operator const QString&() const;

private:
    Q_DISABLE_COPY(ErrorText)

    QString text;
};

#endif
