// corvane-cli dsp status: a dynamics block's live state, read and rounded as its editor shows it.
#include "cliapp.h"

#include "clidspargs.h"
#include "clidspsession.h"
#include "core/dsp/params/dynamics.h"

#include <QJsonObject>
#include <QTimer>

#include <cmath>

int CliApp::dspStatus(CliDspSession &session, const CliDspArgs &a)
{
    DspController &c = session.controller();
    if (const int code = dspCheckChannel(c, a))
        return code;
    const QString where = QStringLiteral("%1 %2").arg(DspKinds::sideName(a.side)).arg(a.channel + 1);
    const quint64 id = c.blockId(a.side, a.channel, a.position);
    if (!id)
        return fail(2, QStringLiteral("BLOCK: %1 has %2 blocks, not %3")
                           .arg(where)
                           .arg(c.chain(a.side, a.channel).size())
                           .arg(a.position + 1));
    const std::optional<DspKind> kind = DspKinds::of(*c.block(id));
    const bool gate = kind == DspKind::NoiseGate;
    if (!gate && kind != DspKind::Compress && kind != DspKind::Expand && kind != DspKind::Limit)
        return fail(2, QStringLiteral("BLOCK: block %1 of %2 is %3, which has no live state")
                           .arg(a.position + 1)
                           .arg(where, kind ? DspKinds::cliName(*kind) : QStringLiteral("unknown")));

    std::optional<double> gain;
    std::optional<bool> open;
    connect(&c, &DspController::signal_blockStatus, this, [&](quint64 block, double g, int isOpen) {
        if (block != id)
            return;
        if (gate && isOpen >= 0)
            open = isOpen == 1;
        else if (!gate && std::isfinite(g))
            gain = g;
    });
    // A datagram may be lost: asked again until the answer comes.
    QTimer again;
    connect(&again, &QTimer::timeout, &c, [&c, id] { c.queryBlockStatus(id); });
    again.start(500);
    c.queryBlockStatus(id);
    if (!waitUntil([&] { return gain || open; }, qMax(m_options.waitMs, 3000)))
        return fail(4, QStringLiteral("%1 block %2: no answer").arg(where).arg(a.position + 1));
    if (gate)
        return dspPrint({{"open", *open}}, QStringLiteral("%1 block %2: %3")
                                                .arg(where)
                                                .arg(a.position + 1)
                                                .arg(*open ? QStringLiteral("open") : QStringLiteral("closed")));
    const double reduction = Dynamics::reductionDb(*gain);
    return dspPrint({{"reductionDb", reduction}},
                    QStringLiteral("%1 block %2: reduction %3 dB").arg(where).arg(a.position + 1).arg(reduction));
}
