// corvane-cli dsp: the DSP configuration of one device, read and changed through the same controller, link and
// rules as the DSP window. Changes of chains are saved at once, as a command line has no "Save" to press later.
#include "cliapp.h"

#include "clidspargs.h"
#include "clidspsession.h"
#include "clioutput.h"
#include "core/app/texts.h"
#include "core/devices/devicemodels.h"
#include "core/devices/devmanager.h"
#include "core/dsp/dspbudget.h"
#include "core/protocol/devicelink.h"
#include "core/protocol/deviceports.h"
#include "core/protocol/ipv4.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

namespace {

constexpr int kConnectMs = 3000;
// The controller ends an unanswered request by itself; this only bounds a link that stops moving at all.
constexpr int kIdleMs = 4 * DspController::kReplyTimeoutMs;
constexpr int kSaveMs = DspController::kConfigTimeoutMs + 2000;

QString number(double v)
{
    return QString::number(v, 'g', 6);
}

QString place(DspSide side, int channel)
{
    return QStringLiteral("%1 %2").arg(DspKinds::sideName(side)).arg(channel + 1);
}

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

} // namespace

int CliApp::cmdDsp()
{
    QString error;
    const std::optional<CliDspArgs> parsed = CliDspArgs::parse(m_options.args, &error);
    if (!parsed)
        return fail(2, error);
    const CliDspArgs &a = *parsed;
    if (a.command == CliDspArgs::Command::Diff)
        return cmdDspDiff(a);

    QString devId;
    waitUntil([&] { return !(devId = resolveDevice(a.device)).isEmpty(); }, m_options.waitMs);
    const auto dev = m_link->registry().findByDevId(devId);
    if (!dev)
        return fail(3, QStringLiteral("no such device: %1").arg(a.device));
    if (!DeviceModels::isDspCapable(dev->rec.model.str()))
        return fail(3, QStringLiteral("%1 (%2) has no DSP").arg(a.device, dev->rec.model.str()));

    // Each of these is one request and its reply: no session, no copy of the document.
    if (a.command == CliDspArgs::Command::Stored)
        return dspStored(a, Ipv4::toText(dev->rec.ip), devId);

    CliDspSession session(m_link, devId, dev->rec.model.str());
    QString why;
    if (!session.open(dev->rec.ip, kConnectMs, &why))
        return fail(4, QStringLiteral("DSP of %1 at %2:%3: %4")
                           .arg(a.device, Ipv4::toText(dev->rec.ip))
                           .arg(DevicePorts::kDsp)
                           .arg(why));
    if (m_options.verbose)
        session.setEcho([](const QString &r) { QTextStream(stderr) << "sent: " << r << '\n'; },
                        [](const QString &r) { QTextStream(stderr) << "reply: " << r << '\n'; });

    switch (a.command) {
    case CliDspArgs::Command::GetConfig: {
        const QByteArray text = session.controller().document().toJson();
        *m_out << (m_options.json ? text : QJsonDocument::fromJson(text).toJson(QJsonDocument::Indented));
        if (m_options.json)
            *m_out << '\n';
        return 0;
    }
    case CliDspArgs::Command::Budget:
        return dspBudget(session);
    case CliDspArgs::Command::SetBlock:
    case CliDspArgs::Command::Bypass:
        return dspSetBlock(session, a);
    case CliDspArgs::Command::AddBlock:
    case CliDspArgs::Command::RemoveBlock:
    case CliDspArgs::Command::PasteChannel:
        return dspChangeChain(session, a);
    case CliDspArgs::Command::Channel:
        return dspChannel(session, a);
    case CliDspArgs::Command::MatrixShow:
    case CliDspArgs::Command::MatrixCell:
        return dspMatrix(session, a);
    case CliDspArgs::Command::ResponseDevice:
        return dspResponse(session, a);
    case CliDspArgs::Command::EqImport:
    case CliDspArgs::Command::EqExport:
        return dspEqText(session, a);
    case CliDspArgs::Command::Status:
        return dspStatus(session, a);
    case CliDspArgs::Command::Program:
        return dspProgram(session, a);
    case CliDspArgs::Command::Response:
    case CliDspArgs::Command::FirDesign:
        return cmdDspOffline(a);
    case CliDspArgs::Command::Stored:
    case CliDspArgs::Command::Diff:
        break;
    }
    return 2;
}

