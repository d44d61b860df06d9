#include "core/dsp/programs/programactions.h"

#include "core/dsp/dspcontroller.h"
#include "core/dsp/programs/programcommands.h"
#include "core/dsp/programs/programconvert.h"
#include "core/dsp/programs/programexport.h"
#include "core/dsp/programs/programrules.h"

#include <memory>

using ProgramFiles::Version;

namespace {

QString str(const QJsonObject &o, const char *key)
{
    return o.value(QLatin1String(key)).toString();
}

ProgramActions::Outcome refusal(Tx text, bool tips = false)
{
    return {false, tx(text), {}, tips};
}

} // namespace

ProgramActions::ProgramActions(DspController *controller, QObject *parent)
    : QObject(parent)
    , m_controller(controller)
{
}

int ProgramActions::slotOf(const QString &name) const
{
    return name.isEmpty() ? -1 : int(m_names.indexOf(name));
}

int ProgramActions::firstEmptySlot() const
{
    for (int slot = 1; slot < m_names.size(); ++slot)
        if (m_names.at(slot).isEmpty())
            return slot;
    return -1;
}

ProgramActions::Answer ProgramActions::judge(const QJsonObject &reply)
{
    if (str(reply, "result") == QLatin1String("succ"))
        return Answer::Succ;
    return str(reply, "reason") == QLatin1String(kLockedReason) ? Answer::Locked : Answer::Failed;
}

ProgramActions::Outcome ProgramActions::failure(const QJsonObject &reply, Tx otherwise)
{
    return refusal(judge(reply) == Answer::Locked ? Tx::ProgDeviceLocked : otherwise);
}

std::optional<ProgramActions::Outcome> ProgramActions::refuseEmpty(int slot) const
{
    if (slot < 0)
        return refusal(Tx::ProgChooseSlot);
    if (slot >= m_names.size() || m_names.at(slot).isEmpty())
        return refusal(Tx::ProgEmptySlotLoad);
    return std::nullopt;
}

void ProgramActions::send(const QString &request, std::function<void(const QJsonObject &)> done)
{
    if (!m_controller) {
        done({});
        return;
    }
    // No key: every program request is its own, none may replace another waiting one.
    m_controller->request(request, QString(), std::move(done));
}

void ProgramActions::refresh(Done done)
{
    send(ProgramCommands::getConfigNameArr(), [this, done](const QJsonObject &reply) {
        if (judge(reply) != Answer::Succ) {
            if (done)
                done(refusal(Tx::ProgListFailed));
            return;
        }
        m_names = ProgramCommands::nameArrOf(reply, QStringLiteral("nameArr"));
        send(ProgramCommands::getDefaultFile(), [this, done](const QJsonObject &r) {
            const bool ok = judge(r) == Answer::Succ;
            m_inUse = ok ? str(r, "name") : QString();
            emit signal_listChanged();
            if (done)
                done(ok ? Outcome{true, {}, {}, false} : refusal(Tx::ProgInUseFailed));
        });
    });
}

void ProgramActions::afterChange(const Outcome &outcome, const Done &done)
{
    // The list is read again whatever the answer: a refused change may still tell that the device moved on.
    refresh([outcome, done](const Outcome &) {
        if (done)
            done(outcome);
    });
}

void ProgramActions::save(int slot, const QString &name, Done done)
{
    if (slot >= 0)
        if (const std::optional<Tx> why = ProgramRules::refuseChange(slot))
            return done(refusal(*why));
    if (const std::optional<Tx> why = ProgramRules::nameError(name, ProgramRules::Page::Program))
        return done(refusal(*why));
    if (name == QLatin1String("default"))
        return done(refusal(Tx::ProgDefaultNoChange));
    QString oldName = slot >= 0 && slot < m_names.size() ? m_names.at(slot) : QString();
    if (oldName.isEmpty() && slotOf(name) > 0)
        oldName = name;
    if (oldName.isEmpty() && !m_names.isEmpty() && firstEmptySlot() < 0)
        return done(refusal(Tx::ProgNoFreeSlot));
    send(ProgramCommands::saveToFile(name, oldName), [this, done](const QJsonObject &reply) {
        afterChange(judge(reply) == Answer::Succ ? Outcome{true, tx(Tx::ProgSaveOk), {}, false}
                                                 : failure(reply, Tx::ProgSaveFail),
                    done);
    });
}

