#include "core/routing/netsnapshot.h"

#include "core/app/atomicfile.h"
#include "core/app/texts.h"
#include "core/protocol/ipv4.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace NetSnapshot {

bool Subscription::operator==(const Subscription &o) const
{
    return flowIp == o.flowIp && srcIp == o.srcIp && port == o.port && chNum == o.chNum;
}

namespace {

DeviceState stateOf(const Device &d)
{
    DeviceState st;
    st.devId = d.devId();
    st.name = d.rec.name.str();
    const int channels = qMin(d.rec.chNumRx, int(d.tables.rxCh.size()));
    for (int ch = 0; ch < channels; ++ch)
        if (const RtpChItem *route = d.routeOf(ch))
            st.routes.insert(ch + 1, RouteSource::of(route));
    for (const McastRxItem &m : d.tables.mcastRx) {
        if (m.dstIp == 0)
            continue;
        st.subscriptions.insert(m.dstIp, Subscription{m.dstIp, m.name, m.srcIp, m.dstPort, m.chNum});
    }
    return st;
}

} // namespace

Snapshot capture(const QVector<Device> &devices)
{
    Snapshot s;
    s.saved = QDateTime::currentDateTimeUtc();
    s.devices.reserve(devices.size());
    for (const Device &d : devices)
        s.devices.append(stateOf(d));
    return s;
}

QByteArray toJson(const Snapshot &snapshot)
{
    QJsonArray devices;
    for (const DeviceState &d : snapshot.devices) {
        QJsonArray routes;
        for (auto it = d.routes.cbegin(); it != d.routes.cend(); ++it) {
            const RouteSource &r = *it;
            QJsonObject o{{QStringLiteral("rxCh"), it.key()}, {QStringLiteral("source"), r.name}};
            if (r.kind == RouteSource::Multicast) {
                o.insert(QStringLiteral("flow"), Ipv4::toText(r.flowIp));
                o.insert(QStringLiteral("flowCh"), r.channel);
            } else {
                o.insert(QStringLiteral("srcDevId"), r.srcDevId);
                o.insert(QStringLiteral("srcCh"), r.channel);
            }
            routes.append(o);
        }
        QJsonArray subs;
        for (const Subscription &s : d.subscriptions)
            subs.append(QJsonObject{{QStringLiteral("flow"), Ipv4::toText(s.flowIp)},
                                    {QStringLiteral("name"), s.name},
                                    {QStringLiteral("srcIp"), Ipv4::toText(s.srcIp)},
                                    {QStringLiteral("port"), int(s.port)},
                                    {QStringLiteral("chNum"), s.chNum}});
        devices.append(QJsonObject{{QStringLiteral("devId"), d.devId},
                                   {QStringLiteral("name"), d.name},
                                   {QStringLiteral("routes"), routes},
                                   {QStringLiteral("subscriptions"), subs}});
    }
    const QJsonObject root{{QStringLiteral("format"), QLatin1String(kFormat)},
                           {QStringLiteral("version"), kVersion},
                           {QStringLiteral("saved"), snapshot.saved.toString(Qt::ISODate)},
                           {QStringLiteral("devices"), devices}};
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

bool save(const QString &path, const Snapshot &snapshot, QString *why)
{
    return AtomicFile::write(path, toJson(snapshot), why);
}

namespace {

// Reads members and says which one was wrong, by its path in the file.
struct Reader
{
    QString where;
    QString *why;

    bool bad(const QString &member)
    {
        *why = tx(Tx::SnapBadMember).arg(where + member);
        return false;
    }
    bool text(const QJsonObject &o, const char *key, QString *out, bool required = true)
    {
        const QJsonValue v = o.value(QLatin1String(key));
        if (v.isUndefined() && !required)
            return true;
        if (!v.isString() || (required && v.toString().isEmpty()))
            return bad(QLatin1String(key));
        *out = v.toString();
        return true;
    }
    bool number(const QJsonObject &o, const char *key, int low, int high, int *out)
    {
        const QJsonValue v = o.value(QLatin1String(key));
        const double d = v.toDouble(-1);
        if (!v.isDouble() || d != int(d) || d < low || d > high)
            return bad(QLatin1String(key));
        *out = int(d);
        return true;
    }
    bool address(const QJsonObject &o, const char *key, quint32 *out)
    {
        *out = Ipv4::fromText(o.value(QLatin1String(key)).toString());
        return *out != 0 || bad(QLatin1String(key));
    }
};

bool readDevice(const QJsonValue &value, int index, DeviceState *out, QString *why)
{
    Reader r{QStringLiteral("devices[%1].").arg(index), why};
    if (!value.isObject())
        return r.bad(QString());
    const QJsonObject o = value.toObject();
    if (!r.text(o, "devId", &out->devId) || !r.text(o, "name", &out->name, false))
        return false;
    const QJsonValue routes = o.value(QLatin1String("routes"));
    const QJsonValue subs = o.value(QLatin1String("subscriptions"));
    if (!routes.isArray())
        return r.bad(QStringLiteral("routes"));
    if (!subs.isArray() && !subs.isUndefined())
        return r.bad(QStringLiteral("subscriptions"));
    const QJsonArray routeArray = routes.toArray();
    for (int i = 0; i < routeArray.size(); ++i) {
        Reader e{r.where + QStringLiteral("routes[%1].").arg(i), why};
        const QJsonObject ro = routeArray.at(i).toObject();
        int rxCh = 0;
        RouteSource s;
        if (!e.number(ro, "rxCh", 1, DeviceTables::kMaxItems, &rxCh) || !e.text(ro, "source", &s.name, false))
            return false;
        if (ro.contains(QLatin1String("flow"))) {
            s.kind = RouteSource::Multicast;
            if (!e.address(ro, "flow", &s.flowIp) || !e.number(ro, "flowCh", 1, 255, &s.channel))
                return false;
        } else {
            s.kind = RouteSource::Unicast;
            if (!e.text(ro, "srcDevId", &s.srcDevId) || !e.number(ro, "srcCh", 1, DeviceTables::kMaxItems, &s.channel))
                return false;
        }
        if (out->routes.contains(rxCh))
            return e.bad(QStringLiteral("rxCh"));
        out->routes.insert(rxCh, s);
    }
    const QJsonArray subArray = subs.toArray();
    for (int i = 0; i < subArray.size(); ++i) {
        Reader e{r.where + QStringLiteral("subscriptions[%1].").arg(i), why};
        const QJsonObject so = subArray.at(i).toObject();
        Subscription s;
        int port = 0;
        if (!e.address(so, "flow", &s.flowIp) || !e.text(so, "name", &s.name, false) || !e.address(so, "srcIp", &s.srcIp)
            || !e.number(so, "port", 1, 65535, &port) || !e.number(so, "chNum", 0, 255, &s.chNum))
            return false;
        s.port = quint16(port);
        out->subscriptions.insert(s.flowIp, s);
    }
    return true;
}

} // namespace

std::optional<Snapshot> parse(const QByteArray &bytes, QString *why)
{
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        *why = tx(Tx::SnapNotJson).arg(error.errorString());
        return std::nullopt;
    }
    const QJsonObject root = doc.object();
    if (!doc.isObject() || root.value(QLatin1String("format")).toString() != QLatin1String(kFormat)) {
        *why = tx(Tx::SnapNotOurs);
        return std::nullopt;
    }
    const QJsonValue version = root.value(QLatin1String("version"));
    if (!version.isDouble() || version.toDouble() < 1) {
        *why = tx(Tx::SnapBadMember).arg(QStringLiteral("version"));
        return std::nullopt;
    }
    if (version.toDouble() > kVersion) {
        *why = tx(Tx::SnapNewer).arg(version.toDouble());
        return std::nullopt;
    }
    const QJsonValue devices = root.value(QLatin1String("devices"));
    if (!devices.isArray()) {
        *why = tx(Tx::SnapBadMember).arg(QStringLiteral("devices"));
        return std::nullopt;
    }
    Snapshot s;
    s.saved = QDateTime::fromString(root.value(QLatin1String("saved")).toString(), Qt::ISODate);
    const QJsonArray arr = devices.toArray();
    s.devices.reserve(arr.size());
    for (int i = 0; i < arr.size(); ++i) {
        DeviceState d;
        if (!readDevice(arr.at(i), i, &d, why))
            return std::nullopt;
        s.devices.append(d);
    }
    return s;
}

