#ifndef DRIVER_SETTING_H
#define DRIVER_SETTING_H

#include <QDataStream>
#include <QString>

/// Protocol settings of one connection, as the runtime and a driver exchange them. A plain value: no field is
/// range-checked, copies are independent.
class Q_DECL_EXPORT DriverSetting
{
public:
    DriverSetting(int timeoutMs, int retries, int station, int commandDelay);

    /// The text and the number are part of the runtime's older calls; they are not stored.
    DriverSetting(int timeoutMs, int retries, int station, int commandDelay, const QString& unusedText,
                  unsigned short unusedNumber);

    /// As above, and sets auxString and auxFlag from the last two arguments.
    DriverSetting(int timeoutMs, int retries, int station, int commandDelay, const QString& unusedText,
                  unsigned short unusedNumber, const QString& hostText, bool hostFlag);

    /// Copies every field of other except auxFlag.
    void copy(const DriverSetting& other);

    /// Prints the four numbers as one debug message.
    void dump() const;

    int timeout;       ///< milliseconds to wait for an answer
    int retry;         ///< repetitions of a failed command
    int stationid;     ///< station addressed by default
    int delay;         ///< pause between commands
    QString auxString; ///< carried for the host, not streamed
    bool auxFlag;      ///< carried for the host, not streamed; false unless a constructor sets it
};

/// Stream format: timeout, retry, stationid, delay as qint32 each, in the byte order of the stream
/// (big-endian unless changed). A truncated stream gives 0 for what is missing; its status says so.
Q_DECL_EXPORT QDataStream& operator<<(QDataStream& stream, const DriverSetting& setting);
Q_DECL_EXPORT QDataStream& operator>>(QDataStream& stream, DriverSetting& setting);

#endif