int CliApp::dspAnswers(CliDspSession &session)
{
    if (!session.waitIdle(kIdleMs))
        return fail(4, QStringLiteral("the DSP link was lost before every answer came"));
    const QStringList failures = session.takeFailures();
    if (!failures.isEmpty())
        return fail(1, failures.join(QStringLiteral("; ")));
    return 0;
}

int CliApp::dspPrint(const QJsonObject &json, const QString &text)
{
    if (m_options.json)
        *m_out << compact(json) << '\n';
    else
        *m_out << text << '\n';
    return 0;
}

int CliApp::dspBudget(CliDspSession &session)
{
    const DspController &c = session.controller();
    const double load = c.budget().load;
    if (m_options.json)
        *m_out << compact({{"cpu", c.shownUsage()}, {"load", load}}) << '\n';
    else
        *m_out << DspBudget::cpuText(c.shownUsage()) << "  load " << number(load) << '\n';
    return 0;
}

int CliApp::dspSetBlock(CliDspSession &session, const CliDspArgs &a)
{
    DspController &c = session.controller();
    const CDeviceDspData &doc = c.document();
    const DspBlockAddress at{a.nodeId, a.portIndex, a.procIndex};
    if (!doc.node(at.nodeId))
        return fail(2, tx(Tx::DspNoSuchNode).arg(at.nodeId));
    if (!doc.channel(at.nodeId, at.portIndex))
        return fail(2, tx(Tx::DspNoSuchChannel).arg(at.nodeId).arg(at.portIndex));
    // Blocks live on the input and the output node only.
    const std::optional<DspSide> side = at.nodeId == c.nodeIdOf(DspSide::In)    ? std::optional(DspSide::In)
                                        : at.nodeId == c.nodeIdOf(DspSide::Out) ? std::optional(DspSide::Out)
                                                                                : std::nullopt;
    const quint64 id = side ? c.blockId(*side, at.portIndex, at.procIndex) : 0;
    if (!id)
        return fail(2, tx(Tx::DspNoSuchBlock).arg(at.nodeId).arg(at.portIndex).arg(at.procIndex));

    if (!m_options.json)
        session.setEcho([this](const QString &r) { *m_out << "sent: " << r << '\n'; },
                        [this](const QString &r) { *m_out << "reply: " << r << '\n'; });
    QString refusal;
    if (a.command == CliDspArgs::Command::Bypass) {
        refusal = c.setBypass(id, a.bypass);
    } else {
        QJsonParseError error;
        const QJsonDocument members = QJsonDocument::fromJson(a.blockJson.toUtf8(), &error);
        if (error.error != QJsonParseError::NoError || !members.isObject())
            return fail(2, tx(Tx::DspParamsNotObject));
        refusal = c.setBlockMembers(id, members.object());
    }
    // Refused before anything was sent: the arguments asked for something the block cannot take.
    if (!refusal.isEmpty())
        return fail(2, refusal);
    if (const int code = dspAnswers(session))
        return code;
    if (m_options.json)
        if (const DspBlock *b = c.block(id))
            *m_out << b->toJson() << '\n';
    return 0;
}

