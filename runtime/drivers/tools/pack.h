#ifndef TOOLS_PACK_H
#define TOOLS_PACK_H

#include <QByteArray>
#include <cstdarg>

// Byte frames described by short format strings: one letter for each field, no blanks.
//
//   letter         field                     a packer takes         the unpacker takes a pointer to
//   C c            1 byte                    int, its low 8 bits    an 8-bit variable
//   n              2 bytes, big-endian       int, its low 16 bits   a 16-bit variable
//   S s v          2 bytes, little-endian    int, its low 16 bits   a 16-bit variable
//   N              4 bytes, big-endian       int                    a 32-bit variable
//   I i L l V      4 bytes, little-endian    int                    a 32-bit variable
//   x              1 zero byte               nothing                nothing, skips a byte
//   X              1 byte, left as it is     nothing                nothing, skips a byte
//
// A decimal count in front of a letter moves that many elements of an array, given by one pointer:
//
//   count C c      bytes                     copied as they are
//   count n        16-bit elements           big-endian in the frame
//   count v        16-bit elements           copied as they lie in memory
//   count N        32-bit elements           big-endian in the frame
//   count V        32-bit elements           copied as they lie in memory
//   count x X      no argument               as x and X, count times (not with ByteArrayPack)
//
// For example, "nnnC" is the header of a Modbus TCP frame, and "2n" takes an unsigned short[2].
//
// Errors in a format: any other letter after a count, a count without a letter, a count of 0 in front of C c
// n v N V, and a size that does not fit an int. The first packer treats an unknown letter without a count
// differently, see there. Arguments are not checked: the buffers and arrays must hold what the format says.
// They need no alignment.
//
// The V functions take the va_list of their caller, which may only call va_end on it afterwards.

/// Packs into out, without allocating. Returns the number of bytes written: 0 for an empty format or if it
/// stopped at an unknown letter without a count, -1 on any other error; bytes already written stay. X skips a
/// byte of out and leaves it as it was.
Q_DECL_EXPORT int VDataPack(unsigned char* out, const char* format, va_list args);
Q_DECL_EXPORT int DataPack(unsigned char* out, const char* format, ...);

/// Packs into a new array, which is allocated once in its final size. Returns an empty array for an empty
/// format and on every error; an unknown letter, and x or X with a count, are errors here. X gives a zero
/// byte.
Q_DECL_EXPORT QByteArray VByteArrayPack(const char* format, va_list args);
Q_DECL_EXPORT QByteArray ByteArrayPack(const char* format, ...);

/// Unpacks from in, without allocating, and stores exactly the width of each field through its pointer.
/// Returns the number of bytes consumed: 0 for an empty format, -1 on an error, including an unknown letter;
/// variables already filled keep their new values.
Q_DECL_EXPORT int VDataUnpack(const unsigned char* in, const char* format, va_list args);
Q_DECL_EXPORT int DataUnpack(const unsigned char* in, const char* format, ...);

/// Appends the high byte of value, then its low byte.
Q_DECL_EXPORT void appendBigEndianUShort(QByteArray& bytes, unsigned short value);

#endif
