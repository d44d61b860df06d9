#pragma once

#include <QJsonObject>
#include <QMap>
#include <QString>

/// Misbehaviour a virtual device can be told to show, so the program's
/// handling of unreliable devices can be exercised. Scenario-wide values
/// apply to every device; a device's own "faults" object overrides them
/// member by member.
struct SimFaults
{
    int lossPercent = 0;           ///< replies dropped at random
    int delayMs = 0;               ///< every reply held back this long
    int malformedPercent = 0;      ///< replies cut short, and garbage now and then on the announcement group
    int oversizePercent = 0;       ///< replies padded to 1500 bytes or more
    QMap<QString, QString> refuse; ///< ops -> reason given instead of doing it
    QString hot;                   ///< "" normal, "warn" 80.5-85.0 °C, "error" 86 °C and above
    bool silent = false;           ///< answers nothing but keeps announcing
    int goneAfterS = -1;           ///< stops announcing and answering this many seconds after start
    int backAfterS = -1;           ///< ... and comes back, as if powered on again, this many seconds later (-1: never)
    // The DSP link (TCP); "delayMs" and "silent" hold there too.
    int dspSplit = 0;             ///< replies written in this many pieces (2 or more), the first inside the length
    int dspDelayMs = 0;           ///< replies on the link held back this much more
    bool dspDropOnAccept = false; ///< connections closed as soon as they are accepted
    int dspDropPercent = 0;       ///< requests answered by closing the connection

    /// Reads the members present in \a obj over \a base; unknown members are
    /// reported through \a error.
    static SimFaults fromJson(const QJsonObject &obj, const SimFaults &base, QString *error);
    /// Only the members that differ from \a base, so a device's faults stay short.
    QJsonObject toJson(const SimFaults &base) const;
    QJsonObject toJson() const;
    bool operator==(const SimFaults &o) const;
};
