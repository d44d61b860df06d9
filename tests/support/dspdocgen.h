#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <cmath>

/// DSP configuration documents as a device writes them, built with Qt's JSON classes and Qt's own number
/// formatting (not the program's writer), so that comparing the program's output with these texts tests the
/// writer against an independent one. Every value follows the document's rules, so a document made here
/// survives loading and writing unchanged.
namespace DspDocGen {

struct Options
{
    int inputs = 16;
    int outputs = 16;
    bool echoCancel = true; ///< an echo-cancellation node after the inputs
    bool automixer = true;  ///< an automixer node before the matrix
    int firTaps = 127;      ///< coefficients in each output's FIR block
};

inline QString num(double v)
{
    return QString::number(v == 0 ? 0.0 : v, 'g', 6); // a device never writes "-0"
}

inline QString num(int v)
{
    return QString::number(v);
}

inline QJsonObject block(int type, const QJsonObject &obj, bool bypass = true, int groupId = -1)
{
    return QJsonObject{
        {"bypass", bypass ? "1" : "0"}, {"core", "-1"}, {"groupId", num(groupId)}, {"obj", obj}, {"type", num(type)}};
}

// Values vary with the channel and the place in the chain so that reals with fractions, negative values and
// exponents all turn up; seed picks the variation.
inline QJsonObject eq(int seed)
{
    static const int kFreqs[] = {40, 101, 254, 640, 1600, 4000, 10200};
    QJsonArray bypass;
    QJsonArray bands;
    for (int i = 0; i < 7; ++i) {
        bypass.append((seed + i) % 3 == 0 ? "1" : "0");
        bands.append(QJsonObject{{"dbGain", num((seed * 7 + i) % 37 * 0.5 - 12.0)},
                                 {"freq0", num(kFreqs[i] * (1.0 + (seed % 5) * 0.0125))},
                                 {"qBwS", num(0.017 + ((seed + i) % 11) * 0.271)},
                                 {"type", num(i == 0 ? 1 : i == 6 ? 2 : (seed + i) % 4 == 0 ? 7 : 0)}});
    }
    return QJsonObject{{"bypassArr", bypass}, {"eqArr", bands}};
}

inline QJsonObject dynamics(int seed)
{
    static const double kRatios[] = {1.2, 1.5, 2, 3, 4, 6, 10, 20, 40, 128};
    return QJsonObject{{"attackMs", num(1 + seed % 100)},
                       {"kneeDb", "0"},
                       {"ratio", num(kRatios[seed % 10])},
                       {"releaseMs", num(100 + (seed % 60) * 10)},
                       {"trigDb", num(-(seed % 1000) / 10.0)}};
}

inline QJsonObject crossover(bool highPass, int seed)
{
    return QJsonObject{{"freq0", num(highPass ? 20.0 + seed * 1.5 : 20000.0 - seed * 12.25)},
                       {"isHpf", highPass ? "1" : "0"},
                       {"order", num(seed % 2 ? 4 : 2)},
                       {"type", num(seed % 3)}};
}

inline QJsonObject fir(int taps, int seed)
{
    QJsonArray arr;
    for (int i = 0; i < taps; ++i) {
        const double x = (i - taps / 2) * 0.1 + seed * 0.001;
        arr.append(num(x == 0 ? 1.0 : std::sin(x) / x * 0.125e-2 * (1 + i % 3)));
    }
    return QJsonObject{{"arr", arr},       {"attDb", "21"},    {"firType", num(seed % 2)}, {"freq0", "10000"},
                       {"freq1", "20001"}, {"maxTaps", "256"}, {"taps", num(taps)},        {"winType", num(seed % 4)}};
}

inline QJsonArray inputChain(int ch)
{
    const int s = ch * 8;
    QJsonArray a;
    a.append(block(9, {{"freq", num(20 + ch * 97)}, {"gainDb", num(-60 + ch * 0.5)}, {"mode", num(ch % 3)}}));
    a.append(block(7, {{"closeMs", num(ch * 15)}, {"openMs", "10"}, {"trigDb", num(-90 + ch * 0.1)}}, false));
    if (ch % 2)
        a.append(block(10, {{"aecLevel", num(ch % 4)}, {"ansLevel", "2"}, {"banMask", num(ch * 3)}, {"farCh", num(ch)},
                            {"farFromOut", "1"}, {"hasAec", "1"}, {"hasAgc", "0"}, {"hasAns", "1"}}));
    else
        a.append(block(3, {{"freqShift", num(1 + ch % 5)}}));
    a.append(block(1, {{"delayNum", num(ch * 48)}, {"maxNum", "24000"}}, ch % 3 == 0));
    a.append(block(0, eq(s + 4), false, ch % 4 == 1 ? 0 : -1));
    a.append(block(4, crossover(true, s + 5)));
    a.append(block(4, crossover(false, s + 6)));
    a.append(block(8, dynamics(s + 7)));
    return a;
}

inline QJsonArray outputChain(int ch, int firTaps)
{
    const int s = ch * 8 + 1000;
    QJsonArray a;
    a.append(block(1, {{"delayNum", num(ch)}, {"maxNum", "48000"}}));
    a.append(block(0, eq(s + 1), false));
    a.append(block(4, crossover(true, s + 2)));
    a.append(block(4, crossover(false, s + 3)));
    a.append(block(2, dynamics(s + 4), false, ch % 2));
    a.append(block(6, {{"limitDb", num(-(ch % 200) * 0.25)}}));
    a.append(block(5, fir(firTaps, s)));
    a.append(block(11, {{"attackMs", "50"}, {"duckDb", num(-15 - ch % 10)}, {"holdMs", "500"}, {"refCh", num(ch)},
                        {"releaseMs", "500"}, {"trigDb", "-40"}}));
    return a;
}

inline QJsonObject channel(int ch, const QJsonArray &procArr)
{
    QJsonObject c{{"commArr", QJsonArray()},
                  {"gainDb", num(ch % 7 * -1.5)},
                  {"groupId", num(ch % 5 == 0 ? ch % 3 : -1)},
                  {"inverse", ch % 4 == 3 ? "1" : "0"},
                  {"mute", ch % 6 == 5 ? "1" : "0"}};
    if (!procArr.isEmpty())
        c.insert("procArr", procArr);
    return c;
}

inline QJsonObject node(int type, const QJsonArray &ports, const QJsonObject &obj = QJsonObject())
{
    return QJsonObject{{"obj", obj}, {"portArr", ports}, {"portNum", num(ports.size())}, {"type", num(type)}};
}

inline QJsonObject config(const Options &o = Options())
{
    QJsonArray nodes;
    QJsonArray ins;
    for (int ch = 0; ch < o.inputs; ++ch)
        ins.append(channel(ch, inputChain(ch)));
    nodes.append(node(0, ins));

    if (o.echoCancel) {
        QJsonArray ports;
        for (int ch = 0; ch < o.inputs; ++ch) {
            QJsonObject c = channel(ch, QJsonArray());
            c.insert("aecLevel", num(ch % 3 + 1));
            c.insert("ansLevel", "2");
            c.insert("farArr", ch % 2 ? QJsonArray{num(o.inputs - 1 - ch)} : QJsonArray());
            c.insert("hasAec", "1");
            c.insert("hasAgc", ch % 2 ? "1" : "0");
            c.insert("hasAns", "1");
            c.insert("nearArr", QJsonArray{num(ch)});
            ports.append(c);
        }
        nodes.append(node(2, ports));
    }
    if (o.automixer) {
        QJsonArray ports;
        QJsonArray mask;
        for (int ch = 0; ch < o.inputs; ++ch) {
            ports.append(channel(ch, QJsonArray()));
            mask.append(ch % 8 == 7 ? "0" : "1");
        }
        nodes.append(node(3, ports,
                          {{"attackMs", "10"}, {"chNumLimit", num(o.inputs)}, {"decayDb", "-6"}, {"duckAttackMs", "50"},
                           {"duckDb", "-15"}, {"duckReleaseMs", "500"}, {"holdMs", "500"}, {"leaveLastOn", "1"},
                           {"maskArr", mask}, {"mode", "0"}, {"nomAttenuate", "1"}, {"releaseMs", "300"},
                           {"slope", "2.5"}, {"trigDb", "-40"}}));
    }

    QJsonArray gains;
    QJsonArray mutes;
    for (int out = 0; out < o.outputs; ++out) {
        QJsonArray g;
        QJsonArray m;
        for (int in = 0; in < o.inputs; ++in) {
            g.append(out == in ? "0" : (out + in) % 9 == 0 ? num(-6.5 - in * 0.25) : "-100");
            m.append(out == in || (out + in) % 9 == 0 ? "0" : "1");
        }
        gains.append(g);
        mutes.append(m);
    }
    nodes.append(node(1, QJsonArray(), {{"gainArr", gains}, {"muteArr", mutes}}));

    QJsonArray outs;
    for (int ch = 0; ch < o.outputs; ++ch)
        outs.append(channel(ch, outputChain(ch, o.firTaps)));
    nodes.append(node(0, outs));

    const QJsonArray groups{QJsonObject{{"gainDb", "-3"}, {"mute", "0"}, {"name", "Front fill"}},
                            QJsonObject{{"gainDb", "1.5"}, {"mute", "1"}, {"name", "舞台 \"B\""}},
                            QJsonObject{{"gainDb", "0"}, {"mute", "0"}, {"name", ""}}};
    return QJsonObject{{"customStr", "Hall A / 大厅"}, {"groupArr", groups}, {"nodeArr", nodes},
                       {"sampleRate", "48000"}, {"version", "4"}};
}

inline QByteArray text(const QJsonObject &o)
{
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

/// The "getConfig" reply that carries config (as an object or as its text).
inline QByteArray reply(const QByteArray &configText)
{
    return "{\"config\":" + configText + ",\"ops\":\"getConfig\",\"result\":\"succ\",\"uiTag\":\"dspUiTag\"}";
}

inline QByteArray reply(const QJsonObject &config)
{
    return reply(text(config));
}

} // namespace DspDocGen
