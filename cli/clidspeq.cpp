// corvane-cli dsp eq-import and eq-export: the filter lists that room-measurement tools write, in and out of a
// channel's equaliser, read and written by the same core functions as the equaliser editor's buttons.
#include "cliapp.h"

#include "clidspargs.h"
#include "clidspsession.h"
#include "core/dsp/filters/channelcurve.h"
#include "core/dsp/filters/parametriceqtext.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QTextStream>

int CliApp::dspEqText(CliDspSession &session, const CliDspArgs &a)
{
    DspController &c = session.controller();
    if (const int code = dspCheckChannel(c, a))
        return code;
    const QString where = QStringLiteral("%1 %2").arg(DspKinds::sideName(a.side)).arg(a.channel + 1);
    const DspBlock *block = ChannelCurve::editorBlocks(c.chain(a.side, a.channel)).eq;
    if (!block)
        return fail(2, QStringLiteral("%1 has no equaliser").arg(where));
    const DspEq &eq = *block->as<DspEq>();

    if (a.command == CliDspArgs::Command::EqExport) {
        const QByteArray text = ParametricEqText::write(eq);
        if (a.filePath.isEmpty()) {
            *m_out << QString::fromUtf8(text);
            return 0;
        }
        // Written whole or not at all: an interrupted export never leaves half a file over an older one.
        QSaveFile file(a.filePath);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
            return fail(1, QStringLiteral("cannot write %1: %2").arg(a.filePath, file.errorString()));
        return 0;
    }

    QFile file(a.filePath);
    if (!file.open(QIODevice::ReadOnly))
        return fail(2, QStringLiteral("cannot read %1: %2").arg(a.filePath, file.errorString()));
    const ParametricEqText::Result r = ParametricEqText::parse(file.readAll(), eq.bands.size());
    // What is left out is said before anything is sent.
    QJsonArray skipped;
    for (const ParametricEqText::Skipped &s : r.skipped) {
        skipped.append(s.message());
        if (!m_options.json)
            *m_out << "skipped: " << s.message() << '\n';
    }
    if (!r.ok())
        return fail(2, r.message());
    DspBlock changed = *block;
    *changed.as<DspEq>() = ParametricEqText::applied(eq, r.bands);
    const QString refusal = c.setBlockParams(block->uid, changed);
    if (!refusal.isEmpty())
        return fail(2, refusal);
    if (const int code = dspAnswers(session))
        return code;
    return dspPrint({{"side", DspKinds::sideName(a.side)},
                     {"channel", a.channel + 1},
                     {"imported", r.bands.size()},
                     {"skipped", skipped}},
                    QStringLiteral("%1: %2 bands imported").arg(where).arg(r.bands.size()));
}
