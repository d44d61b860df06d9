#pragma once

#include <QStringList>

/// The host's IPv4 addresses that device traffic may use.
class NetScan
{
public:
    struct Entry
    {
        QString interfaceName;  // the system's name, e.g. "eth0", "VMware Network Adapter VMnet8"
        QString address;        // dotted
    };

    /// Usable candidates in enumeration order: virtual adapters (names holding
    /// "vmware" or "vethernet", in any case) and 127.0.0.1 are left out.
    static QStringList candidates();
    /// The rule alone, for a list the caller already has.
    static QStringList candidatesFrom(const QVector<Entry> &entries);
    /// Every IPv4 address of this host, loopback included.
    static QVector<Entry> allIpv4();
    /// Whether an IPv4 address belongs to one of this host's interfaces.
    static bool isLocalAddress(const QString &address);
};
