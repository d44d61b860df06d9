#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

/// Frames of the DSP link: a 4-byte little-endian byte count, then that many
/// bytes of UTF-8 JSON. The assembler turns whatever one read returned into
/// whole messages, chunk by chunk, the way the device link has always read
/// them (one read is never split into two messages, see feed()).
///
/// A plain value: no Qt objects, no threads. The threaded link and the
/// blocking exchange each own one and feed it from the thread that reads.
class DspFrameAssembler
{
public:
    /// A length prefix beyond this is a stream out of step, not a reply:
    /// the largest configuration document is a few megabytes.
    static constexpr quint32 kMaxPayload = 64u * 1024u * 1024u;
    static constexpr int kHeaderSize = 4;

    enum class Status {
        Pending,     ///< Nothing complete yet; keep reading.
        Complete,    ///< text() holds one message; the next chunk starts a new one.
        ShortHeader, ///< A chunk too short to hold the length prefix was thrown away.
        Broken,      ///< The prefix exceeds kMaxPayload: drop the connection.
    };

    /// Length prefix and UTF-8 payload of one message.
    static QByteArray frame(const QString &message);

    /// Takes one read's worth of bytes; on Complete the message goes to
    /// *message. Everything after the prefix goes into the current message up
    /// to the chunk's first zero byte, and the whole chunk counts against the
    /// prefix: when one read carries the end of one reply and the start of the
    /// next, the second is swallowed into the first. The device answers one
    /// request at a time, so this happens only on a stream already in trouble.
    /// The odd chunks are logged here, so every reader logs them alike.
    Status feed(const char *data, int size, QString *message);
    Status feed(const QByteArray &chunk, QString *message)
    {
        return feed(chunk.constData(), chunk.size(), message);
    }

    /// What is assembled of the open message.
    QString pendingText() const { return QString::fromUtf8(text); }
    qint32 remainingBytes() const { return remaining; }
    bool expectingHeader() const { return expectHeader; }

    /// Forgets a half-assembled message, as at the start of a new connection.
    void reset();

private:
    qint32 remaining = 0;
    // Kept as bytes and decoded once complete, so a character whose bytes
    // straddle two reads survives.
    QByteArray text;
    bool expectHeader = true;
};
