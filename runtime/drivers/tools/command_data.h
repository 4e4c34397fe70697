#ifndef TOOLS_COMMAND_DATA_H
#define TOOLS_COMMAND_DATA_H

#include <QByteArray>

struct CommunicatorCommand;

/// The type of a command's elements. QuadWord and BitBlock have no test of their own.
Q_DECL_EXPORT bool isBitCommand(const CommunicatorCommand& command);
Q_DECL_EXPORT bool isByteCommand(const CommunicatorCommand& command);
Q_DECL_EXPORT bool isWordCommand(const CommunicatorCommand& command);
Q_DECL_EXPORT bool isDoubleWordCommand(const CommunicatorCommand& command);
Q_DECL_EXPORT bool isBlockCommand(const CommunicatorCommand& command);

/// How many bytes, words of 16 or double words of 32 bits hold the bits 0 to offset + bits - 1. The sum does
/// not wrap.
Q_DECL_EXPORT unsigned int NumOfBitsToNumOfBytes(unsigned int offset, unsigned int bits);
Q_DECL_EXPORT unsigned int NumOfBitsToNumOfWords(unsigned int offset, unsigned int bits);
Q_DECL_EXPORT unsigned int NumOfBitsToNumOfDWords(unsigned int offset, unsigned int bits);

/// How many words of 2, 4 or 8 bytes hold so many bytes.
Q_DECL_EXPORT unsigned int NumOfBytesToNumOfWords(unsigned int bytes);
Q_DECL_EXPORT unsigned int NumOfBytesToNumOfDWords(unsigned int bytes);
Q_DECL_EXPORT unsigned int NumOfBytesToNumOfQuadWords(unsigned int bytes);

/// The data with as many zero bytes appended as make its size a multiple of 2, 4 or 8 bytes; data of such a
/// size comes back unchanged.
Q_DECL_EXPORT QByteArray To16bitsData(const QByteArray& data);
Q_DECL_EXPORT QByteArray To32bitsData(const QByteArray& data);
Q_DECL_EXPORT QByteArray To64bitsData(const QByteArray& data);

/// Bytes of data that the command covers: a bit takes an eighth, rounded up in the sum. An unknown type
/// covers none. The count is taken as unsigned and the result stops at INT_MAX, so that a count which no
/// request can carry never looks like a small one.
Q_DECL_EXPORT int GetSafeDataLen(const CommunicatorCommand& command);

/// The data of a write command in exactly GetSafeDataLen bytes: what is too long loses its end, what is too
/// short gets zero bytes appended, and data of the right size comes back unchanged. It is as large as the
/// command claims: refuse a count that no request can carry before, not after.
Q_DECL_EXPORT QByteArray ToSafeData(const CommunicatorCommand& command, const QByteArray& data);

#endif