void ProgramActions::load(int slot, Done done)
{
    if (const std::optional<Outcome> why = refuseEmpty(slot))
        return done(*why);
    auto loaded = [this, done](const QJsonObject &reply) {
        const Answer a = judge(reply);
        Outcome outcome{true, tx(Tx::ProgLoadOk), {}, false};
        if (a == Answer::Locked)
            outcome = refusal(Tx::ProgDeviceLocked);
        else if (a == Answer::Failed)
            outcome = {false, tx(Tx::ProgLoadFail), tx(Tx::ProgLoadCheckRate), false};
        // The running configuration is another one now: every view takes it again.
        if (outcome.ok && m_controller)
            m_controller->requestConfig();
        afterChange(outcome, done);
    };
    if (slot == 0) {
        send(ProgramCommands::loadFromFactory(), loaded);
        return;
    }
    const QString name = m_names.at(slot);
    send(ProgramCommands::getConfigByName(name, QLatin1String(kLoadSubTag)), [this, name, done, loaded](const QJsonObject &reply) {
        if (judge(reply) != Answer::Succ || !reply.value(QLatin1String("config")).isObject())
            return done(failure(reply, Tx::ProgLoadFail));
        switch (ProgramFiles::versionOf(reply.value(QLatin1String("config")).toObject())) {
        case Version::NeedsConversion:
            return done(refusal(Tx::ProgLoadOldVersion, true));
        case Version::Unknown:
            return done(refusal(Tx::ProgWrongVersion, true));
        case Version::Current:
            break;
        }
        send(ProgramCommands::loadFromFile(name), loaded);
    });
}

void ProgramActions::remove(int slot, Done done)
{
    if (const std::optional<Outcome> why = refuseEmpty(slot))
        return done(*why);
    if (const std::optional<Tx> why = ProgramRules::refuseDelete(slot, m_names, m_inUse))
        return done(refusal(*why));
    send(ProgramCommands::deleteFile(m_names.at(slot), true), [this, done](const QJsonObject &reply) {
        afterChange(judge(reply) == Answer::Succ ? Outcome{true, tx(Tx::ProgDeleteOk), {}, false}
                                                 : failure(reply, Tx::ProgDeleteFail),
                    done);
    });
}

void ProgramActions::exportOne(int slot, const QString &path, Done done)
{
    if (const std::optional<Tx> why = ProgramRules::refuseExport(slot, m_names))
        return done(refusal(*why));
    const QString name = m_names.at(slot);
    send(ProgramCommands::getConfigByName(name, QLatin1String(kExportSubTag)), [name, path, done](const QJsonObject &reply) {
        if (judge(reply) != Answer::Succ || !reply.value(QLatin1String("config")).isObject())
            return done(judge(reply) == Answer::Locked
                            ? refusal(Tx::ProgDeviceLocked)
                            : Outcome{false, tx(Tx::ProgExportFail).arg(tx(Tx::ProgListFailed)), {}, false});
        const ProgramFiles::Program program{name, reply.value(QLatin1String("config")).toObject(), Version::Unknown};
        QString why;
        if (!ProgramFiles::saveFile(path, ProgramFiles::writeProgram(program), &why))
            return done({false, tx(Tx::ProgExportFail).arg(why), {}, false});
        done({true, tx(Tx::ProgExportOk), {}, false});
    });
}

void ProgramActions::exportAll(const QString &path, Done done)
{
    if (const std::optional<Tx> why = ProgramRules::refuseExportAll(m_names))
        return done(refusal(*why));
    struct State
    {
        ProgramExport collector;
        int arrived = 0;
        bool finished = false;
    };
    auto state = std::make_shared<State>(State{ProgramExport(ProgramRules::exportableNames(m_names))});
    const QStringList requests = state->collector.requests();
    const int total = requests.size();
    emit signal_exportProgress(0, total);
    for (const QString &request : requests) {
        send(request, [this, state, path, done, total](const QJsonObject &reply) {
            if (state->finished)
                return;
            // No answer in time fails the export like a refusal: the file would lack a program.
            const ProgramExport::Take take = reply.isEmpty() ? ProgramExport::Take::Failed : state->collector.take(reply);
            if (take == ProgramExport::Take::Failed) {
                state->finished = true;
                return done(judge(reply) == Answer::Locked
                                ? refusal(Tx::ProgDeviceLocked)
                                : Outcome{false, tx(Tx::ProgExportFail).arg(tx(Tx::ProgListFailed)), {}, false});
            }
            if (take == ProgramExport::Take::Taken)
                emit signal_exportProgress(++state->arrived, total);
            if (!state->collector.complete())
                return;
            state->finished = true;
            QString why;
            if (!ProgramFiles::saveFile(path, state->collector.dtlText(), &why))
                return done({false, tx(Tx::ProgExportFail).arg(why), {}, false});
            done({true, tx(Tx::ProgExportOk), {}, false});
        });
    }
}

QVector<PlanStep> ProgramActions::beforeSave() const
{
    if (m_controller && m_controller->hasUnsavedChanges())
        return {{PlanStep::Confirm, tx(Tx::ProgSaveUnsavedAsk)}};
    return {};
}

QVector<PlanStep> ProgramActions::beforeImport(int slot, bool all) const
{
    if (!all) {
        if (slot < 0)
            return {{PlanStep::Notice, tx(Tx::ProgChooseSlot)}};
        if (const std::optional<Tx> why = ProgramRules::refuseChange(slot))
            return {{PlanStep::Notice, tx(*why)}};
    }
    return {{PlanStep::Confirm, tx(Tx::ProgImportOverwrite)}};
}