int CliApp::dspChangeChain(CliDspSession &session, const CliDspArgs &a)
{
    DspController &c = session.controller();
    const int channels = c.channelCount(a.side);
    for (const auto &[channel, name] : {std::pair(a.channel, a.command == CliDspArgs::Command::PasteChannel ? "FROM" : "CH"),
                                        std::pair(a.toChannel, "TO")}) {
        if (channel >= channels)
            return fail(2, QStringLiteral("%1: the %2 side has %3 channels, not %4")
                               .arg(QLatin1String(name), DspKinds::sideName(a.side))
                               .arg(channels)
                               .arg(channel + 1));
    }

    QString refusal;
    QJsonObject json{{"side", DspKinds::sideName(a.side)}, {"channel", a.channel + 1}};
    QString text;
    c.setForceAdd(m_options.force);
    if (a.command == CliDspArgs::Command::AddBlock) {
        refusal = c.addBlock(a.side, a.channel, a.kind);
        const int position = c.chain(a.side, a.channel).size();
        json.insert(QStringLiteral("added"), DspKinds::cliName(a.kind));
        json.insert(QStringLiteral("position"), position);
        text = QStringLiteral("%1: %2 added as block %3").arg(place(a.side, a.channel), DspKinds::cliName(a.kind)).arg(position);
    } else if (a.command == CliDspArgs::Command::RemoveBlock) {
        const quint64 id = c.blockId(a.side, a.channel, a.position);
        if (!id)
            return fail(2, QStringLiteral("BLOCK: %1 has %2 blocks, not %3")
                               .arg(place(a.side, a.channel))
                               .arg(c.chain(a.side, a.channel).size())
                               .arg(a.position + 1));
        const std::optional<DspKind> kind = DspKinds::of(*c.block(id));
        const QString kindName = kind ? DspKinds::cliName(*kind) : QStringLiteral("unknown");
        refusal = c.removeBlock(id);
        json.insert(QStringLiteral("removed"), kindName);
        json.insert(QStringLiteral("position"), a.position + 1);
        text = QStringLiteral("%1: block %2 (%3) removed").arg(place(a.side, a.channel)).arg(a.position + 1).arg(kindName);
    } else {
        c.copyChannel(a.side, a.channel);
        refusal = c.pasteChannel(a.side, a.toChannel);
        json.insert(QStringLiteral("pastedOnto"), a.toChannel + 1);
        text = QStringLiteral("%1 pasted onto %2").arg(place(a.side, a.channel), place(a.side, a.toChannel));
    }
    if (!refusal.isEmpty())
        return fail(1, refusal);
    if (!c.hasUnsavedChanges())
        return fail(1, QStringLiteral("nothing changed"));
    QString why;
    if (!session.save(kSaveMs, &why))
        return fail(1, QStringLiteral("%1, but not saved: %2").arg(text, why));
    if (const int code = dspAnswers(session))
        return code;
    json.insert(QStringLiteral("cpu"), c.shownUsage());
    return dspPrint(json, text + QStringLiteral("; saved, ") + DspBudget::cpuText(c.shownUsage()));
}

int CliApp::dspChannel(CliDspSession &session, const CliDspArgs &a)
{
    DspController &c = session.controller();
    if (a.channel >= c.channelCount(a.side))
        return fail(2, QStringLiteral("CH: the %1 side has %2 channels, not %3")
                           .arg(DspKinds::sideName(a.side))
                           .arg(c.channelCount(a.side))
                           .arg(a.channel + 1));
    const int groups = c.document().groupArr.size();
    if (a.member == CliDspArgs::Member::Group && a.group >= groups)
        return fail(2, QStringLiteral("the group: %1 has %2 link groups, not %3").arg(a.device).arg(groups).arg(a.group + 1));

    QString refusal;
    switch (a.member) {
    case CliDspArgs::Member::Gain:
        refusal = c.setChannelGain(a.side, a.channel, a.gainDb);
        break;
    case CliDspArgs::Member::Mute:
        refusal = c.setChannelMute(a.side, a.channel, a.flag);
        break;
    case CliDspArgs::Member::Inverse:
        refusal = c.setChannelInverse(a.side, a.channel, a.flag);
        break;
    case CliDspArgs::Member::Group:
        refusal = c.setChannelGroup(a.side, a.channel, a.group);
        break;
    }
    if (!refusal.isEmpty())
        return fail(1, refusal);
    if (const int code = dspAnswers(session))
        return code;
    // What the device took, as the document now holds it.
    const DspChannel *ch = c.channel(a.side, a.channel);
    const QJsonObject json{{"side", DspKinds::sideName(a.side)}, {"channel", a.channel + 1}, {"gainDb", ch->gainDb},
                           {"mute", ch->mute}, {"inverse", ch->inverse},
                           {"group", ch->groupId < 0 ? QJsonValue() : QJsonValue(ch->groupId + 1)}};
    const QString text = QStringLiteral("%1: gain %2 dB, mute %3, inverse %4, group %5")
                             .arg(place(a.side, a.channel), number(ch->gainDb), ch->mute ? "on" : "off",
                                  ch->inverse ? "on" : "off",
                                  ch->groupId < 0 ? QStringLiteral("none") : QString::number(ch->groupId + 1));
    return dspPrint(json, text);
}

