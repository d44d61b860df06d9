#include "core/dsp/programs/storedactions.h"

#include "core/device/settingsplan.h"
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspcodec.h"
#include "core/dsp/dspcommands.h"
#include "core/dsp/programs/programcommands.h"
#include "core/dsp/programs/programfiles.h"
#include "core/dsp/programs/programrules.h"

#include <QJsonDocument>

namespace StoredActions {

namespace {

Outcome refusal(const QString &message, const QString &title = {})
{
    Outcome o;
    o.title = title;
    o.message = message;
    return o;
}

Outcome fromExchange(const DspExchange::Result &r)
{
    return refusal(r.message, r.title);
}

QJsonObject replyOf(const DspExchange::Result &r)
{
    QJsonObject o;
    DspCodec::parseObject(r.reply.toUtf8(), &o);
    return o;
}

bool taken(const QJsonObject &reply)
{
    return reply.value(QLatin1String("result")).toString() == QLatin1String("succ");
}

bool locked(const QJsonObject &reply)
{
    return reply.value(QLatin1String("reason")).toString() == QLatin1String("LOCK_UCAST_MCAST");
}

QString request(QJsonObject members, const char *ops)
{
    members.insert(QStringLiteral("ops"), QLatin1String(ops));
    members.insert(QStringLiteral("uiTag"), QStringLiteral("dspUiTag"));
    return QString::fromUtf8(QJsonDocument(members).toJson(QJsonDocument::Compact));
}

QJsonArray repeated(const QString &value, int count)
{
    QJsonArray a;
    for (int i = 0; i < count; ++i)
        a.append(value);
    return a;
}

} // namespace

Outcome judge(const DspExchange::Result &result)
{
    if (!result.ok)
        return fromExchange(result);
    Outcome o;
    o.reply = replyOf(result);
    o.ok = taken(o.reply);
    o.message = o.ok ? tx(Tx::AdminSuccess) : locked(o.reply) ? tx(Tx::ProgDeviceLocked) : tx(Tx::AdminFail);
    return o;
}

Listing list(const Exchange &exchange)
{
    Listing l;
    const DspExchange::Result names = exchange(ProgramCommands::getConfigNameArr());
    if (!names.ok) {
        l.failure = fromExchange(names);
        return l;
    }
    const QJsonObject reply = replyOf(names);
    if (!taken(reply)) {
        l.failure = judge(names);
        return l;
    }
    l.names = ProgramCommands::nameArrOf(reply, QStringLiteral("configNameArr")).mid(0, kSlots);
    while (l.names.size() < kSlots)
        l.names.append(QString());

    const DspExchange::Result last = exchange(ProgramCommands::getLastConfig());
    if (!last.ok) {
        l.failure = fromExchange(last);
        return l;
    }
    bool number = false;
    const int index = replyOf(last).value(QLatin1String("lastConfig")).toString().toInt(&number);
    // A last index the list no longer holds reads as none, so the page never names an empty record.
    l.last = number && index >= 0 && index < kSlots && !l.names.at(index).isEmpty() ? index : -1;
    l.ok = true;
    return l;
}

QString label(int index, const QString &name)
{
    return name.isEmpty() ? QString::number(index) : QStringLiteral("%1 %2").arg(index).arg(name);
}

QString lastText(const Listing &listing)
{
    if (listing.last < 0)
        return QStringLiteral("-");
    return label(listing.last, listing.names.value(listing.last));
}

AmpSettings AmpSettings::defaults(int channels)
{
    AmpSettings a;
    a.analogGainArr = a.aes67GainArr = repeated(QStringLiteral("0.0"), channels);
    a.analogPhaseArr = a.aes67PhaseArr = repeated(QStringLiteral("0"), channels);
    return a;
}

std::optional<Outcome> nameRefusal(const QString &name)
{
    const std::optional<Tx> error = ProgramRules::nameError(name, ProgramRules::Page::Admin);
    if (!error)
        return std::nullopt;
    return refusal(tx(*error), *error == Tx::ProgAdminNameFormat ? tx(Tx::ProgAdminNameFormatTitle) : QString());
}

Outcome save(const Exchange &exchange, int index, const QString &name)
{
    if (std::optional<Outcome> refused = nameRefusal(name))
        return *refused;
    const DspExchange::Result running = exchange(DspCommands::getConfig());
    if (!running.ok)
        return fromExchange(running);
    const QJsonObject reply = replyOf(running);
    CDeviceDspData doc;
    if (!doc.loadReply(reply).ok()) {
        Outcome o = refusal(tx(Tx::AdminFail));
        o.reply = reply;
        return o;
    }
    ProgramCommands::StoredConfig s;
    s.index = index;
    s.name = name;
    s.inChNum = doc.inChNum();
    s.outChNum = doc.outChNum();
    const AmpSettings amp = AmpSettings::defaults(doc.outChNum());
    s.defaultAmpType = amp.defaultAmpType;
    s.analogGainArr = amp.analogGainArr;
    s.aes67GainArr = amp.aes67GainArr;
    s.analogPhaseArr = amp.analogPhaseArr;
    s.aes67PhaseArr = amp.aes67PhaseArr;
    // The document as the device gave it, members this program does not know included.
    s.config = reply.value(QLatin1String("config")).toObject();
    return judge(exchange(ProgramCommands::saveConfig(s)));
}

Outcome load(const Exchange &exchange, int index)
{
    return judge(exchange(ProgramCommands::loadConfig(index)));
}

Outcome remove(const Exchange &exchange, int index)
{
    return judge(exchange(ProgramCommands::deleteConfig(index)));
}

Outcome exportTo(const Exchange &exchange, int index, const QString &path)
{
    Outcome o = judge(exchange(ProgramCommands::getConfigByIndex(index)));
    if (!o.ok)
        return o;
    const QJsonValue record = o.reply.value(QLatin1String("config"));
    QString why;
    if (!record.isObject() || !ProgramFiles::saveFile(path, ProgramFiles::writeStoredConfig(record.toObject()), &why)) {
        o.ok = false;
        o.message = why.isEmpty() ? tx(Tx::AdminFail) : QStringLiteral("%1: %2").arg(tx(Tx::AdminFail), why);
    }
    return o;
}

QString importQuestion()
{
    return tx(Tx::ProgImportOverwrite);
}

Outcome importFrom(const Exchange &exchange, int index, const QString &path)
{
    const std::optional<QByteArray> bytes = ProgramFiles::readFile(path);
    const ProgramFiles::StoredRead read =
        bytes ? ProgramFiles::readStoredConfig(*bytes) : ProgramFiles::StoredRead{Tx::ProgStoredOpenWrong, {}, {}};
    if (!read.ok())
        return refusal(tx(*read.error), tx(Tx::AdminTips));
    return judge(exchange(request({{QStringLiteral("index"), QString::number(index)},
                                   {QStringLiteral("config"), read.config}},
                                  "saveConfig")));
}

QString factoryQuestion()
{
    return tx(Tx::AdminFactoryConfirm);
}

QString restartQuestion()
{
    return tx(Tx::AdminRestartAsk);
}

Outcome factoryReset(const Exchange &exchange)
{
    Outcome best;
    for (const QString &literal : ProgramCommands::resetFactory()) {
        const Outcome o = judge(exchange(literal));
        // A taken one stands; otherwise the lock says more than the other spelling's "unknown".
        if (o.ok || (!best.ok && (best.message.isEmpty() || locked(o.reply))))
            best = o;
    }
    return best;
}

QJsonObject rebootRequest(const QString &devId)
{
    return SettingsPlan::request(devId, QStringLiteral("reboot"));
}

} // namespace StoredActions
