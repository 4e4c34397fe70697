#ifndef SCRIPTED_LINK_H
#define SCRIPTED_LINK_H

#include "abstract_device_interface.h"
#include "device_setting.h"
#include "hex_bytes.h"

#include <QByteArray>
#include <QList>
#include <QStringList>

#include <algorithm>
#include <cstring>

/// A link in memory. Tests queue what the device answers to each request, then check what was sent and which
/// operations were called in which order.
class ScriptedLink : public AbstractDeviceInterface
{
public:
    ScriptedLink()
        : station(1), retries(0), delay(0), up(true), opens(true), takes(-1), closes(0), opened(0), waits(0),
          setting(EthernetDevice, QLatin1String("ETHERNET"), 9600, 8, 0, 2)
    {
        setting.linkID = 1;
    }

    /// Queues the answer to the next request that has none yet: hexadecimal text in which "TTTT" stands for
    /// the transaction identifier of that request. An empty text means that the device stays silent.
    ScriptedLink& answers(const char* frame)
    {
        m_replies.append(frame);
        return *this;
    }

    /// Queues a complete answer from the unit identifier of the link: header, then pdu.
    ScriptedLink& answersPdu(const char* pdu)
    {
        const int length = hex(pdu).size() + 1;
        const QString header = QString::fromLatin1("TTTT0000%1%2")
                                   .arg(length, 4, 16, QLatin1Char('0'))
                                   .arg(station & 0xFF, 2, 16, QLatin1Char('0'));
        m_replies.append(header.toLatin1() + pdu);
        return *this;
    }

    int readData(char* buffer, int maxLength) override
    {
        calls.append(QString::fromLatin1("read %1").arg(maxLength));
        const int length = std::min(maxLength, int(m_incoming.size()));
        memcpy(buffer, m_incoming.constData(), size_t(length));
        m_incoming.remove(0, length);
        return length;
    }

    int writeData(const char* data, int length) override
    {
        calls.append(QString::fromLatin1("write %1").arg(length));
        sent.append(QByteArray(data, length));
        if (takes >= 0 && length > takes)
            return takes;
        if (!m_replies.isEmpty())
            m_incoming += hex(m_replies.takeFirst().replace("TTTT", sent.last().left(2).toHex()).constData());
        return length;
    }

    bool open() override
    {
        calls.append(QLatin1String("open"));
        ++opened;
        up = opens;
        return up;
    }

    void close() override
    {
        calls.append(QLatin1String("close"));
        ++closes;
        up = false;
        m_incoming.clear();
    }

    DeviceSetting* deviceSetting() override { return &setting; }
    bool isConnected() override { return up; }
    int retryCount() override { return retries; }
    int stationId() override { return station; }

    int commandDelay() override
    {
        ++waits;
        return delay;
    }

    QString errorString() override { return QLatin1String("the link's own words"); }

    int station;
    int retries;
    int delay;
    bool up;
    bool opens; ///< what open() answers
    int takes;  ///< bytes that writeData accepts at most; -1 for all
    int closes;
    int opened;
    int waits; ///< calls of commandDelay()
    DeviceSetting setting;
    QList<QByteArray> sent;
    QStringList calls;

protected:
    QByteArray m_incoming;
    QList<QByteArray> m_replies;
};

/// A device that does what it is asked, once the queued answers are used up: every byte of it is value,
/// writes are confirmed. It refuses to read nothing.
class ObedientDevice : public ScriptedLink
{
public:
    explicit ObedientDevice(int byte = 0) : value(char(byte)) {}

    int writeData(const char* data, int length) override
    {
        const QByteArray frame(data, length);
        const int functionCode = uchar(frame.at(7));
        const int quantity = big16(frame, 10);
        QByteArray pdu = frame.mid(7, 5);
        if (functionCode <= 4 && quantity == 0) {
            pdu = QByteArray(1, char(functionCode | 0x80)) + '\x03';
        } else if (functionCode <= 4) {
            const int bytes = functionCode <= 2 ? (quantity + 7) / 8 : 2 * quantity;
            pdu = frame.mid(7, 1) + char(bytes) + QByteArray(bytes, value);
        }
        if (m_replies.isEmpty())
            answersPdu(pdu.toHex().constData());
        return ScriptedLink::writeData(data, length);
    }

    const char value;
};

#endif
