#ifndef TOOLS_CHECKSUM_H
#define TOOLS_CHECKSUM_H

#include <QtGlobal>

// Checks over a whole block: count bytes, taken as 0 to 255 each. A count of 0 or less gives 0.

/// The low 8 bits of the sum of all bytes.
Q_DECL_EXPORT unsigned char UInt8CheckSum(const unsigned char* data, int count);

/// The low 16 bits of the sum of all bytes.
Q_DECL_EXPORT unsigned short UShortCheckSum(const unsigned char* data, int count);

/// The exclusive-or of all bytes.
Q_DECL_EXPORT unsigned char XorUInt8CheckSum(const unsigned char* data, int count);

/// CRC-16/ARC: update_crc_16 over all bytes, starting from 0.
Q_DECL_EXPORT unsigned short CRC16Calculate(const unsigned char* data, int count);

#endif
