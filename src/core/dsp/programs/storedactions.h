#pragma once

#include "core/app/texts.h"
#include "core/dsp/dspexchange.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

/// What the administration page and `corvane-cli dsp stored` do with a device's stored configurations, one
/// blocking exchange at a time, without widgets. A question the operator must answer first is not asked here:
/// the caller asks it (the page with a box, the command line with --yes) and only then calls the action.
namespace StoredActions {

/// One request, its whole reply: DspExchange::run on the device's address, or a fake in tests.
using Exchange = std::function<DspExchange::Result(const QString &request)>;

constexpr int kSlots = 8;

/// Everything the operator is told after an action. ok says whether it did what was asked.
struct Outcome
{
    bool ok = false;
    /// The box's title; empty for the ordinary one ("提示").
    QString title;
    /// "Success", "Fail", the lock refusal, a name or file refusal, or the exchange's own failure.
    QString message;
    /// The last reply read, for the command line's --json.
    QJsonObject reply;
};

struct Listing
{
    bool ok = false;
    Outcome failure; ///< when not ok
    /// Names by index 0-7, "" for an empty record.
    QStringList names;
    /// The index last loaded, -1 when none since the factory state.
    int last = -1;
};

/// "getConfigNameArr" then "getLastConfig".
Listing list(const Exchange &exchange);

/// "<index> <name>", or the bare index for an empty record.
QString label(int index, const QString &name);
/// What follows "Last Loaded：": "<index> <name>", or "-" when none.
QString lastText(const Listing &listing);

/// The amplifier settings a new record carries. The program keeps no reading of them (see docs/dsp.md), so
/// every save sends the device's own defaults for the document's channel counts.
struct AmpSettings
{
    QString defaultAmpType = QStringLiteral("0");
    QJsonArray analogGainArr, aes67GainArr, analogPhaseArr, aes67PhaseArr;
    static AmpSettings defaults(int channels);
};

/// The administration page's name messages; the wrong-character one comes with its own title.
std::optional<Outcome> nameRefusal(const QString &name);

/// Fetches the running document ("getConfig") and stores it with the name at index.
Outcome save(const Exchange &exchange, int index, const QString &name);
Outcome load(const Exchange &exchange, int index);
Outcome remove(const Exchange &exchange, int index);
/// "getConfigByIndex", then its "config" written whole to path.
Outcome exportTo(const Exchange &exchange, int index, const QString &path);
/// Asked first: importQuestion(). The file's object goes out as the record itself.
Outcome importFrom(const Exchange &exchange, int index, const QString &path);
QString importQuestion();

/// Asked first: factoryQuestion(). Both literal requests, in order; done when either is taken, as a device
/// knows only one of the two spellings. On success, ask restartQuestion() and send rebootRequest().
Outcome factoryReset(const Exchange &exchange);
QString factoryQuestion();
QString restartQuestion();
/// The device's own "reboot" datagram, as the settings window sends it.
QJsonObject rebootRequest(const QString &devId);

/// "Success", or the refusal a reply says: the lock, or "Fail".
Outcome judge(const DspExchange::Result &result);

} // namespace StoredActions
