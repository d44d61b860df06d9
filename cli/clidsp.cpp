// corvane-cli dsp: the DSP configuration of one device over its TCP link,
// through the same transport, document and command code as the DSP window.
#include "cliapp.h"

#include "core/app/texts.h"
#include "core/devices/devicemodels.h"
#include "core/devices/devmanager.h"
#include "core/protocol/deviceports.h"
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspcommands.h"
#include "core/dsp/dsplink.h"
#include "core/protocol/devicelink.h"
#include "core/protocol/ipv4.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QTextStream>
#include <QTimer>

namespace {

constexpr int kConnectMs = 3000;
// A whole document of a large device takes a moment to be written.
constexpr int kDspReplyMs = 5000;

/// Waits for the next signal of the link, or the time limit; true when it came.
template<class Signal, class Slot>
bool waitFor(DspLink *link, Signal signal, Slot onSignal, int timeoutMs)
{
    QEventLoop loop;
    bool came = false;
    const auto c = QObject::connect(link, signal, &loop, [&](auto &&...args) {
        if (onSignal(args...)) {
            came = true;
            loop.quit();
        }
    });
    const auto gone = QObject::connect(link, &DspLink::signal_disconnected, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    loop.exec();
    QObject::disconnect(c);
    QObject::disconnect(gone);
    return came;
}

} // namespace

bool CliApp::dspRequest(DspLink *link, const QString &request, QString *reply)
{
    link->sendTcpRequest(request);
    return waitFor(
        link, &DspLink::signal_recvMsg,
        [reply](const QString &msg) {
            *reply = msg;
            return true;
        },
        kDspReplyMs);
}

int CliApp::cmdDsp()
{
    const QString sub = m_options.args.at(0);
    const QString devText = m_options.args.at(1);
    QString devId;
    waitUntil([&] { return !(devId = resolveDevice(devText)).isEmpty(); }, m_options.waitMs);
    const auto dev = m_link->registry().findByDevId(devId);
    if (!dev)
        return fail(3, QStringLiteral("no such device: %1").arg(devText));
    if (!DeviceModels::isDspCapable(dev->rec.model.str()))
        return fail(3, QStringLiteral("%1 (%2) has no DSP").arg(devText, dev->rec.model.str()));

    DspBlockAddress at;
    if (sub != QLatin1String("get-config")) {
        int *fields[3] = {&at.nodeId, &at.portIndex, &at.procIndex};
        for (int i = 0; i < 3; ++i) {
            bool ok = false;
            *fields[i] = m_options.args.at(2 + i).toInt(&ok);
            if (!ok || *fields[i] < 0)
                return fail(2, QStringLiteral("NODE, PORT and PROC are indices from 0, not \"%1\"")
                                   .arg(m_options.args.at(2 + i)));
        }
    }

    DspLink link;
    link.start(dev->rec.ip);
    if (!waitFor(&link, &DspLink::signal_connected, [](const QString &, bool up) { return up; }, kConnectMs))
        return fail(4, QStringLiteral("cannot connect to the DSP of %1 at %2:%3")
                           .arg(devText, Ipv4::toText(dev->rec.ip))
                           .arg(DevicePorts::kDsp));

    QString reply;
    if (!dspRequest(&link, DspCommands::getConfig(), &reply))
        return fail(4, QStringLiteral("no configuration from %1").arg(devText));
    CDeviceDspData doc;
    const CDeviceDspData::LoadResult loaded = doc.loadReply(reply.toUtf8());
    if (!loaded.ok())
        return fail(4, QStringLiteral("%1 sent a configuration this program cannot use: %2").arg(devText, loaded.why));

    if (sub == QLatin1String("get-config")) {
        const QByteArray text = doc.toJson();
        *m_out << (m_options.json ? text : QJsonDocument::fromJson(text).toJson(QJsonDocument::Indented));
        if (m_options.json)
            *m_out << '\n';
        return 0;
    }

    const DspCommands::Edit edit = sub == QLatin1String("bypass")
                                       ? DspCommands::planBypass(doc, at, m_options.args.at(5))
                                       : DspCommands::planSetBlock(doc, at, m_options.args.at(5));
    if (!edit.ok())
        return fail(2, edit.error);
    *m_out << "sent: " << edit.command << '\n';
    if (!dspRequest(&link, edit.command, &reply))
        return fail(4, QStringLiteral("no reply from %1").arg(devText));
    *m_out << "reply: " << reply << '\n';
    const DspCommands::Reply r = DspCommands::readReply(reply);
    if (r.succeeded)
        return 0;
    const QString why = r.failureText ? tx(*r.failureText) : QStringLiteral("failed");
    return fail(1, r.reason.isEmpty() ? why : why + QStringLiteral(" (") + r.reason + QLatin1Char(')'));
}