namespace {

/// Brings each program to the current form: one question for all the old ones, and the first failure after it.
/// Programs this program cannot read are refused before the question, as converting the rest would not help.
void convertAll(QVector<ProgramFiles::Program> &programs, QVector<PlanStep> &steps)
{
    bool asked = false;
    for (const ProgramFiles::Program &p : programs)
        if (p.version == Version::Unknown) {
            steps.append({PlanStep::Notice, tx(Tx::ProgWrongVersion)});
            return;
        }
    for (ProgramFiles::Program &p : programs) {
        if (p.version != Version::NeedsConversion)
            continue;
        if (!asked) {
            steps.append({PlanStep::Confirm, tx(Tx::ProgAskConvert)});
            asked = true;
        }
        const ProgramConvert::Result r = ProgramConvert::toCurrent(p.config);
        if (!r.ok()) {
            steps.append({PlanStep::Notice, tx(Tx::ProgConvertError)});
            return;
        }
        p.config = r.config;
        p.version = Version::Current;
    }
}

} // namespace

ProgramActions::ImportPlan ProgramActions::planImport(int slot, const std::optional<QByteArray> &bytes,
                                                     const QString &name) const
{
    ImportPlan plan;
    if (!bytes)
        return {{{PlanStep::Notice, tx(Tx::ProgFileOpenError)}}, {}, {}};
    const ProgramFiles::ProgramRead read = ProgramFiles::readProgram(*bytes);
    if (!read.ok())
        return {{{PlanStep::Notice, tx(*read.error)}}, {}, {}};
    plan.programs = read.programs;
    // The selected slot keeps its name; an empty one takes the file's.
    const QString slotName = slot >= 0 && slot < m_names.size() ? m_names.at(slot) : QString();
    if (!slotName.isEmpty())
        plan.programs.first().name = slotName;
    else if (!name.isEmpty())
        plan.programs.first().name = name;
    if (const std::optional<Tx> why = ProgramRules::nameError(plan.programs.first().name, ProgramRules::Page::Program))
        return {{{PlanStep::Notice, tx(*why)}}, {}, {}};
    convertAll(plan.programs, plan.steps);
    return plan;
}

ProgramActions::ImportPlan ProgramActions::planImportAll(const std::optional<QByteArray> &bytes) const
{
    ImportPlan plan;
    plan.subTag = QLatin1String(kImportAllSubTag);
    if (!bytes)
        return {{{PlanStep::Notice, tx(Tx::ProgFileOpenError)}}, {}, plan.subTag};
    const ProgramFiles::ProgramRead read = ProgramFiles::readProgramList(*bytes);
    if (!read.ok())
        return {{{PlanStep::Notice, tx(*read.error)}}, {}, plan.subTag};
    for (const ProgramFiles::Program &p : read.programs)
        if (ProgramRules::nameError(p.name, ProgramRules::Page::Program) || p.name == QLatin1String("default"))
            return {{{PlanStep::Notice, tx(Tx::ProgListElementBad)}}, {}, plan.subTag};
    plan.programs = read.programs;
    convertAll(plan.programs, plan.steps);
    return plan;
}

void ProgramActions::import(const ImportPlan &plan, Done done)
{
    if (plan.refused() || plan.programs.isEmpty())
        return done(refusal(Tx::ProgImportFail));
    struct State
    {
        int left = 0;
        bool failed = false;
        bool locked = false;
    };
    auto state = std::make_shared<State>();
    state->left = plan.programs.size();
    for (const ProgramFiles::Program &p : plan.programs)
        send(ProgramCommands::saveConfigToFile(p.name, p.config, plan.subTag), [this, state, done](const QJsonObject &reply) {
            const Answer a = judge(reply);
            state->failed |= a != Answer::Succ;
            state->locked |= a == Answer::Locked;
            if (--state->left > 0)
                return;
            afterChange(state->locked   ? refusal(Tx::ProgDeviceLocked)
                        : state->failed ? refusal(Tx::ProgImportFail)
                                        : Outcome{true, tx(Tx::ProgImportOk), {}, false},
                        done);
        });
}

void ProgramActions::convert(int slot, Done done)
{
    if (const std::optional<Outcome> why = refuseEmpty(slot))
        return done(*why);
    const QString name = m_names.at(slot);
    send(ProgramCommands::getConfigByName(name, QLatin1String(kConvertSubTag)), [this, name, done](const QJsonObject &reply) {
        if (judge(reply) != Answer::Succ || !reply.value(QLatin1String("config")).isObject())
            return done(failure(reply, Tx::ProgConvertFailed));
        const QJsonObject config = reply.value(QLatin1String("config")).toObject();
        if (const std::optional<Tx> why = ProgramFiles::conversionRefusal(ProgramFiles::versionOf(config)))
            return done(refusal(*why, true));
        const ProgramConvert::Result r = ProgramConvert::toCurrent(config);
        if (!r.ok())
            return done(refusal(*r.error, true));
        send(ProgramCommands::saveConfigToFile(name, r.config), [this, name, done](const QJsonObject &saved) {
            afterChange(judge(saved) == Answer::Succ ? Outcome{true, tx(Tx::ProgConverted).arg(name), {}, false}
                                                     : failure(saved, Tx::ProgSaveFail),
                        done);
        });
    });
}