std::optional<Snapshot> load(const QString &path, QString *why)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        *why = f.errorString();
        return std::nullopt;
    }
    return parse(f.readAll(), why);
}

Diff diff(const Snapshot &snapshot, const RouteNetwork &live)
{
    Diff out;
    for (const DeviceState &want : snapshot.devices) {
        const Device *d = live.device(want.devId);
        if (!d) {
            out.missing.append(want);
            continue;
        }
        const DeviceState now = stateOf(*d);
        DeviceDiff dd;
        dd.devId = want.devId;
        dd.name = now.name.isEmpty() ? want.name : now.name;
        // Both maps are ordered by channel: one merge walk.
        auto a = now.routes.cbegin();
        auto b = want.routes.cbegin();
        while (a != now.routes.cend() || b != want.routes.cend()) {
            RouteChange c;
            c.rxDevId = want.devId;
            if (b == want.routes.cend() || (a != now.routes.cend() && a.key() < b.key())) {
                c.rxCh = a.key();
                c.before = *a++;
            } else if (a == now.routes.cend() || b.key() < a.key()) {
                c.rxCh = b.key();
                c.after = *b++;
            } else {
                c.rxCh = a.key();
                c.before = *a++;
                c.after = *b++;
                if (c.before == c.after)
                    continue;
            }
            dd.routes.append(c);
        }
        for (const Subscription &s : now.subscriptions) {
            const Subscription w = want.subscriptions.value(s.flowIp);
            if (w != s)
                dd.subscriptions.append({s, w});
        }
        for (const Subscription &w : want.subscriptions)
            if (!now.subscriptions.contains(w.flowIp))
                dd.subscriptions.append({Subscription(), w});
        if (!dd.routes.isEmpty() || !dd.subscriptions.isEmpty())
            out.devices.append(dd);
    }
    return out;
}

RouteBatch recall(const Diff &diff, const RouteNetwork &live)
{
    RouteBatch batch;
    // Clears first, so a channel freed on one device never waits on a set elsewhere.
    for (int pass = 0; pass < 2; ++pass)
        for (const DeviceDiff &d : diff.devices)
            for (const RouteChange &c : d.routes)
                if (c.after.isNone() == (pass == 0))
                    batch.add(live, c);
    return batch;
}

} // namespace NetSnapshot
