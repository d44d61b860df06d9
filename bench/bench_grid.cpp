// The routing page on a large network: rebuilding the grid from the registry,
// moving the pointer across cells, and the memory the page holds. Only the
// tile band holds graphics items, so neither time nor memory may grow with the
// number of cells.

#include "benchreport.h"

#include "core/app/scalefactors.h"
#include "core/devices/devmanager.h"
#include "core/protocol/ipv4.h"
#include "gui/routing/cellgraphicsscene.h"
#include "gui/routing/cellrouteform.h"
#include "core/routing/routegrid.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <malloc.h>
#include <vector>

namespace {

size_t heapInUse()
{
    const struct mallinfo2 m = mallinfo2();
    return m.uordblks + m.hblkhd;
}

QString devId(int i)
{
    return QStringLiteral("BENCH-%1").arg(i, 4, 10, QLatin1Char('0'));
}

// devices of channels x channels; receive channel k of device i takes transmit
// channel k of device i - 1, so every column has a route.
void fill(DevManager &reg, int devices, int channels)
{
    const QString n = QString::number(channels);
    for (int i = 0; i < devices; ++i) {
        const quint32 ip = 0x0A000000u + quint32(i + 1);
        const QJsonObject a{{"ops", "iAmCorvane"}, {"devId", devId(i)},
                            {"name", QStringLiteral("Device %1").arg(i + 1)},
                            {"ip", Ipv4::toText(ip)}, {"port", "9990"}, {"chNumRx", n}, {"chNumTx", n},
                            {"ucastNumRx", "16"}, {"ucastNumTx", "16"}, {"mcastNumRx", "8"}, {"mcastNumTx", "4"},
                            {"sampleRate", "48000"}, {"sampleByteNum", "3"}, {"pFrameNum", "48"}, {"dscp", "34"},
                            {"delayUs", "2000"}, {"model", "RK6464"}, {"canWork", "1"}};
        const QByteArray data = QJsonDocument(a).toJson(QJsonDocument::Compact);
        reg.intakeAnnouncement(data.constData(), data.size(), ip, 9996);
        QJsonArray rx;
        QJsonArray rtp;
        const int source = (i + devices - 1) % devices;
        for (int ch = 0; ch < channels; ++ch) {
            rx.append(QJsonObject{{"id", QString::number(ch)}, {"rtpChId", QString::number(ch)}});
            rtp.append(QJsonObject{{"id", QString::number(ch)}, {"srcDevId", devId(source)}, {"name", "x"},
                                   {"srcChId", QString::number(ch)}, {"srcIp", Ipv4::toText(0x0A000001u + source)},
                                   {"dstIp", Ipv4::toText(ip)}, {"dstPort", "5004"}});
        }
        for (const auto &[op, arr] : {std::make_pair("getAllRxCh", rx), std::make_pair("getAllRtpCh", rtp)})
            reg.intakeReply(QJsonObject{{"ops", op}, {"devId", devId(i)}, {"result", "succ"}, {"idStart", "0"},
                                        {"idNext", channels}, {"arr", arr}},
                            ip);
    }
}

double medianMs(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double coreRebuildMs(const DevManager &reg)
{
    RouteGrid g;
    g.rebuild(reg.devices(), reg.flows());
    g.setAllExpanded(RouteGrid::Rows, true);
    g.setAllExpanded(RouteGrid::Columns, true);
    std::vector<double> runs;
    for (int i = 0; i < 9; ++i) {
        QElapsedTimer t;
        t.start();
        g.rebuild(reg.devices(), reg.flows());
        runs.push_back(t.nsecsElapsed() / 1e6);
    }
    return medianMs(runs);
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    applyScaleFactors(computeScaleFactors(ScreenMetrics{1920, 1080, 1920, 1080, 96}));
    bool ok = true;

    DevManager big;
    fill(big, 256, 64);
    ok &= BenchReport::atMost("grid core rebuild, 256 devices of 64x64 unfolded (16384 x 16384)", coreRebuildMs(big),
                              "ms", 50, 2);

    const size_t before = heapInUse();
    {
        auto *form = new CellRouteForm(big, nullptr);
        form->resize(1500, 900);
        form->show();
        QApplication::processEvents();
        form->setAllExpanded(true);
        std::vector<double> runs;
        for (int i = 0; i < 9; ++i) {
            QElapsedTimer t;
            t.start();
            form->slot_rebuild();
            runs.push_back(t.nsecsElapsed() / 1e6);
        }
        ok &= BenchReport::atMost("routing page rebuild, 16384 x 16384 unfolded, band drawn", medianMs(runs), "ms",
                                  50, 2);

        const int cell = form->cellSize();
        const int moves = 2000;
        QElapsedTimer t;
        t.start();
        for (int i = 0; i < moves; ++i) {
            // Diagonal steps of one cell: every move lands on a new cell.
            const int k = i % 40;
            emit form->scene()->signal_mouseMoved(QPointF((k + 0.5) * cell, (k + 0.5) * cell));
        }
        ok &= BenchReport::atMost("hover move to a new cell", t.nsecsElapsed() / 1e6 / moves, "ms", 1, 3);

        std::vector<double> scrolls;
        for (int i = 1; i <= 20; ++i) {
            QElapsedTimer s;
            s.start();
            form->scrollToLine(RouteGrid::Rows, i * 400);
            scrolls.push_back(s.nsecsElapsed() / 1e6);
        }
        ok &= BenchReport::atMost("scroll to a new band (repopulation)", medianMs(scrolls), "ms", 50, 2);
        const double mib = double(heapInUse() - before) / (1024.0 * 1024.0);
        ok &= BenchReport::atMost("routing page memory, 16384 x 16384 unfolded", mib, "MiB", 200, 1);
        delete form;
    }

    DevManager wide;
    fill(wide, 1024, 16);
    ok &= BenchReport::atMost("grid core rebuild, 1024 devices of 16x16 unfolded", coreRebuildMs(wide), "ms", 50, 2);
    return ok ? 0 : 1;
}
