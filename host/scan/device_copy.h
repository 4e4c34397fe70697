#ifndef SCAN_DEVICE_COPY_H
#define SCAN_DEVICE_COPY_H

#include "scan/device_scan.h"

#include <QByteArray>

#include <map>
#include <tuple>

namespace scan {

/// The values that a scan has read. If it reads an element again, the newer value counts.
class DeviceCopy
{
public:
    /// data is what the driver has returned for the request: registers with the low byte first, or bits.
    void add(const Request& request, const QByteArray& data);

    bool isEmpty() const { return m_values.empty(); }

    /// An image for slavesim, one line for each element: "3-HR1 = 4711".
    QByteArray image() const;

    /// A tag list to begin from, with the columns address, name, type and comment, in which the value stands.
    /// Only addresses of stations other than this one begin with the station.
    QByteArray tagList(int ownStation) const;

private:
    using Element = std::tuple<int, QString, int>; ///< station, area, number

    struct Value
    {
        quint16 value;
        bool isBit;
    };

    std::map<Element, Value> m_values;
};

} // namespace scan

#endif
