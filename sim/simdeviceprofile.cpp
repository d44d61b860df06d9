#include "simdeviceprofile.h"
#include "simports.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>

namespace {

// Scenario files are written by people: numbers may come as JSON numbers or as text.
bool readInt(const QJsonObject &obj, const char *key, int *out, QString *error)
{
    const QJsonValue v = obj.value(QLatin1String(key));
    if (v.isUndefined())
        return true;
    bool ok = v.isDouble();
    const int value = ok ? v.toInt() : v.toString().toInt(&ok);
    if (!ok) {
        if (error && error->isEmpty())
            *error = QStringLiteral("\"%1\" is not a whole number").arg(QLatin1String(key));
        return false;
    }
    *out = value;
    return true;
}

void readString(const QJsonObject &obj, const char *key, QString *out)
{
    const QJsonValue v = obj.value(QLatin1String(key));
    if (v.isString())
        *out = v.toString();
    else if (v.isDouble())
        *out = QString::number(v.toInt());
}

void readBool(const QJsonObject &obj, const char *key, bool *out)
{
    const QJsonValue v = obj.value(QLatin1String(key));
    if (v.isBool())
        *out = v.toBool();
    else if (v.isString())
        *out = v.toString() == QLatin1String("1") || v.toString() == QLatin1String("true");
    else if (v.isDouble())
        *out = v.toInt() != 0;
}

QStringList readNames(const QJsonObject &obj, const char *key)
{
    QStringList names;
    for (const QJsonValue &v : obj.value(QLatin1String(key)).toArray())
        names << v.toString();
    return names;
}

QVector<int> readIndices(const QJsonValue &value)
{
    QVector<int> out;
    for (const QJsonValue &v : value.toArray())
        out << (v.isDouble() ? v.toInt() : v.toString().toInt());
    return out;
}

QJsonArray indicesToJson(const QVector<int> &v)
{
    QJsonArray a;
    for (int i : v)
        a.append(i);
    return a;
}

const QSet<int> &fixedPorts()
{
    using namespace SimPorts;
    static const QSet<int> ports{device, peripheral, config, uart, lock, dsp, dspStatus, announce, sap};
    return ports;
}

} // namespace

SimDeviceProfile SimDeviceProfile::fromJson(const QJsonObject &obj, const SimFaults &faults, QString *error)
{
    SimDeviceProfile d;
    readString(obj, "devId", &d.devId);
    readString(obj, "name", &d.name);
    readString(obj, "model", &d.model);
    readString(obj, "address", &d.address);
    readString(obj, "version", &d.version);
    readString(obj, "oemCode", &d.oemCode);
    readString(obj, "clockId", &d.clockId);
    readString(obj, "password", &d.password);
    readString(obj, "prefix", &d.prefix);
    readString(obj, "gateway", &d.gateway);
    readInt(obj, "port", &d.port, error);
    readInt(obj, "chNumRx", &d.chNumRx, error);
    readInt(obj, "chNumTx", &d.chNumTx, error);
    readInt(obj, "phyChNumRx", &d.phyChNumRx, error);
    readInt(obj, "phyChNumTx", &d.phyChNumTx, error);
    readInt(obj, "ucastNumRx", &d.ucastNumRx, error);
    readInt(obj, "ucastNumTx", &d.ucastNumTx, error);
    readInt(obj, "mcastNumRx", &d.mcastNumRx, error);
    readInt(obj, "mcastNumTx", &d.mcastNumTx, error);
    readInt(obj, "sampleRate", &d.sampleRate, error);
    readInt(obj, "sampleByteNum", &d.sampleByteNum, error);
    readInt(obj, "packetTimeDiv", &d.packetTimeDiv, error);
    readInt(obj, "delayUs", &d.delayUs, error);
    readInt(obj, "dscp", &d.dscp, error);
    readInt(obj, "ptpPriority", &d.ptpPriority, error);
    readInt(obj, "ptpDomain", &d.ptpDomain, error);
    readInt(obj, "ptpDscp", &d.ptpDscp, error);
    readInt(obj, "gpioNum", &d.gpioNum, error);
    readInt(obj, "blinkEveryS", &d.blinkEveryS, error);
    readBool(obj, "canWork", &d.canWork);
    d.dsp = d.model.endsWith(QLatin1Char('D'));
    readBool(obj, "dsp", &d.dsp);
    d.amplifier = d.model == QLatin1String("RK7731");
    readBool(obj, "amplifier", &d.amplifier);
    d.chNamesRx = readNames(obj, "chNamesRx");
    d.chNamesTx = readNames(obj, "chNamesTx");
    d.phyChNamesRx = readNames(obj, "phyChNamesRx");
    d.phyChNamesTx = readNames(obj, "phyChNamesTx");
    d.silentInputs = readIndices(obj.value(QLatin1String("silentInputs")));
    for (const QJsonValue &fv : obj.value(QLatin1String("flows")).toArray()) {
        const QJsonObject fo = fv.toObject();
        Flow f;
        readString(fo, "name", &f.name);
        readString(fo, "dstIp", &f.dstIp);
        readInt(fo, "dstPort", &f.dstPort, error);
        f.channels = readIndices(fo.value(QLatin1String("channels")));
        d.flows << f;
    }
    d.faults = SimFaults::fromJson(obj.value(QLatin1String("faults")).toObject(), faults, error);
    return d;
}

