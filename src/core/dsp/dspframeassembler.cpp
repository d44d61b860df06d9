#include "core/dsp/dspframeassembler.h"

#include "core/app/log.h"

#include <cstring>

QByteArray DspFrameAssembler::frame(const QString &message)
{
    const QByteArray payload = message.toUtf8();
    const quint32 n = quint32(payload.size());
    QByteArray out;
    out.reserve(kHeaderSize + payload.size());
    out.append(char(n & 0xff));
    out.append(char((n >> 8) & 0xff));
    out.append(char((n >> 16) & 0xff));
    out.append(char((n >> 24) & 0xff));
    out.append(payload);
    return out;
}

DspFrameAssembler::Status DspFrameAssembler::feed(const char *data, int size, QString *message)
{
    int offset = 0;
    if (expectHeader) {
        if (size < kHeaderSize) {
            Log::line(QStringLiteral("tcp 读取数据长度错误 ") + QString::number(size));
            return Status::ShortHeader;
        }
        const auto *b = reinterpret_cast<const unsigned char *>(data);
        const quint32 prefix = quint32(b[0]) | quint32(b[1]) << 8 | quint32(b[2]) << 16 | quint32(b[3]) << 24;
        if (prefix > kMaxPayload) {
            Log::line(QStringLiteral("tcp frame length out of range, dropping the link ") + QString::number(prefix));
            reset();
            return Status::Broken;
        }
        remaining = qint32(prefix);
        if (remaining < 1)
            Log::line(QStringLiteral("tcp 读取数据，解析长度错误 ") + QString::number(remaining));
        expectHeader = false;
        offset = kHeaderSize;
    }
    const int beyond = size - offset;
    if (beyond <= 0)
        return Status::Pending;

    const char *from = data + offset;
    const void *zero = std::memchr(from, 0, size_t(beyond));
    text.append(from, zero ? int(static_cast<const char *>(zero) - from) : beyond);
    // remaining is at most kMaxPayload here and beyond at most INT_MAX, so
    // this cannot wrap.
    remaining -= beyond;
    if (remaining > 0)
        return Status::Pending;

    if (message)
        *message = QString::fromUtf8(text);
    text.clear();
    expectHeader = true;
    return Status::Complete;
}

void DspFrameAssembler::reset()
{
    remaining = 0;
    text.clear();
    expectHeader = true;
}
