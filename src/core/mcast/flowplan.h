#pragma once

#include "core/app/commandplan.h"
#include "core/devices/devicerecord.h"

#include <functional>

/// The stream page's create and delete actions on a transmitting device.
class FlowPlan
{
public:
    enum AddressMode { NoAddress, Automatic, Manual };

    struct CreateInput
    {
        QString name;
        /// The ticked channel items, each "name:index" (index from 0).
        QStringList tickedChannels;
        QString offsetMs;  // RTP offset in milliseconds, as typed
        AddressMode mode = Automatic;
        QString octets[4]; // automatic: the first two are used
        QString port;
    };

    /// randomOctetSource returns a fresh random number on each call (the
    /// page seeds it with the current time).
    static CommandPlan create(const Device &dev, const CreateInput &in, const QVector<FlowRecord> &knownFlows,
                              const std::function<int()> &randomSource);
    /// selectedDstIp: the dotted address of the selected flow row, empty when none.
    static CommandPlan remove(const Device &dev, const QString &selectedDstIp);
};
