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

// The sizes are unsigned 32-bit arithmetic: sums and products wrap. Check a count that comes from outside
// before passing it in.

/// How many bytes, words of 16 or double words of 32 bits hold the bits 0 to offset + bits - 1.
Q_DECL_EXPORT unsigned int NumOfBitsToNumOfBytes(unsigned int offset, unsigned int bits);
Q_DECL_EXPORT unsigned int NumOfBitsToNumOfWords(unsigned int offset, unsigned int bits);
Q_DECL_EXPORT unsigned int NumOfBitsToNumOfDWords(unsigned int offset, unsigned int bits);

/// How many words of 2, 4 or 8 bytes hold that many bytes.
Q_DECL_EXPORT unsigned int NumOfBytesToNumOfWords(unsigned int bytes);
Q_DECL_EXPORT unsigned int NumOfBytesToNumOfDWords(unsigned int bytes);
Q_DECL_EXPORT unsigned int NumOfBytesToNumOfQuadWords(unsigned int bytes);

/// The data, padded with zero bytes to a multiple of 2, 4 or 8 bytes.
Q_DECL_EXPORT QByteArray To16bitsData(const QByteArray& data);
Q_DECL_EXPORT QByteArray To32bitsData(const QByteArray& data);
Q_DECL_EXPORT QByteArray To64bitsData(const QByteArray& data);

/// Number of data bytes that the command covers: 1, 2, 4 or 8 for each element; for bits an eighth of the
/// count, rounded up; 0 for an unknown type. The count is taken as unsigned. A count that no request can
/// carry may wrap to a small or a negative result.
Q_DECL_EXPORT int GetSafeDataLen(const CommunicatorCommand& command);

/// The data of a write command in exactly GetSafeDataLen bytes (none if that is negative): cut if it is too
/// long, padded with zero bytes if it is too short. Allocates as many bytes as the command claims, so refuse
/// a count that no request can carry first.
Q_DECL_EXPORT QByteArray ToSafeData(const CommunicatorCommand& command, const QByteArray& data);

#endif
