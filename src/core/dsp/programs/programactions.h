#pragma once

#include "core/app/commandplan.h"
#include "core/app/texts.h"
#include "core/dsp/programs/programfiles.h"

#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include <functional>
#include <optional>

class DspController;

/// The program page's operations in the order the device needs them, shared by the page and corvane-cli so that
/// both refuse, ask and report alike. Requests go through the window's controller, one at a time behind its
/// other requests. Questions are handed back as plan steps before anything is sent: the page asks them in boxes,
/// the command line answers them with --yes or prints them and stops. Every operation ends by calling done once,
/// with the message to show.
///
/// Thread affinity: the controller's thread.
class ProgramActions : public QObject
{
    Q_OBJECT
public:
    struct Outcome
    {
        bool ok = false;
        QString text;
        /// A second message for a box after the first (a refused load: check the sample rates).
        QString detail;
        /// Shown in a box titled "Tips" rather than in the snack bar.
        bool tips = false;
    };
    using Done = std::function<void(const Outcome &)>;

    /// What an import sends once its steps have passed.
    struct ImportPlan
    {
        QVector<PlanStep> steps;
        QVector<ProgramFiles::Program> programs; ///< name and document as they are to be stored
        QString subTag;                          ///< "importAll" for a list, else empty
        bool refused() const { return !steps.isEmpty() && steps.last().kind == PlanStep::Notice; }
    };

    static constexpr const char *kLoadSubTag = "load";
    static constexpr const char *kConvertSubTag = "convert";
    static constexpr const char *kExportSubTag = "export";
    static constexpr const char *kImportAllSubTag = "importAll";
    /// The device's refusal while its audio processing is locked: the one reason text this program reads.
    static constexpr const char *kLockedReason = "LOCK_UCAST_MCAST";

    explicit ProgramActions(DspController *controller, QObject *parent = nullptr);

    /// Program names by slot as the device last listed them ("" for an empty slot), and the one in use.
    const QStringList &names() const { return m_names; }
    const QString &inUse() const { return m_inUse; }
    /// -1 when no program has that name.
    int slotOf(const QString &name) const;
    /// The slot the device would give a new program; -1 when all are taken.
    int firstEmptySlot() const;

    /// Reads the list and the program in use; signal_listChanged follows on success.
    void refresh(Done done = {});
    /// Stores the device's running configuration as `name`: over the program in `slot` when it holds one,
    /// else in the first empty slot (or over a program of that name). slot -1: a new program ("Save Diy").
    void save(int slot, const QString &name, Done done);
    /// Makes a program the running configuration; the document is read first so that an old one is refused
    /// before the device is asked. Slot 0 loads the factory default. The controller rereads the document.
    void load(int slot, Done done);
    void remove(int slot, Done done);
    void exportOne(int slot, const QString &path, Done done);
    /// signal_exportProgress follows each program as it arrives; nothing is written unless all came.
    void exportAll(const QString &path, Done done);

    /// Before a save: the device stores what it runs, so edits the window has not saved yet are not in the
    /// program; a question says so (nothing when there are none).
    QVector<PlanStep> beforeSave() const;
    /// Before the file is chosen: the slot's refusal, then the overwrite question. slot -1 with all: the list.
    QVector<PlanStep> beforeImport(int slot, bool all) const;
    /// After: the file's refusal, or the conversion question (with its failure after it), and what to send.
    /// bytes: the file's contents, nothing when it could not be opened. The program takes the slot's name; an
    /// empty slot takes `name`, or the file's when none is given.
    ImportPlan planImport(int slot, const std::optional<QByteArray> &bytes, const QString &name = {}) const;
    ImportPlan planImportAll(const std::optional<QByteArray> &bytes) const;
    /// Sends a plan whose steps passed.
    void import(const ImportPlan &plan, Done done);
    /// Converts a stored old program and writes it back under its name.
    void convert(int slot, Done done);

signals:
    void signal_listChanged();
    void signal_exportProgress(int got, int total);

private:
    enum class Answer { Succ, Failed, Locked };
    static Answer judge(const QJsonObject &reply);
    static Outcome failure(const QJsonObject &reply, Tx otherwise);
    /// The outcome for a slot that must hold a program.
    std::optional<Outcome> refuseEmpty(int slot) const;
    void send(const QString &request, std::function<void(const QJsonObject &)> done);
    void afterChange(const Outcome &outcome, const Done &done);

    QPointer<DspController> m_controller;
    QStringList m_names;
    QString m_inUse;
};
