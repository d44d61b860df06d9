// The DSP link reads whatever a device (or anything answering on its port) sends, in reads of any size. The
// assembler must survive every byte stream and keep its bookkeeping sane whatever the chunking.
//
// Input: the first byte picks the chunk sizes (low five bits: the base size, high three: how much it varies
// from chunk to chunk); the rest is the stream, fed chunk by chunk into one assembler.

#include "core/app/log.h"
#include "core/dsp/dspframeassembler.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

void check(bool ok)
{
    if (!ok)
        __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool quiet = [] {
        Log::setOutput(std::fopen("/dev/null", "w"), true);
        return true;
    }();
    (void)quiet;
    if (size < 1)
        return 0;

    const int base = 1 + (data[0] & 0x1f);
    const int spread = data[0] >> 5;
    const char *stream = reinterpret_cast<const char *>(data + 1);
    const int total = int(size - 1);

    DspFrameAssembler a;
    int at = 0;
    for (int i = 0; at < total; ++i) {
        const int length = qMin(total - at, base + (spread ? (i * 7) % (spread * 8) : 0));
        QString message;
        const DspFrameAssembler::Status s = a.feed(stream + at, length, &message);
        at += length;

        check(a.remainingBytes() <= qint32(DspFrameAssembler::kMaxPayload));
        // Nothing is kept beyond what arrived (a byte makes at most one character).
        check(a.pendingText().size() <= at);
        switch (s) {
        case DspFrameAssembler::Status::Complete: {
            check(a.expectingHeader() && a.pendingText().isEmpty());
            check(message.size() <= at);
            check(!message.contains(QChar(0)));
            // What the link hands on is a message it could send back unchanged.
            if (!message.isEmpty()) {
                DspFrameAssembler again;
                QString copy;
                check(again.feed(DspFrameAssembler::frame(message), &copy) == DspFrameAssembler::Status::Complete);
                check(copy == message);
            }
            break;
        }
        case DspFrameAssembler::Status::ShortHeader:
            check(length < DspFrameAssembler::kHeaderSize && a.expectingHeader());
            break;
        case DspFrameAssembler::Status::Broken:
            // The caller drops the connection; the assembler is ready for a new one.
            check(a.expectingHeader() && a.pendingText().isEmpty());
            return 0;
        case DspFrameAssembler::Status::Pending:
            break;
        }
    }
    return 0;
}