QJsonObject SimDeviceProfile::toJson(const SimFaults &scenarioFaults) const
{
    const SimDeviceProfile defaults;
    QJsonObject o;
    o.insert(QStringLiteral("devId"), devId);
    o.insert(QStringLiteral("name"), name);
    o.insert(QStringLiteral("model"), model);
    if (!address.isEmpty())
        o.insert(QStringLiteral("address"), address);
    o.insert(QStringLiteral("port"), port);
    o.insert(QStringLiteral("chNumRx"), chNumRx);
    o.insert(QStringLiteral("chNumTx"), chNumTx);
    o.insert(QStringLiteral("phyChNumRx"), phyChNumRx);
    o.insert(QStringLiteral("phyChNumTx"), phyChNumTx);
    o.insert(QStringLiteral("ucastNumRx"), ucastNumRx);
    o.insert(QStringLiteral("ucastNumTx"), ucastNumTx);
    o.insert(QStringLiteral("mcastNumRx"), mcastNumRx);
    o.insert(QStringLiteral("mcastNumTx"), mcastNumTx);
    o.insert(QStringLiteral("sampleRate"), sampleRate);
    o.insert(QStringLiteral("sampleByteNum"), sampleByteNum);
    o.insert(QStringLiteral("packetTimeDiv"), packetTimeDiv);
    o.insert(QStringLiteral("delayUs"), delayUs);
    o.insert(QStringLiteral("dscp"), dscp);
    o.insert(QStringLiteral("version"), version);
    if (oemCode != defaults.oemCode)
        o.insert(QStringLiteral("oemCode"), oemCode);
    o.insert(QStringLiteral("ptpPriority"), ptpPriority);
    o.insert(QStringLiteral("ptpDomain"), ptpDomain);
    o.insert(QStringLiteral("ptpDscp"), ptpDscp);
    if (!clockId.isEmpty())
        o.insert(QStringLiteral("clockId"), clockId);
    o.insert(QStringLiteral("password"), password);
    if (!canWork)
        o.insert(QStringLiteral("canWork"), false);
    if (dsp != model.endsWith(QLatin1Char('D')))
        o.insert(QStringLiteral("dsp"), dsp);
    if (amplifier != (model == QLatin1String("RK7731")))
        o.insert(QStringLiteral("amplifier"), amplifier);
    if (gpioNum)
        o.insert(QStringLiteral("gpioNum"), gpioNum);
    if (blinkEveryS)
        o.insert(QStringLiteral("blinkEveryS"), blinkEveryS);
    if (prefix != defaults.prefix)
        o.insert(QStringLiteral("prefix"), prefix);
    if (!gateway.isEmpty())
        o.insert(QStringLiteral("gateway"), gateway);
    auto names = [&](const char *key, const QStringList &list) {
        if (!list.isEmpty())
            o.insert(QLatin1String(key), QJsonArray::fromStringList(list));
    };
    names("chNamesRx", chNamesRx);
    names("chNamesTx", chNamesTx);
    names("phyChNamesRx", phyChNamesRx);
    names("phyChNamesTx", phyChNamesTx);
    if (!silentInputs.isEmpty())
        o.insert(QStringLiteral("silentInputs"), indicesToJson(silentInputs));
    if (!flows.isEmpty()) {
        QJsonArray fa;
        for (const Flow &f : flows) {
            QJsonObject fo{{QStringLiteral("name"), f.name}, {QStringLiteral("channels"), indicesToJson(f.channels)}};
            if (!f.dstIp.isEmpty())
                fo.insert(QStringLiteral("dstIp"), f.dstIp);
            if (f.dstPort != SimPorts::rtp)
                fo.insert(QStringLiteral("dstPort"), f.dstPort);
            fa.append(fo);
        }
        o.insert(QStringLiteral("flows"), fa);
    }
    const QJsonObject fo = faults.toJson(scenarioFaults);
    if (!fo.isEmpty())
        o.insert(QStringLiteral("faults"), fo);
    return o;
}

