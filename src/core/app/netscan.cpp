#include "core/app/netscan.h"

#include <QNetworkInterface>

QVector<NetScan::Entry> NetScan::allIpv4()
{
    QVector<Entry> out;
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &iface : interfaces) {
        for (const QNetworkAddressEntry &e : iface.addressEntries()) {
            if (e.ip().protocol() == QAbstractSocket::IPv4Protocol)
                out.append({iface.humanReadableName(), e.ip().toString()});
        }
    }
    return out;
}

QStringList NetScan::candidatesFrom(const QVector<Entry> &entries)
{
    QStringList out;
    for (const Entry &e : entries) {
        const QString name = e.interfaceName.toLower();
        if (name.contains(QLatin1String("vmware")) || name.contains(QLatin1String("vethernet")))
            continue;
        if (e.address == QLatin1String("127.0.0.1"))
            continue;
        out.append(e.address);
    }
    return out;
}

QStringList NetScan::candidates()
{
    return candidatesFrom(allIpv4());
}

bool NetScan::isLocalAddress(const QString &address)
{
    for (const Entry &e : allIpv4())
        if (e.address == address)
            return true;
    return false;
}