int CliApp::dspMatrix(CliDspSession &session, const CliDspArgs &a)
{
    DspController &c = session.controller();
    const DspNode *node = c.document().node(c.matrixNodeId());
    if (!node)
        return fail(1, QStringLiteral("%1 has no matrix mixer").arg(a.device));
    const DspMatrix &m = node->matrix;
    const int outputs = m.gainArr.size();
    const int inputs = outputs ? m.gainArr.first().size() : 0;
    auto muted = [&m](int o, int i) { return o < m.muteArr.size() && i < m.muteArr.at(o).size() && m.muteArr.at(o).at(i); };

    if (a.command == CliDspArgs::Command::MatrixShow) {
        if (m_options.json) {
            QJsonArray gains;
            QJsonArray mutes;
            for (int o = 0; o < outputs; ++o) {
                QJsonArray g;
                QJsonArray mu;
                for (int i = 0; i < inputs; ++i) {
                    g.append(m.gainArr.at(o).value(i));
                    mu.append(muted(o, i));
                }
                gains.append(g);
                mutes.append(mu);
            }
            *m_out << compact({{"outputs", outputs}, {"inputs", inputs}, {"gainDb", gains}, {"mute", mutes}}) << '\n';
            return 0;
        }
        QVector<QStringList> rows;
        QStringList header{QStringLiteral("out\\in")};
        for (int i = 0; i < inputs; ++i)
            header << QString::number(i + 1);
        rows << header;
        for (int o = 0; o < outputs; ++o) {
            QStringList row{QString::number(o + 1)};
            for (int i = 0; i < inputs; ++i)
                row << (muted(o, i) ? QStringLiteral("off") : number(m.gainArr.at(o).value(i)));
            rows << row;
        }
        for (const QString &line : CliOutput::columns(rows))
            *m_out << line << '\n';
        return 0;
    }

    if (a.output >= outputs)
        return fail(2, QStringLiteral("OUT: the matrix has %1 outputs, not %2").arg(outputs).arg(a.output + 1));
    if (a.input >= inputs)
        return fail(2, QStringLiteral("IN: the matrix has %1 inputs, not %2").arg(inputs).arg(a.input + 1));
    // A gain given on the command line is meant to be heard: it switches the cell on.
    const double gain = a.cellGain ? a.gainDb : m.gainArr.at(a.output).value(a.input);
    const bool mute = a.cellGain ? false : a.flag;
    const QString refusal = c.setMatrixCell(a.output, a.input, gain, mute);
    if (!refusal.isEmpty())
        return fail(1, refusal);
    if (const int code = dspAnswers(session))
        return code;
    const DspMatrix &after = c.document().node(c.matrixNodeId())->matrix;
    const double g = after.gainArr.at(a.output).value(a.input);
    const bool off = after.muteArr.at(a.output).value(a.input);
    return dspPrint({{"output", a.output + 1}, {"input", a.input + 1}, {"gainDb", g}, {"mute", off}},
                    QStringLiteral("matrix out %1 in %2: %3")
                        .arg(a.output + 1)
                        .arg(a.input + 1)
                        .arg(off ? QStringLiteral("off") : number(g) + QStringLiteral(" dB")));
}
