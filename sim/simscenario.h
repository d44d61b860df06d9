#pragma once

#include "simdeviceprofile.h"

#include <QByteArray>
#include <QVector>

/// The devices of a simulated network and the faults they all share. Read
/// from a scenario file, built in (the demo's network), or generated for
/// load tests.
class SimScenario
{
public:
    QVector<SimDeviceProfile> devices;
    SimFaults faults;

    /// About eight devices of different kinds; docs/simulator.md lists them.
    static SimScenario defaultScenario();
    /// \a count devices of a few common kinds, for load tests.
    static SimScenario generated(int count);
    static bool fromJson(const QByteArray &json, SimScenario *out, QString *error);
    static bool fromFile(const QString &path, SimScenario *out, QString *error);
    QByteArray toJson() const;
    /// Empty when every device is usable and devIds, clock identities and
    /// addresses are unique; else the first problem found.
    QString check() const;
    /// The device of that devId or name, or -1.
    int indexOf(const QString &devIdOrName) const;
};
