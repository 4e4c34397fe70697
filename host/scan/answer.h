#ifndef SCAN_ANSWER_H
#define SCAN_ANSWER_H

#include <QString>

namespace scan {

/// What came of one request to the device.
struct Answer
{
    enum Kind
    {
        Data,
        Exception,   ///< the station refused: it is there
        Silence,     ///< no answer, or none that says anything about the elements that were asked for
        Unreachable, ///< there was no connection that the request could go out on
        Stopped      ///< not asked any more: interrupted, unreachable, or the driver can not work
    };

    Kind kind = Data;
    int code = 0; ///< exception code of an Exception
    QString text; ///< the reason, in the driver's words; empty with Data

    bool isThere() const { return kind == Data || kind == Exception; }
};

constexpr int illegalFunction = 1;

/// The answer behind the driver's error text, of those that docs/errors.md lists. Its description of the
/// command, up to "> ", is left out. The exception codes for "come again later" (05, 06) and those by which a
/// gateway says that the station behind it does not answer (0A, 0B) count as Silence. An empty text is Data.
Answer answerFromError(const QString& error);

} // namespace scan

#endif
