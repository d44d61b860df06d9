// A DSP window loads whatever arrives on its link as a "getConfig" reply. Every input is loaded over the same
// small document: a refused input must leave it exactly as it was; an accepted one must write back to text that
// Qt's own compact form leaves unchanged, that loads again, and that writes again to the same text. The first
// blocks of an accepted document also go through an empty user edit and back through apply(), which must
// change nothing.

#include "core/app/log.h"
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspcommands.h"
#include "core/protocol/jsonintake.h"

#include <QJsonDocument>

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

const QByteArray kBase = "{\"config\":{\"customStr\":\"\",\"groupArr\":[],\"nodeArr\":["
                         "{\"obj\":{},\"portArr\":[{\"commArr\":[],\"gainDb\":\"-3\",\"groupId\":\"-1\","
                         "\"inverse\":\"0\",\"mute\":\"1\",\"procArr\":[{\"bypass\":\"1\",\"core\":\"-1\","
                         "\"groupId\":\"-1\",\"obj\":{\"limitDb\":\"-20\"},\"type\":\"6\"}]}],\"portNum\":\"1\","
                         "\"type\":\"0\"},"
                         "{\"obj\":{\"gainArr\":[[\"0\"]],\"muteArr\":[[\"0\"]]},\"portArr\":[],\"portNum\":\"0\","
                         "\"type\":\"1\"},"
                         "{\"obj\":{},\"portArr\":[],\"portNum\":\"0\",\"type\":\"0\"}],"
                         "\"sampleRate\":\"48000\",\"version\":\"4\"},\"ops\":\"getConfig\",\"result\":\"succ\"}";

QByteArray replyOf(const QByteArray &config)
{
    return "{\"config\":" + config + ",\"ops\":\"getConfig\",\"result\":\"succ\"}";
}

void check(bool ok)
{
    if (!ok)
        __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Log::setOutput(std::fopen("/dev/null", "w"), true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static CDeviceDspData base;
    static QByteArray baseText;
    if (baseText.isEmpty()) {
        check(base.loadReply(kBase).ok());
        baseText = base.toJson();
    }

    CDeviceDspData doc = base;
    const QByteArray input(reinterpret_cast<const char *>(data), int(size));
    if (!doc.loadReply(input).ok()) {
        check(doc.toJson() == baseText);
        return 0;
    }

    const QByteArray written = doc.toJson();
    QJsonObject parsed;
    check(JsonIntake::parseObject(written.constData(), written.size(), &parsed));
    check(QJsonDocument(parsed).toJson(QJsonDocument::Compact) == written);

    CDeviceDspData again;
    check(again.loadReply(replyOf(written)).ok());
    check(again.toJson() == written);

    int edits = 0;
    for (int n = 0; n < doc.nodeArr.size() && edits < 4; ++n) {
        for (int p = 0; p < doc.nodeArr[n].portArr.size() && edits < 4; ++p) {
            for (int b = 0; b < doc.nodeArr[n].portArr[p].procArr.size() && edits < 4; ++b, ++edits) {
                const DspBlockAddress at{n, p, b};
                const DspCommands::Edit e = DspCommands::planSetBlock(doc, at, QStringLiteral("{}"));
                if (doc.blockFlag(at).isEmpty() || !doc.block(at)->isKnownType()) {
                    check(!e.ok());
                    continue;
                }
                check(e.ok());
                check(again.apply(e.command));
            }
        }
    }
    check(again.toJson() == written);
    return 0;
}
