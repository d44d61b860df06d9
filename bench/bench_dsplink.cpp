// The DSP window's first wait: "getConfig" out over the link and the whole configuration document back, for a
// large device (64 inputs and 64 outputs, eight blocks in every channel, a 64x64 matrix). A server on 127.0.0.1
// stands in for the device; the time runs from handing the request to the link until the reply reaches the
// caller's thread, the link's 20 ms pause after each send included. Sends on loopback, so this program runs only
// inside tests/netns-run.

#include "benchreport.h"

#include "core/app/log.h"
#include "core/dsp/dspframeassembler.h"
#include "core/dsp/dsplink.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr double kTargetMs = 50.0;
constexpr int kRuns = 20;
constexpr int kChannels = 64;
constexpr int kFirTaps = 255;

QString num(double v)
{
    return QString::number(v, 'g', 6);
}

QJsonObject block(int type, const QJsonObject &obj, int seed)
{
    return QJsonObject{{"bypass", seed % 3 ? "0" : "1"},
                       {"core", num(seed % 4)},
                       {"groupId", "-1"},
                       {"obj", obj},
                       {"type", num(type)}};
}

QJsonObject eq(int seed)
{
    static const int kFreqs[] = {40, 101, 254, 640, 1600, 4000, 10200};
    QJsonArray bypass;
    QJsonArray bands;
    for (int i = 0; i < 7; ++i) {
        bypass.append((seed + i) % 5 ? "0" : "1");
        bands.append(QJsonObject{{"dbGain", num(((seed * 7 + i * 3) % 31 - 15) * 0.5)},
                                 {"freq0", num(kFreqs[i] * (1.0 + (seed % 9) / 37.0))},
                                 {"qBwS", num(0.7 + ((seed + i) % 13) * 0.173)},
                                 {"type", num((seed + i) % 4)}});
    }
    return QJsonObject{{"bypassArr", bypass}, {"eqArr", bands}};
}

QJsonObject dynamics(int seed)
{
    return QJsonObject{{"attackMs", num(5 + seed % 95)},
                       {"kneeDb", num(seed % 7)},
                       {"ratio", num(1.5 + (seed % 10) * 0.75)},
                       {"releaseMs", num(50 + (seed * 13) % 950)},
                       {"trigDb", num(-60 + (seed * 3) % 55 + 0.25)}};
}

QJsonObject filter(bool highPass, int seed)
{
    return QJsonObject{{"freq0", num(highPass ? 20 + seed % 180 : 20000 - (seed * 37) % 8000)},
                       {"isHpf", highPass ? "1" : "0"},
                       {"order", num(1 + seed % 8)},
                       {"type", num(seed % 3)}};
}

QJsonObject fir(int seed)
{
    QJsonArray taps;
    // A windowed sinc: the reals a designer writes, six significant digits, exponents in the tails.
    for (int n = 0; n < kFirTaps; ++n) {
        const double x = n - (kFirTaps - 1) / 2.0;
        const double sinc = x == 0 ? 0.4 : std::sin(0.4 * M_PI * x) / (M_PI * x);
        const double window = 0.54 - 0.46 * std::cos(2 * M_PI * n / (kFirTaps - 1));
        taps.append(num(sinc * window * (1.0 + seed * 1e-4)));
    }
    return QJsonObject{{"arr", taps},        {"attDb", "21"},       {"firType", num(seed % 2)},
                       {"freq0", "10000"},   {"freq1", "20001"},    {"maxTaps", "256"},
                       {"taps", num(kFirTaps)}, {"winType", num(seed % 4)}};
}

QJsonArray chain(bool input, int channel)
{
    const int s = channel * 8;
    QJsonArray procs;
    procs.append(block(4, filter(true, s), s));
    procs.append(block(0, eq(s + 1), s + 1));
    procs.append(block(2, dynamics(s + 2), s + 2));
    if (input) {
        procs.append(block(7, QJsonObject{{"closeMs", num(10 + s % 40)}, {"openMs", "10"}, {"trigDb", num(-90 + s % 30)}},
                           s + 3));
        procs.append(block(8, dynamics(s + 4), s + 4));
        procs.append(block(3, QJsonObject{{"freqShift", num(s % 2)}}, s + 5));
        procs.append(block(1, QJsonObject{{"delayNum", num((s * 11) % 24000)}, {"maxNum", "24000"}}, s + 6));
        procs.append(block(11, QJsonObject{{"attackMs", "50"}, {"duckDb", "-15"}, {"holdMs", "500"},
                                           {"refCh", num(channel % 8)}, {"releaseMs", "500"}, {"trigDb", "-40"}},
                           s + 7));
    } else {
        procs.append(block(0, eq(s + 3), s + 3));
        procs.append(block(4, filter(false, s + 4), s + 4));
        procs.append(block(1, QJsonObject{{"delayNum", num((s * 11) % 24000)}, {"maxNum", "24000"}}, s + 5));
        procs.append(block(6, QJsonObject{{"limitDb", num(-3 - s % 17)}}, s + 6));
        // Loudspeaker correction: a designed FIR of nearly the longest kind on every output.
        procs.append(block(5, fir(s + 7), s + 7));
    }
    return procs;
}

QJsonObject channelNode(bool input)
{
    QJsonArray ports;
    for (int ch = 0; ch < kChannels; ++ch)
        ports.append(QJsonObject{{"commArr", QJsonArray()},
                                 {"gainDb", num((ch % 25 - 12) * 0.5)},
                                 {"groupId", num(ch % 16 == 0 ? ch / 16 : -1)},
                                 {"inverse", ch % 11 ? "0" : "1"},
                                 {"mute", ch % 7 ? "0" : "1"},
                                 {"procArr", chain(input, ch)}});
    return QJsonObject{{"obj", QJsonObject()}, {"portArr", ports}, {"portNum", num(kChannels)}, {"type", "0"}};
}

