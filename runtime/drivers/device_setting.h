#ifndef DEVICE_SETTING_H
#define DEVICE_SETTING_H

#include <QDataStream>
#include <QList>
#include <QPair>
#include <QString>

/// Kind of link. The values belong to the runtime and any 32-bit value may arrive; drivers only carry it.
enum device_type : int
{
    EthernetDevice = 256
};

/// Settings of one link of the runtime: its kind, serial line parameters, id in the project, and socket
/// addresses, one of which is current. A plain value: copies are independent.
class Q_DECL_EXPORT DeviceSetting
{
public:
    DeviceSetting(device_type linkType, QString deviceString, int baud, int dataBits, int stopBits,
                  int parityCode);
    DeviceSetting(device_type linkType, QString deviceString, int baud, int dataBits, int stopBits,
                  int parityCode, int hostValue, QString hostText);

    /// IP address text of entry index, or of the current entry if index is -1. Empty outside the list.
    QString socketIP(int index) const;

    /// TCP port of entry index, or of the current entry if index is -1. 0 outside the list.
    unsigned short port(int index) const;

    /// Replaces the IP address text of an existing entry (-1: the current one) and keeps its port. Outside
    /// the list nothing changes.
    void setSocketIP(const QString& ip, int index);

    /// Replaces the port of an existing entry (-1: the current one) and keeps its IP address text. Outside
    /// the list nothing changes.
    void setPort(unsigned short portNumber, int index);

    /// Makes entry index the current one. Outside the list nothing changes.
    void setCurrentIPIndex(int index);

    /// Replaces the whole list by (IP address text, decimal port text) pairs. A port text that is not a
    /// number from 0 to 65535 gives port 0. currentIPIndex stays as it is, even if it is then beyond the new
    /// list.
    void setSocketData(const QList<QPair<QString, QString>>& data);

    /// Prints the record and its current socket entry as one debug message.
    void dump() const;

    device_type type;   ///< kind of link
    QString string;     ///< device string that names the link
    int baudrate;       ///< bits per second
    int databits;       ///< data bits per character
    int stopbits;       ///< the runtime's stop-bit code
    int parity;         ///< the runtime's parity code
    int auxValue;       ///< carried for the host
    QString auxString;  ///< carried for the host, not streamed
    int linkID;         ///< id of the link in the project database; -1 is none
    int currentIPIndex; ///< index into socketData; may be outside it; every reader allows for that
    QList<QPair<QString, unsigned short>> socketData; ///< IP address text and TCP port of each entry

private:
    int resolvedIndex(int index) const;
};

/// Stream format: type (qint32), string (QString), baudrate, databits, stopbits, parity, auxValue, linkID,
/// currentIPIndex (qint32 each), number of entries (quint32), then each entry's IP text (QString) and port
/// (quint16), in the byte order of the stream. auxString is not streamed.
///
/// Reading takes over the stored current index only if it is inside the list just read; otherwise the record
/// keeps its own. Memory is allocated only for entries that the stream really holds, whatever count it
/// announces. A truncated stream gives 0 or empty values for what is missing; its status says so.
Q_DECL_EXPORT QDataStream& operator<<(QDataStream& stream, const DeviceSetting& setting);
Q_DECL_EXPORT QDataStream& operator>>(QDataStream& stream, DeviceSetting& setting);

#endif
