#ifndef SESSION_FRAME_TRACE_H
#define SESSION_FRAME_TRACE_H

#include "session/tcp_link.h"

#include <QByteArray>
#include <QTextStream>

/// What a Modbus TCP frame says, as one line: transaction identifier, unit identifier, name of the function
/// code, and of a request address (as on the wire, from 0) and quantity or value, of a reply its number of
/// data bytes, the echoed fields or the exception code with its name. Empty when the bytes are no Modbus TCP
/// frame.
QString describeFrame(const QByteArray& frame, bool isRequest);

/// Bytes as two hexadecimal digits each, blanks between them.
QString spacedHex(const QByteArray& bytes);

/// What is known of the frames on a link.
enum class FrameKind
{
    ModbusTcp,
    Unknown
};

/// Prints each frame of a link on a line: time of day, direction ("->" to the device, "<-" from it), what the
/// frame says, and its bytes. Replies are put together from the pieces in which they come; what is no frame,
/// or never becomes whole, is printed as bytes. Pieces of an unknown kind are printed as they come, after
/// their text if they are lines of printable characters.
class FrameTrace : public LinkObserver
{
public:
    /// Neither the stream nor the peer's link is owned. peer is printed when the connection is made.
    FrameTrace(QTextStream& out, const QString& peer, FrameKind kind) : m_out(out), m_peer(peer), m_kind(kind)
    {
    }
    ~FrameTrace() override { flushPending(); }

    void opened() override;
    void closed(const QString& reason) override;
    void sent(const unsigned char* data, int length) override;
    void received(const unsigned char* data, int length) override;
    void dropped(const unsigned char* data, int length) override;

private:
    void print(const char* direction, const QString& text, const QByteArray& bytes = QByteArray());
    void flushPending();

    QTextStream& m_out;
    const QString m_peer;
    const FrameKind m_kind;
    QByteArray m_pending; ///< received and not yet a whole frame
};

#endif
