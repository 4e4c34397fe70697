#ifndef TOOLS_TEXT_H
#define TOOLS_TEXT_H

#include <QByteArray>
#include <QString>

/// The hexadecimal number in a text of length characters, with or without "0x" in front, in either case. It
/// ends with the text or at a zero byte; any other character that is not a digit makes the result 0, as does
/// a text without digits. If there are more than eight digits, the last eight count. Never reads past length;
/// the text need not end in a zero byte.
Q_DECL_EXPORT unsigned int HexToUInt(const char* text, int length);

/// Whether a process with this id exists, even one of another user. pid goes to kill(2) as a pid_t: 0 and
/// negative ids mean process groups, bits above the width of a pid_t are lost.
Q_DECL_EXPORT bool ProcessIsRunning(long long pid);

/// The bytes for a log line: "(", each byte as "0X" with lower-case hexadecimal digits, no leading zero and a
/// blank, ") : ", and the bytes as Latin-1 text up to the first zero byte. 41 0F gives "(0X41 0Xf ) : A\x0F".
Q_DECL_EXPORT QString dumpByteArray(const QByteArray& bytes);

#endif
