#include "simsettings.h"

#include "simclock.h"
#include "simdevice.h"
#include "simflows.h"
#include "simrequest.h"
#include "simtext.h"

using SimRequest::readInt;
using SimRequest::readText;
using SimText::badParam;
using SimText::num;
using SimText::textArray;

const QVector<int> SimSettings::sampleRates{44100, 48000, 96000};
const QVector<int> SimSettings::packetTimeDivs{1, 2, 3, 4, 8};
const QVector<int> SimSettings::sampleByteNums{2, 3};
const QVector<int> SimSettings::delays{250, 500, 1000, 2000, 4000, 8000};

namespace {

QStringList filledNames(const QStringList &given, int count, const QString &stem)
{
    QStringList names = given.mid(0, count);
    for (int i = names.size(); i < count; ++i)
        names << stem + QLatin1Char(' ') + num(i + 1);
    return names;
}

} // namespace

SimSettings::SimSettings(SimDevice &device, const SimDeviceProfile &profile)
    : m_device(device)
    , m_name(profile.name)
    , m_sampleRate(profile.sampleRate)
    , m_sampleByteNum(profile.sampleByteNum)
    , m_packetTimeDiv(profile.packetTimeDiv)
    , m_delayUs(profile.delayUs)
    , m_dscp(profile.dscp)
{
    m_chNameRx = filledNames(profile.chNamesRx, profile.chNumRx, QStringLiteral("Rx"));
    // Transmit channels carry the physical inputs: they take their names unless given.
    QStringList txNames = profile.chNamesTx;
    if (txNames.isEmpty())
        txNames = profile.phyChNamesRx.mid(0, profile.chNumTx);
    m_chNameTx = filledNames(txNames, profile.chNumTx, QStringLiteral("Tx"));
    m_phyChNameRx = filledNames(profile.phyChNamesRx, profile.phyChNumRx, QStringLiteral("In"));
    m_phyChNameTx = filledNames(profile.phyChNamesTx, profile.phyChNumTx, QStringLiteral("Out"));
}

QString SimSettings::opSetDevName(const QJsonObject &req, QJsonObject &)
{
    QString name;
    if (!readText(req, "name", &name) || name.isEmpty() || name.toUtf8().size() > 64)
        return badParam;
    m_device.log(QStringLiteral("renamed \"%1\" -> \"%2\"").arg(m_name, name));
    m_name = name;
    return QString();
}

QString SimSettings::opSetChName(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    QStringList *list = ops == QLatin1String("setChNameRx")      ? &m_chNameRx
                        : ops == QLatin1String("setChNameTx")    ? &m_chNameTx
                        : ops == QLatin1String("setPhyChNameRx") ? &m_phyChNameRx
                                                                 : &m_phyChNameTx;
    bool ok = false;
    const int ch = readInt(req, "chId", &ok);
    QString name;
    if (!ok || ch < 0 || ch >= list->size() || !readText(req, "name", &name) || name.toUtf8().size() > 64)
        return badParam;
    (*list)[ch] = name;
    return QString();
}

QString SimSettings::opSetFormat(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    bool ok = false;
    if (ops == QLatin1String("setSampleRate")) {
        const int v = readInt(req, "sampleRate", &ok);
        if (!ok || !sampleRates.contains(v))
            return badParam;
        m_sampleRate = v;
    } else if (ops == QLatin1String("setPacketTimeDiv")) {
        const int v = readInt(req, "packetTimeDiv", &ok);
        if (!ok || !packetTimeDivs.contains(v))
            return badParam;
        m_packetTimeDiv = v;
    } else if (ops == QLatin1String("setSampleByteNum")) {
        const int v = readInt(req, "sampleByteNum", &ok);
        if (!ok || !sampleByteNums.contains(v))
            return badParam;
        m_sampleByteNum = v;
        m_device.flows().setSampleByteNum(v);
    } else if (ops == QLatin1String("setDelayUs")) {
        const int v = readInt(req, "delayUs", &ok);
        if (!ok || !delays.contains(v))
            return badParam;
        m_delayUs = v;
    } else {
        const int v = readInt(req, "dscp", &ok);
        if (!ok || v < 0 || v > 63)
            return badParam;
        m_dscp = v;
    }
    m_device.log(QStringLiteral("%1 done").arg(ops));
    return QString();
}

QString SimSettings::opGetVersion(const QJsonObject &, QJsonObject &r)
{
    const SimClock &clock = m_device.clock();
    r.insert(QStringLiteral("version"), m_device.profile().version);
    r.insert(QStringLiteral("oemCode"), m_device.profile().oemCode);
    r.insert(QStringLiteral("ptpPriority"), num(clock.priority()));
    r.insert(QStringLiteral("ptpDomain"), num(clock.domain()));
    r.insert(QStringLiteral("ptpDscp"), num(clock.dscp()));
    r.insert(QStringLiteral("sampleRateArr"), textArray(sampleRates));
    r.insert(QStringLiteral("packetTimeDivArr"), textArray(packetTimeDivs));
    r.insert(QStringLiteral("sampleByteNumArr"), textArray(sampleByteNums));
    r.insert(QStringLiteral("delayUsArr"), textArray(delays));
    return QString();
}

QString SimSettings::opOemAndCustom(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    if (ops == QLatin1String("getOemData")) {
        r.insert(QStringLiteral("customOemType"), m_customOemType);
    } else if (ops == QLatin1String("setOemData")) {
        bool ok = false;
        const int v = readInt(req, "customOemType", &ok);
        if (!ok || v < 0)
            return badParam;
        m_customOemType = num(v);
    } else if (ops == QLatin1String("getCustomStr")) {
        r.insert(QStringLiteral("str"), m_customStr);
    } else {
        QString s;
        if (!readText(req, "str", &s) || s.toUtf8().size() > 64)
            return badParam;
        m_customStr = s;
    }
    return QString();
}

QString SimSettings::opIdentify(const QJsonObject &req, QJsonObject &)
{
    bool ok = false;
    int seconds = readInt(req, "seconds", &ok);
    if (!ok)
        seconds = 5;
    if (seconds < 0 || seconds > 3600)
        return badParam;
    m_device.log(QStringLiteral("front panel flashing for %1 s").arg(seconds));
    return QString();
}
