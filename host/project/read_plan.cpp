#include "project/read_plan.h"

#include "device_setting.h"
#include "signals/address.h"

#include <algorithm>

namespace {

constexpr int stationCount = 256;
constexpr int bitsOfByte = 8;

/// A link to a device in which every bit and register exists and is 0. Remembers what read requests asked
/// for.
class RecordingLink : public AbstractDeviceInterface
{
public:
    RecordingLink(int linkId, QVector<BitRun>& asked)
        : m_setting(EthernetDevice, QStringLiteral("ETHERNET"), 0, 0, 0, 0), m_asked(asked)
    {
        m_setting.linkID = linkId;
    }

    int writeData(const char* data, int length) override
    {
        m_reply.clear();
        if (length == requestLength)
            answer(reinterpret_cast<const unsigned char*>(data));
        return length;
    }

    int readData(char* buffer, int maxLength) override
    {
        const QByteArray part = m_reply.left(maxLength);
        std::copy(part.begin(), part.end(), buffer);
        m_reply.remove(0, part.size());
        return part.size();
    }

    bool open() override { return true; }
    void close() override { m_reply.clear(); }
    DeviceSetting* deviceSetting() override { return &m_setting; }
    bool isConnected() override { return true; }
    int retryCount() override { return 0; }
    int stationId() override { return m_station; }

    int commandDelay() override
    {
        m_wasUsed = true;
        return 0;
    }

    QString errorString() override { return QStringLiteral("the request is longer than that of a read"); }

    void setStation(int station) { m_station = station; }

    /// Whether the driver has got as far as using the link for a command.
    bool wasUsed() const { return m_wasUsed; }

private:
    static constexpr int requestLength = 12; ///< MBAP header, function code, address and quantity

    /// request: transaction, protocol and length with two bytes each, unit, function code, address and
    /// quantity with two bytes each.
    void answer(const unsigned char* request)
    {
        const int first = request[8] * 256 + request[9] + 1;
        const int count = request[10] * 256 + request[11];
        m_asked.append({first, first + count - 1});
        const int bytes = (count + bitsOfByte - 1) / bitsOfByte;
        const int length = bytes + 3;
        m_reply = QByteArray(reinterpret_cast<const char*>(request), 8);
        m_reply[4] = static_cast<char>(length / 256);
        m_reply[5] = static_cast<char>(length % 256);
        m_reply.append(static_cast<char>(bytes)).append(bytes, '\0');
    }

    DeviceSetting m_setting;
    QVector<BitRun>& m_asked;
    QByteArray m_reply;
    int m_station = 0;
    bool m_wasUsed = false;
};

/// Joins runs that touch.
QVector<BitRun> joined(const QVector<BitRun>& runs)
{
    QVector<BitRun> result;
    for (const BitRun& run : runs) {
        if (!result.isEmpty() && result.last().last + 1 == run.first)
            result.last().last = run.last;
        else
            result.append(run);
    }
    return result;
}

/// Reads the whole area by bytes, each time so few that no run in them is too long for the driver. Returns
/// whether the area has tags for the station.
bool readWholeArea(DriverInterface& driver, RecordingLink& link, const QString& area)
{
    const int step = std::max(driver.getBitBlockAccessSize() / bitsOfByte, 1);
    for (int byte = 0; byte < largestNumber / bitsOfByte; byte += step) {
        const int count = std::min(step, largestNumber / bitsOfByte - byte);
        driver.read(&link, {Byte, count, area + QString::number(byte * bitsOfByte + 1)});
        if (driver.hasError())
            return false;
    }
    return true;
}

} // namespace

QString planReads(DriverInterface& driver, int linkId, QVector<AreaReadPlan>& plans)
{
    QVector<BitRun> asked;
    RecordingLink link(linkId, asked);
    for (int station = 0; station < stationCount; ++station) {
        link.setStation(station);
        for (const char* area : {"DI", "DO"}) {
            asked.clear();
            const bool hasTags = readWholeArea(driver, link, QLatin1String(area));
            if (!link.wasUsed())
                return driver.getLastError();
            if (hasTags)
                plans.append({linkId, station, QLatin1String(area), joined(asked)});
        }
    }
    return QString();
}
