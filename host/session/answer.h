#ifndef SESSION_ANSWER_H
#define SESSION_ANSWER_H

#include <QString>

/// The outcome of one request to the device.
struct Answer
{
    enum Kind
    {
        Data,
        Exception,   ///< the station refused, so it exists
        Silence,     ///< no answer, or one that says nothing about the requested elements
        Unreachable, ///< there was no connection for the request
        Stopped      ///< not asked: interrupted, unreachable, or the driver cannot work
    };

    Kind kind = Data;
    int code = 0; ///< exception code of an Exception
    QString text; ///< the reason, in the driver's words; empty with Data

    bool isThere() const { return kind == Data || kind == Exception; }
};

constexpr int illegalFunction = 1;

/// The answer behind the driver's error text, one of those that docs/errors.md lists. The driver's
/// description of the command, up to "> ", is skipped. Exception codes that mean "try again later" (05, 06),
/// and those by which a gateway reports that the station behind it does not answer (0A, 0B), count as
/// Silence. An empty text is Data.
Answer answerFromError(const QString& error);

#endif
