#include "core/dsp/dspdefaults.h"

#include "core/dsp/dspcodec.h"

#include <QJsonDocument>
#include <QJsonObject>

// The texts a device's own default documents show; tests hold them equal to what block() builds.
// clang-format off
#define DSP_DEFAULT(type, obj) "{\"bypass\":\"1\",\"core\":\"-1\",\"groupId\":\"-1\",\"obj\":" obj ",\"type\":\"" type "\"}"
#define DSP_BAND(freq) "{\"dbGain\":\"0\",\"freq0\":\"" freq "\",\"qBwS\":\"1\",\"type\":\"0\"}"

#define DSP_EQ                                                                                                    \
    DSP_DEFAULT("0", "{\"bypassArr\":[\"0\",\"0\",\"0\",\"0\",\"0\",\"0\",\"0\"],\"eqArr\":["                    \
                     DSP_BAND("40") "," DSP_BAND("101") "," DSP_BAND("254") "," DSP_BAND("640") ","               \
                     DSP_BAND("1600") "," DSP_BAND("4000") "," DSP_BAND("10200") "]}")
#define DSP_DELAY DSP_DEFAULT("1", "{\"delayNum\":\"0\",\"maxNum\":\"24000\"}")
#define DSP_DYNAMICS(type)                                                                                        \
    DSP_DEFAULT(type, "{\"attackMs\":\"50\",\"kneeDb\":\"0\",\"ratio\":\"2\",\"releaseMs\":\"100\",\"trigDb\":\"-20\"}")
#define DSP_HPF DSP_DEFAULT("4", "{\"freq0\":\"20\",\"isHpf\":\"1\",\"order\":\"1\",\"type\":\"0\"}")
#define DSP_LPF DSP_DEFAULT("4", "{\"freq0\":\"20000\",\"isHpf\":\"0\",\"order\":\"1\",\"type\":\"0\"}")

const char DspDefaults::kInputChain[] =
    "{\"procArr\":["
    DSP_DEFAULT("9", "{\"freq\":\"1000\",\"gainDb\":\"-20\",\"mode\":\"0\"}") ","
    DSP_DEFAULT("7", "{\"closeMs\":\"10\",\"openMs\":\"10\",\"trigDb\":\"-90\"}") ","
    DSP_DEFAULT("3", "{\"freqShift\":\"1\"}") ","
    DSP_DELAY "," DSP_EQ "," DSP_HPF "," DSP_LPF "," DSP_DYNAMICS("8")
    "]}";

const char DspDefaults::kOutputChain[] =
    "{\"procArr\":["
    DSP_DELAY "," DSP_EQ "," DSP_HPF "," DSP_LPF "," DSP_DYNAMICS("2") ","
    DSP_DEFAULT("6", "{\"limitDb\":\"-20\"}") ","
    DSP_DEFAULT("5", "{\"arr\":[],\"attDb\":\"21\",\"firType\":\"0\",\"freq0\":\"10000\",\"freq1\":\"20001\","
                     "\"maxTaps\":\"256\",\"taps\":\"127\",\"winType\":\"0\"}")
    "]}";

#undef DSP_DEFAULT
#undef DSP_BAND
#undef DSP_EQ
#undef DSP_DELAY
#undef DSP_DYNAMICS
#undef DSP_HPF
#undef DSP_LPF
// clang-format on

namespace {

QVector<DspBlock> chainOf(const char *text)
{
    QVector<DspBlock> chain;
    const QJsonObject o = QJsonDocument::fromJson(QByteArray(text)).object();
    DspCodec::readChain(o.value(QLatin1String("procArr")).toArray(), &chain, nullptr);
    return chain;
}

} // namespace

QVector<DspBlock> DspDefaults::inputChain()
{
    static const QVector<DspBlock> chain = chainOf(kInputChain);
    return chain;
}

QVector<DspBlock> DspDefaults::outputChain()
{
    static const QVector<DspBlock> chain = chainOf(kOutputChain);
    return chain;
}

DspEq DspDefaults::eq()
{
    static const double kFreqs[] = {40, 101, 254, 640, 1600, 4000, 10200};
    DspEq e;
    for (double f : kFreqs) {
        DspEqBand b;
        b.freq0 = f;
        e.bands.append(b);
    }
    return e;
}

DspBlock DspDefaults::block(int type, bool highPass)
{
    DspBlock b;
    switch (type) {
    case 0: b.obj = eq(); break;
    case 1: b.obj = DspDelay(); break;
    case 2: b.obj = DspCompressor(); break;
    case 3: b.obj = DspFeedback(); break;
    case 4: {
        DspCrossover c;
        c.isHpf = highPass;
        c.freq0 = highPass ? 20.0 : 20000.0;
        b.obj = c;
        break;
    }
    case 5: b.obj = DspFir(); break;
    case 6: b.obj = DspLimiter(); break;
    case 7: b.obj = DspGate(); break;
    case 8: b.obj = DspExpander(); break;
    case 9: b.obj = DspSignalGen(); break;
    case 10: b.obj = DspAec(); break;
    case 11: b.obj = DspDucker(); break;
    default: b.obj = DspUnknownBlock{type};
    }
    return b;
}

DspChannel DspDefaults::channel()
{
    return DspChannel();
}

DspChannel DspDefaults::aecChannel(int channel)
{
    DspChannel c;
    c.nearArr = {channel};
    return c;
}

DspAutomixer DspDefaults::automixer(int channels)
{
    DspAutomixer a;
    a.chNumLimit = channels;
    a.maskArr = QVector<bool>(channels, true);
    return a;
}

DspMatrix DspDefaults::matrix(int outputs, int inputs)
{
    DspMatrix m;
    m.gainArr = QVector<QVector<double>>(outputs, QVector<double>(inputs, -100.0));
    m.muteArr = QVector<QVector<bool>>(outputs, QVector<bool>(inputs, true));
    for (int i = 0; i < outputs && i < inputs; ++i) {
        m.gainArr[i][i] = 0.0;
        m.muteArr[i][i] = false;
    }
    return m;
}
