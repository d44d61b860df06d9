#include "core/devices/tablemerge.h"

#include "core/protocol/ipv4.h"

#include <QJsonArray>

#include <cstdio>

namespace {

qint32 jsonInt(const QJsonValue &v, qint32 fallback)
{
    if (v.isDouble())
        return v.toInt(fallback);
    if (v.isString()) {
        bool ok = false;
        const int n = v.toString().toInt(&ok, 10);
        return ok ? n : fallback;
    }
    return fallback;
}

quint32 address(const QJsonValue &v)
{
    return Ipv4::fromText(v.toString());
}

QString text(const QJsonObject &item, const char *key, int limit)
{
    return item.value(QLatin1String(key)).toString().left(limit);
}

bool flag(const QJsonObject &item, const char *key)
{
    return item.value(QLatin1String(key)).toString() == QLatin1String("1");
}

template<typename T>
T &at(QVector<T> &table, int size, int id)
{
    if (table.size() < size)
        table.resize(size);
    return table[id];
}

QVector<qint32> intArray(const QJsonValue &v)
{
    QVector<qint32> out;
    const QJsonArray arr = v.toArray();
    out.reserve(arr.size());
    for (const QJsonValue &x : arr)
        out.append(jsonInt(x, -1));
    return out;
}

QVector<quint32> placeArray(const QJsonValue &v)
{
    QVector<quint32> out;
    const QJsonArray arr = v.toArray();
    out.reserve(arr.size());
    for (const QJsonValue &x : arr)
        out.append(quint32(x.toString().toULongLong()));
    return out;
}

// An item without its own "id" sits at idStart plus its place in "arr"; a page may claim any idStart up to
// INT_MAX, so the sum is taken in 64 bits and anything past the table reads as no place at all.
qint32 placeInPage(qint32 idStart, int place, qint32 count)
{
    const qint64 id = qint64(idStart) + place;
    return id < count ? qint32(id) : -1;
}

// Calls store(id, item) for every item of the page that lands inside the table; false when the page moves
// nothing. A repeat of a page already stored, or one past what was asked for, is dropped: the poller asks
// for the right page again.
template<typename Store>
bool mergeItems(qint32 &fetched, qint32 count, const QJsonObject &reply, Store store)
{
    const qint32 idStart = jsonInt(reply.value(QLatin1String("idStart")), fetched);
    const qint32 idNext = jsonInt(reply.value(QLatin1String("idNext")), -1);
    if (idStart > fetched || idNext <= fetched)
        return false;
    const QJsonArray arr = reply.value(QLatin1String("arr")).toArray();
    for (int i = 0; i < arr.size(); ++i) {
        const QJsonObject item = arr.at(i).toObject();
        const qint32 id = jsonInt(item.value(QLatin1String("id")), placeInPage(idStart, i, count));
        if (id >= 0 && id < count)
            store(id, item);
    }
    fetched = idNext;
    return true;
}

int cookieText(char *out, size_t size, quint32 generation)
{
    return std::snprintf(out, size, "t%u", generation);
}

// True when the reply answers a request of the table's current generation, or carries no cookie at all.
bool isCurrent(const DeviceTables &tables, DeviceTables::Table t, const QJsonObject &reply)
{
    const QJsonValue cookie = reply.value(QLatin1String("cookie"));
    if (cookie.isUndefined())
        return true;
    char current[16];
    cookieText(current, sizeof current, tables.generation[t]);
    return cookie.toString() == QLatin1String(current);
}

} // namespace

int TableMerge::writeRequest(char *out, DeviceTables::Table t, qint32 idStart, quint32 generation)
{
    char cookie[16];
    cookieText(cookie, sizeof cookie, generation);
    return std::snprintf(out, kRequestSize, "{\"ops\":\"%s\",\"idStart\":\"%d\",\"cookie\":\"%s\"}",
                         DeviceTables::operation(t), idStart, cookie);
}

TableMerge::Target TableMerge::targetOf(const QString &op)
{
    Target out;
    const QByteArray name = op.toLatin1();
    for (int t = 0; t < DeviceTables::TableCount; ++t)
        if (name == DeviceTables::operation(DeviceTables::Table(t)))
            out.table = t;
    for (int t = 0; t < DeviceTables::NameTableCount; ++t)
        if (name == DeviceTables::nameOperation(DeviceTables::NameTable(t)))
            out.nameTable = t;
    return out;
}

