#include "core/devices/deviceuistore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

int number(const QJsonValue &v, int fallback = -1)
{
    bool ok = false;
    const int n = v.isDouble() ? v.toInt() : v.toString().toInt(&ok);
    return v.isDouble() || ok ? n : fallback;
}

QStringList strings(const QJsonValue &v)
{
    QStringList out;
    for (const QJsonValue &x : v.toArray())
        out.append(x.isDouble() ? QString::number(x.toDouble()) : x.toString());
    return out;
}

} // namespace

DeviceUiStore::DeviceUiStore(QObject *parent)
    : QObject(parent)
{
}

void DeviceUiStore::remove(const QString &devId)
{
    m_data.remove(devId);
}

int DeviceUiStore::compareVersions(const QString &a, const QString &b)
{
    const QStringList x = a.split(QLatin1Char('.'));
    const QStringList y = b.split(QLatin1Char('.'));
    for (int i = 0; i < qMax(x.size(), y.size()); ++i) {
        const int p = i < x.size() ? x.at(i).toInt() : 0;
        const int q = i < y.size() ? y.at(i).toInt() : 0;
        if (p != q)
            return p < q ? -1 : 1;
    }
    return 0;
}

void DeviceUiStore::slot_message(const QString &json)
{
    const QJsonObject o = QJsonDocument::fromJson(json.toUtf8()).object();
    const QString op = o.value(QLatin1String("ops")).toString();
    const QString devId = o.value(QLatin1String("devId")).toString();
    if (devId.isEmpty())
        return;
    const bool succ = o.value(QLatin1String("result")).toString() == QLatin1String("succ");
    DeviceUiData &d = m_data[devId];
    if (op == QLatin1String("getVersion") && succ) {
        d.versionKnown = true;
        d.version = o.value(QLatin1String("version")).toString();
        d.oemCode = o.value(QLatin1String("oemCode")).toString();
        d.ptpPriority = number(o.value(QLatin1String("ptpPriority")));
        d.ptpDomain = number(o.value(QLatin1String("ptpDomain")));
        d.ptpDscp = number(o.value(QLatin1String("ptpDscp")));
        d.sampleRates = strings(o.value(QLatin1String("sampleRateArr")));
        d.packetTimeDivs = strings(o.value(QLatin1String("packetTimeDivArr")));
        d.sampleByteNums = strings(o.value(QLatin1String("sampleByteNumArr")));
        d.delayUsList = strings(o.value(QLatin1String("delayUsArr")));
    } else if (op == QLatin1String("getIp") && succ) {
        d.ipKnown = true;
        d.fixedIp = o.value(QLatin1String("fixedIp")).toString() == QLatin1String("1");
        d.ipWithPrefix = o.value(QLatin1String("ip")).toString();
        d.gateway = o.value(QLatin1String("gateway")).toString();
        d.dns = o.value(QLatin1String("dns")).toString();
    } else if (op == QLatin1String("getLock") && succ) {
        d.lockKnown = true;
        d.devLock = number(o.value(QLatin1String("devLock")), 0);
        d.routeLock = number(o.value(QLatin1String("routeLock")), 0);
        d.dspLock = number(o.value(QLatin1String("dspLock")), 0);
    } else if (op == QLatin1String("getDebugInfo") && succ) {
        d.debugKnown = true;
        d.temp = o.value(QLatin1String("temp")).toString();
        d.uptime = o.value(QLatin1String("uptime")).toString();
        if (o.contains(QLatin1String("version")))
            d.version = o.value(QLatin1String("version")).toString();
    } else if (op == QLatin1String("setPtpPriority") && succ && o.contains(QLatin1String("val"))) {
        d.ptpPriority = number(o.value(QLatin1String("val")), d.ptpPriority);
    } else if (op == QLatin1String("clockEvent")) {
        const QString event = o.value(QLatin1String("event")).toString();
        if (event == QLatin1String("masterOffset")) {
            d.ptpState = number(o.value(QLatin1String("state")));
            d.masterOffset = o.value(QLatin1String("masterOffset")).toString();
        } else if (event == QLatin1String("adjustFreq")) {
            d.adjustFreq = o.value(QLatin1String("adjustFreq")).toString();
        }
    } else {
        if (!d.versionKnown && !d.ipKnown && !d.lockKnown && !d.debugKnown && d.ptpState < 0)
            m_data.remove(devId);
        return;
    }
    emit signal_changed(devId);
}
