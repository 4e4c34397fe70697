#ifndef MESSAGE_CAPTURE_H
#define MESSAGE_CAPTURE_H

#include <QByteArray>
#include <QList>
#include <QString>
#include <QtGlobal>

/// Collects the messages of one type in one scope. Qt 4.8 and Qt 5 hand messages to handlers of different
/// types.
class MessageCapture
{
public:
    explicit MessageCapture(QtMsgType type = QtDebugMsg)
    {
        wanted() = type;
        messages().clear();
        install();
    }
    ~MessageCapture() { restore(); }

    static QList<QByteArray>& messages()
    {
        static QList<QByteArray> list;
        return list;
    }

private:
    Q_DISABLE_COPY(MessageCapture)

    static QtMsgType& wanted()
    {
        static QtMsgType type;
        return type;
    }

#if QT_VERSION >= 0x050000
    static void handle(QtMsgType type, const QMessageLogContext&, const QString& text)
    {
        if (type == wanted())
            messages().append(text.toLocal8Bit());
    }
    void install()
    {
        qInstallMessageHandler(handle);
    }
    void restore()
    {
        qInstallMessageHandler(nullptr);
    }
#else
    static void handle(QtMsgType type, const char* text)
    {
        if (type == wanted())
            messages().append(text);
    }
    void install()
    {
        qInstallMsgHandler(handle);
    }
    void restore()
    {
        qInstallMsgHandler(0);
    }
#endif
};

#endif
