#include "clioutput.h"

#include "core/protocol/ipv4.h"

namespace CliOutput {

QJsonObject deviceJson(const Device &d)
{
    const DevRecord &r = d.rec;
    return QJsonObject{
        {QStringLiteral("devId"), r.devId.str()},
        {QStringLiteral("name"), r.name.str()},
        {QStringLiteral("ip"), Ipv4::toText(r.ip)},
        {QStringLiteral("port"), r.port},
        {QStringLiteral("chNumRx"), r.chNumRx},
        {QStringLiteral("chNumTx"), r.chNumTx},
        {QStringLiteral("ucastNumRx"), r.ucastNumRx},
        {QStringLiteral("ucastNumTx"), r.ucastNumTx},
        {QStringLiteral("mcastNumRx"), r.mcastNumRx},
        {QStringLiteral("mcastNumTx"), r.mcastNumTx},
        {QStringLiteral("sampleRate"), r.sampleRate},
        {QStringLiteral("sampleByteNum"), r.sampleByteNum},
        {QStringLiteral("pFrameNum"), r.pFrameNum},
        {QStringLiteral("dscp"), r.dscp},
        {QStringLiteral("delayUs"), r.delayUs},
        {QStringLiteral("myClkId"), r.myClkId.str()},
        {QStringLiteral("gmClkId"), r.gmClkId.str()},
        {QStringLiteral("model"), r.model.str()},
        {QStringLiteral("phyChNumRx"), r.phyChNumRx},
        {QStringLiteral("phyChNumTx"), r.phyChNumTx},
        {QStringLiteral("canWork"), r.canWork},
        {QStringLiteral("tablesComplete"), d.tablesComplete()},
    };
}

QJsonObject flowJson(const FlowRecord &f)
{
    return QJsonObject{
        {QStringLiteral("name"), f.name},
        {QStringLiteral("srcIp"), Ipv4::toText(f.srcIp)},
        {QStringLiteral("dstIp"), Ipv4::toText(f.dstIp)},
        {QStringLiteral("dstPort"), int(f.dstPort)},
        {QStringLiteral("chNum"), int(f.chNum)},
        {QStringLiteral("sampleByteNum"), int(f.sampleByteNum)},
        {QStringLiteral("sampleRate"), qint64(f.sampleRate)},
        {QStringLiteral("pFrameNum"), qint64(f.pFrameNum)},
        {QStringLiteral("gmClkId"), QString::fromLatin1(f.gmClkId)},
        {QStringLiteral("rtpTsOffset"), qint64(f.rtpTsOffset)},
    };
}

QJsonObject routeJson(const RouteEntry &r)
{
    QJsonObject o{{QStringLiteral("rxDevId"), r.rxDevId}, {QStringLiteral("rxCh"), r.rxCh}};
    if (r.multicast) {
        o.insert(QStringLiteral("flowDstIp"), Ipv4::toText(r.flowDstIp));
        o.insert(QStringLiteral("flowCh"), r.flowCh);
    } else {
        o.insert(QStringLiteral("srcDevId"), r.srcDevId);
        o.insert(QStringLiteral("srcCh"), r.srcCh);
    }
    return o;
}

QStringList columns(const QVector<QStringList> &rows)
{
    QVector<int> widths;
    for (const QStringList &row : rows)
        for (int i = 0; i < row.size(); ++i) {
            if (widths.size() <= i)
                widths.append(0);
            widths[i] = qMax(widths[i], row.at(i).size());
        }
    QStringList out;
    for (const QStringList &row : rows) {
        QString line;
        for (int i = 0; i < row.size(); ++i)
            line += i + 1 < row.size() ? row.at(i).leftJustified(widths[i] + 2) : row.at(i);
        out.append(line);
    }
    return out;
}

QStringList deviceLines(const QVector<Device> &devices)
{
    QVector<QStringList> rows{{QStringLiteral("DEVID"), QStringLiteral("NAME"), QStringLiteral("MODEL"),
                               QStringLiteral("IP"), QStringLiteral("RATE"), QStringLiteral("NET RX/TX"),
                               QStringLiteral("PHY RX/TX"), QStringLiteral("CANWORK"), QStringLiteral("TABLES")}};
    for (const Device &d : devices) {
        const DevRecord &r = d.rec;
        rows.append({r.devId.str(), r.name.str(), r.model.str(), Ipv4::toText(r.ip), QString::number(r.sampleRate),
                     QStringLiteral("%1/%2").arg(r.chNumRx).arg(r.chNumTx),
                     QStringLiteral("%1/%2").arg(r.phyChNumRx).arg(r.phyChNumTx), QString::number(r.canWork),
                     d.tablesComplete() ? QStringLiteral("complete") : QStringLiteral("incomplete")});
    }
    return columns(rows);
}

QStringList flowLines(const QVector<FlowRecord> &flows)
{
    QVector<QStringList> rows{{QStringLiteral("NAME"), QStringLiteral("SOURCE"), QStringLiteral("GROUP:PORT"),
                               QStringLiteral("CH"), QStringLiteral("FORMAT"), QStringLiteral("FRAMES")}};
    for (const FlowRecord &f : flows)
        rows.append({f.name, Ipv4::toText(f.srcIp), Ipv4::toText(f.dstIp) + QLatin1Char(':') + QString::number(f.dstPort),
                     QString::number(f.chNum),
                     QStringLiteral("L%1/%2").arg(f.sampleByteNum * 8).arg(f.sampleRate),
                     QString::number(f.pFrameNum)});
    return columns(rows);
}

QStringList routeLines(const QVector<RouteEntry> &routes)
{
    QVector<QStringList> rows{{QStringLiteral("RECEIVER"), QStringLiteral("CH"), QStringLiteral("SOURCE")}};
    for (const RouteEntry &r : routes) {
        const QString source = r.multicast
                                   ? QStringLiteral("flow %1 (%2) ch %3").arg(r.sourceName, Ipv4::toText(r.flowDstIp)).arg(r.flowCh)
                                   : QStringLiteral("%1 ch %2").arg(r.srcDevId).arg(r.srcCh);
        rows.append({r.rxDevId, QString::number(r.rxCh), source});
    }
    return columns(rows);
}

} // namespace CliOutput
