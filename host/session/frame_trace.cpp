#include "session/frame_trace.h"

#include "text/shown.h"

#include <QTime>

#include <algorithm>

namespace {

constexpr int headerSize = 7;   // MBAP header
constexpr int lengthOffset = 6; // the length field counts from here
constexpr int largestAdu = 260; // from the Modbus standard; a reply of 2008 bits just fits
constexpr int exceptionFlag = 0x80;

int byteAt(const QByteArray& bytes, int at)
{
    return static_cast<unsigned char>(bytes.at(at));
}

int bigEndianAt(const QByteArray& bytes, int at)
{
    return byteAt(bytes, at) * 256 + byteAt(bytes, at + 1);
}

QString functionName(int code)
{
    switch (code) {
    case 1:
        return QStringLiteral("Read Coils");
    case 2:
        return QStringLiteral("Read Discrete Inputs");
    case 3:
        return QStringLiteral("Read Holding Registers");
    case 4:
        return QStringLiteral("Read Input Registers");
    case 5:
        return QStringLiteral("Write Single Coil");
    case 6:
        return QStringLiteral("Write Single Register");
    case 15:
        return QStringLiteral("Write Multiple Coils");
    case 16:
        return QStringLiteral("Write Multiple Registers");
    default:
        return QStringLiteral("function code %1").arg(code);
    }
}

QString exceptionName(int code)
{
    static const char* const names[] = {"",
                                        "illegal function",
                                        "illegal data address",
                                        "illegal data value",
                                        "server device failure",
                                        "acknowledge",
                                        "server device busy",
                                        "",
                                        "memory parity error",
                                        "",
                                        "gateway path unavailable",
                                        "gateway target device failed to respond"};
    const bool known = code < int(sizeof names / sizeof *names) && *names[code];
    return QLatin1String(known ? names[code] : "not in the Modbus standard");
}

bool isRead(int function)
{
    return function >= 1 && function <= 4;
}

/// The fields after the function code; empty if the frame is too short to have them.
QString describeFields(const QByteArray& frame, int function, bool isRequest)
{
    if (isRead(function) && !isRequest)
        return QStringLiteral("%1 data bytes").arg(frame.size() - headerSize - 2);
    if (frame.size() < headerSize + 5)
        return QString();
    const bool single = function == 5 || function == 6;
    const int second = bigEndianAt(frame, headerSize + 3);
    return QStringLiteral("address %1 %2 %3")
        .arg(bigEndianAt(frame, headerSize + 1))
        .arg(single ? QLatin1String("value") : QLatin1String("quantity"))
        .arg(function == 5 ? QStringLiteral("0x%1").arg(second, 4, 16, QLatin1Char('0'))
                           : QString::number(second));
}

/// Size of the frame at the start of bytes; 0 if it is not a Modbus TCP frame, -1 if more bytes are needed to
/// tell.
int frameSize(const QByteArray& bytes)
{
    if (bytes.size() < lengthOffset)
        return -1;
    const int size = lengthOffset + bigEndianAt(bytes, lengthOffset - 2);
    return bigEndianAt(bytes, 2) == 0 && size > headerSize && size <= largestAdu ? size : 0;
}

bool isPrintable(char character)
{
    return character >= ' ' && character <= '~';
}

/// Lines of a text protocol, without the line ends; empty for any other bytes.
QString readableLines(const QByteArray& bytes)
{
    const QByteArray text = QByteArray(bytes).replace('\r', ' ').replace('\n', ' ').trimmed();
    return std::all_of(text.begin(), text.end(), isPrintable) ? QString::fromLatin1(text) : QString();
}

} // namespace

QString describeFrame(const QByteArray& frame, bool isRequest)
{
    if (frame.size() <= headerSize || frameSize(frame) != frame.size())
        return QString();
    const int function = byteAt(frame, headerSize);
    const QString start = QStringLiteral("tid %1 unit %2 %3")
                              .arg(bigEndianAt(frame, 0))
                              .arg(byteAt(frame, headerSize - 1))
                              .arg(functionName(function & ~exceptionFlag));
    if (!(function & exceptionFlag))
        return (start + QLatin1Char(' ') + describeFields(frame, function, isRequest)).trimmed();
    if (frame.size() == headerSize + 1)
        return start + QStringLiteral(" exception without a code");
    const int code = byteAt(frame, headerSize + 1);
    return start + QStringLiteral(" exception %1 (%2)").arg(code).arg(exceptionName(code));
}

QString spacedHex(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toHex(' '));
}

void FrameTrace::print(const char* direction, const QString& text, const QByteArray& bytes)
{
    m_out << QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz ")) << direction << ' '
          << shown(text);
    if (!bytes.isEmpty())
        m_out << (text.isEmpty() ? "" : " | ") << spacedHex(bytes);
    m_out << '\n';
    m_out.flush();
}

void FrameTrace::flushPending()
{
    if (m_pending.isEmpty())
        return;
    const int size = frameSize(m_pending);
    print("<-", size == 0 ? QStringLiteral("no Modbus TCP frame") : QStringLiteral("incomplete frame"),
          m_pending);
    m_pending.clear();
}

void FrameTrace::opened()
{
    print("--", QStringLiteral("connected to ") + m_peer);
}

void FrameTrace::closed(const QString& reason)
{
    flushPending();
    print("--", reason);
}

void FrameTrace::sent(const unsigned char* data, int length)
{
    flushPending();
    const QByteArray frame(reinterpret_cast<const char*>(data), length);
    print("->", m_kind == FrameKind::ModbusTcp ? describeFrame(frame, true) : readableLines(frame), frame);
}

void FrameTrace::received(const unsigned char* data, int length)
{
    if (m_kind == FrameKind::Unknown) {
        const QByteArray piece(reinterpret_cast<const char*>(data), length);
        print("<-", readableLines(piece), piece);
        return;
    }
    m_pending.append(reinterpret_cast<const char*>(data), length);
    int size = frameSize(m_pending);
    while (size > 0 && size <= m_pending.size()) {
        const QByteArray frame = m_pending.left(size);
        print("<-", describeFrame(frame, false), frame);
        m_pending.remove(0, size);
        size = frameSize(m_pending);
    }
    if (size == 0)
        flushPending();
}

void FrameTrace::dropped(const unsigned char* data, int length)
{
    m_pending.clear();
    print("<-", QStringLiteral("dropped, nobody waits for it any more"),
          QByteArray(reinterpret_cast<const char*>(data), length));
}
