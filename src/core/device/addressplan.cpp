#include "core/device/addressplan.h"

#include "core/app/texts.h"

#include <QRegularExpression>

namespace {

// An octet that is not a decimal number counts as out of range.
bool above255(const QString &octet)
{
    bool ok = false;
    const int v = octet.toInt(&ok, 10);
    return !ok || v > 255 || v < 0;
}

quint32 address(const QString &dotted)
{
    quint32 v = 0;
    for (const QString &octet : dotted.split(QLatin1Char('.')))
        v = (v << 8) | (octet.toUInt() & 0xFFu);
    return v;
}

QString joined(const QString (&octets)[4])
{
    return QStringLiteral("%1.%2.%3.%4").arg(octets[0], octets[1], octets[2], octets[3]);
}

} // namespace

bool AddressPlan::isAcceptedMask(const QString &mask)
{
    static const QRegularExpression re(QStringLiteral(
        "^((128|192|224|240|248|252|254)\\.0\\.0\\.0)|(255\\.(0|128|192|224|240|248|252|254)\\.0\\.0)|"
        "(255\\.255\\.(0|128|192|224|240|248|252|254)\\.0)|(255\\.255\\.255\\.(0|128|192|224|240|248|252|254))$"));
    return re.match(mask).hasMatch();
}

bool AddressPlan::gatewayInSubnet(const QString &ip, const QString &mask, const QString &gateway)
{
    // The typed mask decides, not the prefix sent: that is the subnet the
    // operator means. 0.0.0.0 is "no gateway".
    const quint32 m = address(mask);
    const quint32 g = address(gateway);
    return g == 0 || (address(ip) & m) == (g & m);
}

int AddressPlan::prefixLength(const QString &mask)
{
    return mask == QLatin1String("255.255.255.0") ? 24 : 16;
}

CommandPlan AddressPlan::plan(const QString &devId, const Input &in, const std::optional<Current> &current)
{
    QJsonObject cmd{{QStringLiteral("ops"), QStringLiteral("setIp")}, {QStringLiteral("devId"), devId}};
    if (in.automatic) {
        cmd.insert(QStringLiteral("isFixedIp"), QStringLiteral("0"));
        return CommandPlan{{}, cmd, 0};
    }
    for (int n = 0; n < 4; ++n) {
        if (in.ip[n].isEmpty())
            return CommandPlan::notice(tx(Tx::IpEmpty));
        if (in.mask[n].isEmpty())
            return CommandPlan::notice(tx(Tx::MaskEmpty));
        if (in.dns[n].isEmpty())
            return CommandPlan::notice(tx(Tx::DnsEmpty));
        if (in.gateway[n].isEmpty())
            return CommandPlan::notice(tx(Tx::GatewayEmpty));
        if (above255(in.ip[n]))
            return CommandPlan::notice(tx(Tx::IpOctetRange));
        if (above255(in.dns[n]))
            return CommandPlan::notice(tx(Tx::DnsWrong));
        if (above255(in.gateway[n]))
            return CommandPlan::notice(tx(Tx::GatewayWrong));
    }
    const QString mask = joined(in.mask);
    if (!isAcceptedMask(mask))
        return CommandPlan::notice(tx(Tx::MaskWrong));
    const QString ip = joined(in.ip) + QLatin1Char('/') + QString::number(prefixLength(mask));
    const QString gateway = joined(in.gateway);
    const QString dns = joined(in.dns);
    cmd.insert(QStringLiteral("isFixedIp"), QStringLiteral("1"));
    cmd.insert(QStringLiteral("ip"), ip);
    cmd.insert(QStringLiteral("gateway"), gateway);
    cmd.insert(QStringLiteral("dns"), dns);
    if (current && current->fixed && current->ipWithPrefix == ip && current->gateway == gateway && current->dns == dns)
        return CommandPlan::notice(tx(Tx::IpUnchanged));
    CommandPlan plan{{}, cmd, 0};
    if (!gatewayInSubnet(joined(in.ip), joined(in.mask), gateway))
        plan.steps.append({PlanStep::Confirm, tx(Tx::GatewayOutsideSubnet).arg(gateway, joined(in.ip), joined(in.mask))});
    return plan;
}