bool TableMerge::mergePage(DeviceTables &tables, DeviceTables::Table t, qint32 count, const QJsonObject &reply)
{
    DeviceTables &d = tables;
    if (!isCurrent(d, t, reply))
        return false;
    return mergeItems(d.fetched[t], count, reply, [&](int id, const QJsonObject &item) {
        switch (t) {
        case DeviceTables::RxCh:
            at(d.rxCh, count, id) = jsonInt(item.value(QLatin1String("rtpChId")), -1);
            break;
        case DeviceTables::RtpCh: {
            RtpChItem &e = at(d.rtpCh, count, id);
            e.active = flag(item, "active");
            e.srcDevId = text(item, "srcDevId", 64);
            e.name = text(item, "name", 64);
            e.srcChId = jsonInt(item.value(QLatin1String("srcChId")), -1);
            e.srcIp = address(item.value(QLatin1String("srcIp")));
            e.dstIp = address(item.value(QLatin1String("dstIp")));
            e.dstPort = quint16(jsonInt(item.value(QLatin1String("dstPort")), 0));
            break;
        }
        case DeviceTables::UcastRx: {
            UcastRxItem &e = at(d.ucastRx, count, id);
            e.srcDevId = text(item, "srcDevId", 64);
            e.srcIp = address(item.value(QLatin1String("srcIp")));
            e.chNum = jsonInt(item.value(QLatin1String("chNum")), 0);
            e.rtpChIds = intArray(item.value(QLatin1String("rtpChIdArr")));
            break;
        }
        case DeviceTables::UcastTx: {
            UcastTxItem &e = at(d.ucastTx, count, id);
            e.dstDevId = text(item, "dstDevId", 64);
            e.dstIp = address(item.value(QLatin1String("dstIp")));
            e.chNum = jsonInt(item.value(QLatin1String("chNum")), 0);
            e.srcChIds = placeArray(item.value(QLatin1String("srcChIdArr")));
            break;
        }
        case DeviceTables::McastRx: {
            McastRxItem &e = at(d.mcastRx, count, id);
            e.name = text(item, "name", 64);
            e.srcIp = address(item.value(QLatin1String("srcIp")));
            e.dstIp = address(item.value(QLatin1String("dstIp")));
            e.dstPort = quint16(jsonInt(item.value(QLatin1String("dstPort")), 0));
            e.chNum = jsonInt(item.value(QLatin1String("chNum")), 0);
            e.rtpChIds = intArray(item.value(QLatin1String("rtpChIdArr")));
            break;
        }
        case DeviceTables::McastTx: {
            McastTxItem &e = at(d.mcastTx, count, id);
            e.sdpId = text(item, "sdpId", 16);
            e.name = text(item, "name", 64);
            e.dstIp = address(item.value(QLatin1String("dstIp")));
            e.dstPort = quint16(jsonInt(item.value(QLatin1String("dstPort")), 0));
            e.chNum = jsonInt(item.value(QLatin1String("chNum")), 0);
            e.srcChIds = intArray(item.value(QLatin1String("srcChIdArr")));
            break;
        }
        case DeviceTables::ActiveUcastId:
            at(d.activeUcast, count, id) = flag(item, "active");
            break;
        case DeviceTables::ActiveMcastId:
            at(d.activeMcast, count, id) = flag(item, "active");
            break;
        default:
            break;
        }
    });
}

bool TableMerge::mergeNamePage(DeviceTables &tables, DeviceTables::NameTable t, qint32 count,
                               const QJsonObject &reply)
{
    QVector<QString> &names = tables.names[t];
    // A page that moves the count sizes the table even when it brings no names.
    const bool moved = mergeItems(tables.namesFetched[t], count, reply, [&](int id, const QJsonObject &item) {
        at(names, count, id) = text(item, "name", 64);
    });
    if (moved && names.size() < count)
        names.resize(count);
    return moved;
}

void TableMerge::refetchRoutes(DeviceTables &tables)
{
    for (auto t : {DeviceTables::RxCh, DeviceTables::RtpCh, DeviceTables::UcastRx, DeviceTables::UcastTx,
                   DeviceTables::McastRx, DeviceTables::McastTx}) {
        tables.fetched[t] = 0;
        ++tables.generation[t];
    }
}

void TableMerge::refetchActive(DeviceTables &tables)
{
    for (auto t : {DeviceTables::ActiveUcastId, DeviceTables::ActiveMcastId}) {
        tables.fetched[t] = 0;
        ++tables.generation[t];
    }
}
