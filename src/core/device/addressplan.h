#pragma once

#include "core/app/commandplan.h"

#include <optional>

/// The address page: automatic or fixed address, checked octet by octet.
class AddressPlan
{
public:
    struct Input
    {
        bool automatic = false;
        QString ip[4];
        QString mask[4];
        QString gateway[4];
        QString dns[4];
    };
    /// What the device last reported ("getIp").
    struct Current
    {
        bool fixed = false;
        QString ipWithPrefix;  // "192.168.1.20/24"
        QString gateway;
        QString dns;
    };

    static CommandPlan plan(const QString &devId, const Input &input, const std::optional<Current> &current);

    /// The accepted subnet masks, exactly as the devices have always been checked.
    static bool isAcceptedMask(const QString &mask);
    /// The gateway lies in the subnet of the address under the mask (all
    /// dotted, already checked), or is 0.0.0.0. A gateway elsewhere cannot be
    /// reached by the device, so the plan asks before sending it.
    static bool gatewayInSubnet(const QString &ip, const QString &mask, const QString &gateway);
    /// 24 for "255.255.255.0", 16 for every other accepted mask: the devices
    /// take only these two prefix lengths from this page.
    static int prefixLength(const QString &mask);
};
