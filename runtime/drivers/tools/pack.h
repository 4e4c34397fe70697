#ifndef TOOLS_PACK_H
#define TOOLS_PACK_H

#include <QByteArray>
#include <cstdarg>

// Byte frames described by short format strings: one letter for each field, no blanks in between.
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
// So "nnnC" is the header of a Modbus TCP frame, and "2n" takes an unsigned short[2].
//
// Errors of a format: any other letter after a count, a count without a letter, a count of 0 in front of
// C c n v N V, and a size that no int can hold. A letter unknown without a count has a result of its own with
// the first packer. Arguments are not checked: the buffers and arrays must hold what the format says. Neither
// side needs any alignment.
//
// The functions with a V take the argument list of a function of the caller; it is not to be used again
// afterwards, except for va_end.

/// Packs into out, without allocating. Returns the number of bytes written: 0 for an empty format, also 0
/// when an unknown letter without a count ended the work, -1 on any other error; bytes written by then stay.
/// X moves on and leaves the byte of out as it was.
Q_DECL_EXPORT int VDataPack(unsigned char* out, const char* format, va_list args);
Q_DECL_EXPORT int DataPack(unsigned char* out, const char* format, ...);

/// Packs into a new array, which is allocated once in its final size. Empty for an empty format and on every
/// error; an unknown letter, and x or X with a count, are errors here. The byte of an X is 0.
Q_DECL_EXPORT QByteArray VByteArrayPack(const char* format, va_list args);
Q_DECL_EXPORT QByteArray ByteArrayPack(const char* format, ...);

/// Unpacks from in, without allocating, storing exactly the width of each field through its pointer. Returns
/// the number of bytes consumed: 0 for an empty format, -1 on an error, unknown letters included; variables
/// filled by then keep their new values.
Q_DECL_EXPORT int VDataUnpack(const unsigned char* in, const char* format, va_list args);
Q_DECL_EXPORT int DataUnpack(const unsigned char* in, const char* format, ...);

/// Appends the high byte of value, then its low byte.
Q_DECL_EXPORT void appendBigEndianUShort(QByteArray& bytes, unsigned short value);

#endif
