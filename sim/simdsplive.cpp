#include "simdspdocument.h"

#include "simdspshared.h"

#include <QJsonArray>
#include <cmath>

// The virtual DSP's live figures: levels through the chains and the matrix, the dynamics blocks'
// state, and the processor load. The document itself is in simdspdocument.cpp.

using namespace SimDspShared;

double SimDspDocument::chainLevel(const Port &port, double level, int upTo) const
{
    for (int i = 0; i < upTo && i < port.procs.size(); ++i) {
        const QJsonObject &b = port.procs[i];
        if (on(b, "bypass"))
            continue;
        const QJsonObject o = b.value(QLatin1String("obj")).toObject();
        switch (b.value(QLatin1String("type")).toString().toInt()) {
        case Generator: level = powerSum(level, num(o, "gainDb")); break;
        case Gate:
            if (std::isnan(level) || level < num(o, "trigDb"))
                level = silence;
            break;
        case Compressor:
            if (level > num(o, "trigDb"))
                level -= (level - num(o, "trigDb")) * (1.0 - 1.0 / qMax(1.0, num(o, "ratio")));
            break;
        case Expander:
            if (level < num(o, "trigDb"))
                level -= qMin(80.0, (num(o, "trigDb") - level) * (qMax(1.0, num(o, "ratio")) - 1.0));
            break;
        case Limiter: level = qMin(level, num(o, "limitDb")); break;
        default: break;
        }
    }
    return level;
}

namespace {

double afterChannel(const QJsonObject &members, double level)
{
    if (std::isnan(level) || on(members, "mute"))
        return silence;
    return qMin(0.0, level + num(members, "gainDb"));
}

} // namespace

double SimDspDocument::matrixOut(int output) const
{
    const QJsonObject m = m_nodes[matrixNode()].obj;
    const QJsonArray gains = m.value(QLatin1String("gainArr")).toArray().at(output).toArray();
    const QJsonArray mutes = m.value(QLatin1String("muteArr")).toArray().at(output).toArray();
    double sum = silence;
    for (int i = 0; i < m_layout.inputs; ++i) {
        if (mutes.at(i).toString() != QLatin1String("0") || m_layout.deadInputs.contains(i))
            continue;
        const Port &in = m_nodes.first().ports[i];
        double level = afterChannel(in.members, chainLevel(in, m_input(i), in.procs.size()));
        // An input without a channel on the AEC or automixer node passes it untouched.
        for (int n = 1; n < matrixNode(); ++n)
            if (i < m_nodes[n].ports.size())
                level = afterChannel(m_nodes[n].ports[i].members, level);
        sum = powerSum(sum, level + gains.at(i).toString().toDouble());
    }
    return sum;
}

QVector<double> SimDspDocument::levels(bool outputs) const
{
    QVector<double> v;
    const Node &node = outputs ? m_nodes.last() : m_nodes.first();
    for (int c = 0; c < node.ports.size(); ++c) {
        const Port &p = node.ports[c];
        if (!outputs && m_layout.deadInputs.contains(c)) {
            v << silence;
            continue;
        }
        v << afterChannel(p.members, chainLevel(p, outputs ? matrixOut(c) : m_input(c), p.procs.size()));
    }
    return v;
}

QString SimDspDocument::blockStatus(const QJsonObject &req, QJsonObject &reply) const
{
    Address a;
    if (!locate(req, true, true, &a))
        return badParam;
    const Port &p = m_nodes[a.node].ports[a.port];
    const QJsonObject &b = p.procs[a.proc];
    const QJsonObject o = b.value(QLatin1String("obj")).toObject();
    const double level = chainLevel(p, a.node == 0 ? m_input(a.port) : matrixOut(a.port), a.proc);
    const bool active = !on(b, "bypass");
    const int type = b.value(QLatin1String("type")).toString().toInt();
    double reductionDb = 0;
    switch (type) {
    case Gate: {
        const bool open = !active || (!std::isnan(level) && level >= num(o, "trigDb"));
        reply.insert(QStringLiteral("obj"), QJsonObject{{QStringLiteral("isOpen"), flagText(open)}});
        return QString();
    }
    case Compressor:
        if (level > num(o, "trigDb"))
            reductionDb = (level - num(o, "trigDb")) * (1.0 - 1.0 / qMax(1.0, num(o, "ratio")));
        break;
    case Limiter:
        if (level > num(o, "limitDb"))
            reductionDb = level - num(o, "limitDb");
        break;
    case Expander:
        // Silence sits at the bottom of the expander's range.
        reductionDb = std::isnan(level)
                          ? 80.0
                          : qBound(0.0, (num(o, "trigDb") - level) * (qMax(1.0, num(o, "ratio")) - 1.0), 80.0);
        break;
    default: return badParam; // a block without live state
    }
    if (!active)
        reductionDb = 0;
    reply.insert(QStringLiteral("obj"),
                 QJsonObject{{QStringLiteral("gain"), real(std::pow(10.0, -reductionDb / 20.0))}});
    return QString();
}

int SimDspDocument::load(int sampleRate, qint64 nowMs) const
{
    // Invented costs per block kind, in percent of the processor at 48 kHz.
    static const double cost[blockTypes] = {1.0, 0.2, 0.8, 1.5, 0.3, 1.5, 0.5, 0.3, 0.7, 0.3, 2.5, 0.5};
    double work = m_layout.inputs * m_layout.outputs * 0.02;
    for (const Node &node : m_nodes) {
        for (const Port &p : node.ports) {
            for (const QJsonObject &b : p.procs) {
                const int type = b.value(QLatin1String("type")).toString().toInt();
                if (on(b, "bypass") || type < 0 || type >= blockTypes)
                    continue;
                const QJsonObject o = b.value(QLatin1String("obj")).toObject();
                work += cost[type];
                if (type == Delay)
                    work += 0.5 * num(o, "delayNum") / qMax(1.0, num(o, "maxNum"));
                else if (type == Fir)
                    work += cost[Fir] * (num(o, "taps") / 127.0 - 1.0);
            }
            if (node.type == 2)
                work += (on(p.members, "hasAec") ? 1.0 : 0.0) + (on(p.members, "hasAns") ? 0.3 : 0.0) +
                        (on(p.members, "hasAgc") ? 0.2 : 0.0);
        }
        if (node.type == 3)
            for (const QJsonValue &m : node.obj.value(QLatin1String("maskArr")).toArray())
                work += m.toString() == QLatin1String("1") ? 0.3 : 0.0;
    }
    const double rate = qMax(1.0, sampleRate / 48000.0);
    const double wobble = std::sin(nowMs / 7000.0);
    return qBound(10, int(std::lround(8.0 + work * rate + wobble)), 95);
}
