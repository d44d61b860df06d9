// corvane-cli dsp program: the device's programs, listed, stored, loaded, deleted, converted and carried to and
// from files by the same sequencing as the DSP window's program page. Its questions are answered by --yes; without
// it the question is printed and nothing is sent.
#include "cliapp.h"

#include "clidspargs.h"
#include "clidspsession.h"
#include "core/dsp/programs/programactions.h"
#include "core/dsp/programs/programrules.h"

#include <QJsonArray>
#include <QTextStream>

namespace {

using Verb = CliDspArgs::ProgramVerb;

struct VerbShape
{
    const char *name;
    Verb verb;
    int args; ///< after "program VERB DEVICE"
    const char *form;
};

const VerbShape kVerbs[] = {
    {"list", Verb::List, 0, "list DEVICE"},
    {"save", Verb::Save, 1, "save DEVICE NAME"},
    {"load", Verb::Load, 1, "load DEVICE NAME"},
    {"delete", Verb::Delete, 1, "delete DEVICE NAME"},
    {"convert", Verb::Convert, 1, "convert DEVICE NAME"},
    {"export", Verb::Export, 2, "export DEVICE NAME FILE"},
    {"import", Verb::Import, 2, "import DEVICE NAME FILE"},
    {"export-all", Verb::ExportAll, 1, "export-all DEVICE FILE"},
    {"import-all", Verb::ImportAll, 1, "import-all DEVICE FILE"},
};

// Each program request waits behind the others, and an export of all fetches every program in turn.
constexpr int kProgramMs = 17 * 2 * DspController::kReplyTimeoutMs;

} // namespace

QString CliDspArgs::programUsage()
{
    return QStringLiteral(
        "  dsp program list DEVICE                 the device's programs by slot; * marks the one in use\n"
        "  dsp program save DEVICE NAME            store the running configuration as program NAME (over the\n"
        "                       program of that name, else in the first empty slot)\n"
        "  dsp program load|delete|convert DEVICE NAME   make NAME the running configuration (\"default\" loads the\n"
        "                       factory one), delete it, or bring an old-version program to the current form\n"
        "  dsp program export DEVICE NAME FILE     program NAME into a \"*.dt\" file\n"
        "  dsp program import DEVICE NAME FILE     a \"*.dt\" file as program NAME (asks: --yes)\n"
        "  dsp program export-all DEVICE FILE      every program but the default into a \"*.dtl\" file\n"
        "  dsp program import-all DEVICE FILE      every program of a \"*.dtl\" file, under its own name (asks: --yes)\n");
}

std::optional<CliDspArgs> CliDspArgs::parseProgram(const QStringList &args, QString *error)
{
    const QString verb = args.value(1);
    for (const VerbShape &v : kVerbs) {
        if (verb != QLatin1String(v.name))
            continue;
        if (args.size() != 3 + v.args) {
            *error = QStringLiteral("dsp program takes %1").arg(QLatin1String(v.form));
            return std::nullopt;
        }
        CliDspArgs a;
        a.command = Command::Program;
        a.programVerb = v.verb;
        a.device = args.at(2);
        const bool named = v.verb != Verb::List && v.verb != Verb::ExportAll && v.verb != Verb::ImportAll;
        if (named)
            a.programName = args.at(3);
        if (v.args == 2 || v.verb == Verb::ExportAll || v.verb == Verb::ImportAll)
            a.filePath = args.last();
        return a;
    }
    QStringList names;
    for (const VerbShape &v : kVerbs)
        names << QLatin1String(v.name);
    *error = QStringLiteral("dsp program takes one of %1").arg(names.join(QStringLiteral(", ")));
    return std::nullopt;
}

int CliApp::dspProgram(CliDspSession &session, const CliDspArgs &a)
{
    ProgramActions actions(&session.controller());
    std::optional<ProgramActions::Outcome> outcome;
    const auto run = [&](const std::function<void(ProgramActions::Done)> &start) {
        outcome.reset();
        start([&outcome](const ProgramActions::Outcome &o) { outcome = o; });
        session.waitIdle(kProgramMs);
        return outcome.value_or(ProgramActions::Outcome{false, QStringLiteral("the DSP link was lost"), {}, false});
    };
    const auto failed = [this](const ProgramActions::Outcome &o) {
        return fail(1, o.detail.isEmpty() ? o.text : o.text + QStringLiteral("; ") + o.detail);
    };

    const ProgramActions::Outcome listed = run([&](ProgramActions::Done d) { actions.refresh(d); });
    if (!listed.ok)
        return failed(listed);

    const QStringList &names = actions.names();
    int slot = actions.slotOf(a.programName);
    if (a.programName == QLatin1String("default"))
        slot = 0;
    const bool needsProgram = a.programVerb == Verb::Load || a.programVerb == Verb::Delete
                              || a.programVerb == Verb::Convert || a.programVerb == Verb::Export;
    if (needsProgram && slot < 0)
        return fail(1, QStringLiteral("%1 has no program %2").arg(a.device, a.programName));

    ProgramActions::Outcome result;
    switch (a.programVerb) {
    case Verb::List: {
        if (m_options.json) {
            QJsonArray slotNames;
            for (const QString &n : names)
                slotNames.append(n);
            return dspPrint({{"names", slotNames}, {"inUse", actions.inUse()}}, {});
        }
        for (int s = 0; s < names.size(); ++s)
            *m_out << (names.at(s) == actions.inUse() && !names.at(s).isEmpty() ? "* " : "  ")
                   << (names.at(s).isEmpty() ? QString::number(s) : ProgramRules::slotLabel(s, names.at(s))) << '\n';
        return 0;
    }
    case Verb::Save:
        result = run([&](ProgramActions::Done d) { actions.save(slot, a.programName, d); });
        break;
    case Verb::Load:
        result = run([&](ProgramActions::Done d) { actions.load(slot, d); });
        break;
    case Verb::Delete:
        result = run([&](ProgramActions::Done d) { actions.remove(slot, d); });
        break;
    case Verb::Convert:
        result = run([&](ProgramActions::Done d) { actions.convert(slot, d); });
        break;
    case Verb::Export:
        result = run([&](ProgramActions::Done d) { actions.exportOne(slot, a.filePath, d); });
        break;
    case Verb::ExportAll:
        result = run([&](ProgramActions::Done d) { actions.exportAll(a.filePath, d); });
        break;
    case Verb::Import:
    case Verb::ImportAll: {
        const bool all = a.programVerb == Verb::ImportAll;
        // A new name goes where the device would put it: the first empty slot.
        const int target = all ? -1 : slot >= 0 ? slot : actions.firstEmptySlot();
        if (!all && target < 0)
            return fail(1, tx(Tx::ProgNoFreeSlot));
        if (!passSteps(CommandPlan{actions.beforeImport(target, all), {}, 0}))
            return 1;
        const std::optional<QByteArray> bytes = ProgramFiles::readFile(a.filePath);
        const ProgramActions::ImportPlan plan =
            all ? actions.planImportAll(bytes) : actions.planImport(target, bytes, a.programName);
        if (!passSteps(CommandPlan{plan.steps, {}, 0}))
            return 1;
        result = run([&](ProgramActions::Done d) { actions.import(plan, d); });
        break;
    }
    }
    if (!result.ok)
        return failed(result);
    return dspPrint({{"result", result.text}, {"inUse", actions.inUse()}}, result.text);
}
