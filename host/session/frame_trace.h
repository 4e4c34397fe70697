#ifndef SESSION_FRAME_TRACE_H
#define SESSION_FRAME_TRACE_H

#include "session/tcp_link.h"

#include <QByteArray>
#include <QTextStream>

/// A Modbus TCP frame described in one line: transaction identifier, unit identifier and name of the function
/// code. For a request also its address (as on the wire, from 0) and quantity or value; for a reply the
/// number of data bytes, the echoed fields, or the exception code with its name. Empty if the bytes are not a
/// Modbus TCP frame.
QString describeFrame(const QByteArray& frame, bool isRequest);

/// Bytes as two hexadecimal digits each, separated by blanks.
QString spacedHex(const QByteArray& bytes);

/// What is known about the frames on a link.
enum class FrameKind
{
    ModbusTcp,
    Unknown
};

/// Prints each frame of a link on a line: time of day, direction ("->" to the device, "<-" from it),
/// description, and bytes. Replies are assembled from the pieces in which they arrive; what is not a frame,
/// or never becomes complete, is printed as bytes. Pieces of an unknown kind are printed as they arrive, with
/// their text in front if they are lines of printable characters.
class FrameTrace : public LinkObserver
{
public:
    /// Owns neither the stream nor the peer's link. peer is printed when the connection is made.
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
    QByteArray m_pending; ///< received, not yet a complete frame
};

#endif
