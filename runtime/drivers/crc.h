#ifndef CRC_H
#define CRC_H

#include <QtGlobal>

// One step of a cyclic redundancy check: takes the running value crc and the next byte c, returns the new
// running value. The caller starts from its protocol's initial value, applies the final exclusive-or, if any,
// and knows the byte order in which the result is sent.
//
// All steps but the last use a table that is built on first use, safely even if several threads come first.

/// CRC-16-CCITT, polynomial 0x1021, most significant bit first.
Q_DECL_EXPORT quint16 update_crc_ccitt(quint16 crc, unsigned char c);

/// CRC-16 of IBM and ANSI, polynomial 0x8005 reflected (0xA001). From 0 it is CRC-16/ARC, from 0xFFFF the CRC
/// of serial Modbus.
Q_DECL_EXPORT quint16 update_crc_16(quint16 crc, unsigned char c);

/// Kermit, polynomial 0x1021 reflected (0x8408).
Q_DECL_EXPORT quint16 update_crc_kermit(quint16 crc, unsigned char c);

/// DNP, polynomial 0x3D65 reflected (0xA6BC).
Q_DECL_EXPORT quint16 update_crc_dnp(quint16 crc, unsigned char c);

/// CRC-32 of IEEE 802.3, polynomial 0x04C11DB7 reflected (0xEDB88320).
Q_DECL_EXPORT quint32 update_crc_32(quint32 crc, unsigned char c);

/// CRC-16 of SICK sensors, polynomial 0x8005; previous is the byte before c, 0 at the start.
Q_DECL_EXPORT quint16 update_crc_sick(quint16 crc, unsigned char c, unsigned char previous);

#endif