QString SimDeviceProfile::check() const
{
    const QString who = devId.isEmpty() ? QStringLiteral("a device") : devId;
    if (devId.isEmpty() || devId.toUtf8().size() > 64)
        return who + QStringLiteral(": devId must hold 1 to 64 bytes");
    if (name.toUtf8().size() > 64)
        return who + QStringLiteral(": name longer than 64 bytes");
    if (model.isEmpty())
        return who + QStringLiteral(": no model");
    if (port < 1 || port > 65535 || fixedPorts().contains(port))
        return who + QStringLiteral(": control port %1 is not usable").arg(port);
    for (int n : {chNumRx, chNumTx, phyChNumRx, phyChNumTx, ucastNumRx, ucastNumTx, mcastNumRx, mcastNumTx})
        if (n < 0 || n > 1024)
            return who + QStringLiteral(": channel and stream counts must be 0 to 1024");
    if (sampleByteNum < 2 || sampleByteNum > 4 || sampleRate < 8000 || packetTimeDiv < 1 || packetTimeDiv > 8)
        return who + QStringLiteral(": bad audio format");
    if (ptpPriority < 0 || ptpPriority > 255 || ptpDomain < 0 || ptpDomain > 127)
        return who + QStringLiteral(": bad PTP priority or domain");
    static const QRegularExpression clk(QStringLiteral("^([0-9A-F]{2}-){7}[0-9A-F]{2}$"));
    if (!clockId.isEmpty() && !clk.match(clockId).hasMatch())
        return who + QStringLiteral(": clockId must read like 00-1D-C1-FF-FE-00-00-02");
    if (!address.isEmpty() && QHostAddress(address).protocol() != QAbstractSocket::IPv4Protocol)
        return who + QStringLiteral(": address is not IPv4");
    if (flows.size() > mcastNumTx)
        return who + QStringLiteral(": more flows than mcastNumTx");
    for (const Flow &f : flows) {
        if (f.channels.isEmpty() || f.channels.size() > 8)
            return who + QStringLiteral(": a flow carries 1 to 8 channels");
        for (int c : f.channels)
            if (c < 0 || c >= chNumTx)
                return who + QStringLiteral(": flow channel %1 beyond chNumTx").arg(c);
    }
    return QString();
}