QJsonObject matrixNode()
{
    QJsonArray gains;
    QJsonArray mutes;
    for (int out = 0; out < kChannels; ++out) {
        QJsonArray g;
        QJsonArray m;
        for (int in = 0; in < kChannels; ++in) {
            const bool on = in == out || (in + out) % 9 == 0;
            g.append(on ? num(-((in * 3 + out) % 20) * 0.5) : "-100");
            m.append(on ? "0" : "1");
        }
        gains.append(g);
        mutes.append(m);
    }
    return QJsonObject{{"obj", QJsonObject{{"gainArr", gains}, {"muteArr", mutes}}},
                       {"portArr", QJsonArray()},
                       {"portNum", "0"},
                       {"type", "1"}};
}

QByteArray configReply()
{
    QJsonArray groups;
    for (int g = 0; g < 4; ++g)
        groups.append(QJsonObject{{"gainDb", "0"}, {"mute", "0"}, {"name", QStringLiteral("编组 %1").arg(g + 1)}});
    const QJsonObject config{{"customStr", QStringLiteral("大会议厅 主扩声")},
                             {"groupArr", groups},
                             {"nodeArr", QJsonArray{channelNode(true), matrixNode(), channelNode(false)}},
                             {"sampleRate", "48000"},
                             {"version", "4"}};
    const QJsonObject reply{{"config", config}, {"ops", "getConfig"}, {"result", "succ"}, {"uiTag", "dspUiTag"}};
    return QJsonDocument(reply).toJson(QJsonDocument::Compact);
}

// Answers every whole "getConfig" frame with the document.
class Device : public QObject
{
public:
    explicit Device(const QByteArray &document)
        : reply(DspFrameAssembler::frame(QString::fromUtf8(document)))
    {
        server.listen(QHostAddress(QStringLiteral("127.0.0.1")), 0);
        connect(&server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *s = server.nextPendingConnection())
                connect(s, &QTcpSocket::readyRead, this, [this, s] { take(s); });
        });
    }
    QTcpServer server;

private:
    void take(QTcpSocket *s)
    {
        inbox += s->readAll();
        while (inbox.size() >= 4) {
            const quint32 n = quint8(inbox[0]) | quint8(inbox[1]) << 8 | quint8(inbox[2]) << 16
                              | quint32(quint8(inbox[3])) << 24;
            if (inbox.size() < int(4 + n))
                return;
            const bool wanted = inbox.mid(4, int(n)).contains("\"getConfig\"");
            inbox.remove(0, int(4 + n));
            if (wanted)
                s->write(reply);
        }
    }
    QByteArray reply;
    QByteArray inbox;
};

bool waitUntil(const std::function<bool()> &done, int ms)
{
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    return done();
}

} // namespace

int main(int argc, char **argv)
{
    if (qgetenv("CORVANE_IN_NETNS") != "1") {
        std::printf("DSP link: run through tests/netns-run, never on the host's networks\n");
        return 2;
    }
    QCoreApplication app(argc, argv);
    // The link logs every send and arrival; the figures are the output here.
    Log::setOutput(std::fopen("/dev/null", "w"), true);

    const QByteArray document = configReply();
    Device device(document);
    if (!device.server.isListening()) {
        std::printf("DSP link: cannot listen on 127.0.0.1\n");
        return 2;
    }

    DspLink link;
    bool up = false;
    int arrived = 0;
    qsizetype lastSize = 0;
    QObject::connect(&link, &DspLink::signal_connected, [&up](const QString &, bool isSucc) { up = isSucc; });
    QObject::connect(&link, &DspLink::signal_recvMsg, [&](const QString &msg) {
        ++arrived;
        lastSize = msg.size();
    });
    link.start(0x7f000001, device.server.serverPort());
    if (!waitUntil([&] { return up; }, 3000)) {
        std::printf("DSP link: no connection\n");
        return 2;
    }

    const qsizetype expected = QString::fromUtf8(document).size();
    const QString request = QStringLiteral("{\"ops\":\"getConfig\",\"uiTag\":\"dspUiTag\"}");
    std::vector<double> ms;
    // One round first: the buffers of a fresh connection grow on the first large reply.
    for (int run = -1; run < kRuns; ++run) {
        const int before = arrived;
        QElapsedTimer t;
        t.start();
        link.sendTcpRequest(request);
        if (!waitUntil([&] { return arrived > before; }, 5000)) {
            std::printf("DSP link: no reply to getConfig\n");
            return 2;
        }
        const double took = t.nsecsElapsed() / 1e6;
        if (arrived != before + 1 || lastSize != expected) {
            std::printf("DSP link: the reply arrived damaged (%lld of %lld characters)\n", qint64(lastSize),
                        qint64(expected));
            return 2;
        }
        if (run >= 0)
            ms.push_back(took);
    }
    link.stop();

    std::sort(ms.begin(), ms.end());
    std::printf("DSP link: configuration document of %lld bytes (64 inputs, 64 outputs, 8 blocks each), %d runs\n",
                qint64(document.size()), kRuns);
    bool ok = BenchReport::atMost("DSP link getConfig round trip, median", ms[ms.size() / 2], "ms", kTargetMs, 1);
    ok = BenchReport::atMost("DSP link getConfig round trip, worst", ms.back(), "ms", kTargetMs, 1) && ok;
    return ok ? 0 : 1;
}
