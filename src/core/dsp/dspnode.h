#pragma once

#include "core/dsp/dspblock.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QVector>

/// A link group: channels whose groupId is the group's index move together.
struct DspGroup
{
    double gainDb = 0.0;
    bool mute = false;
    QString name;
    QJsonObject extra;
};

/// One port of a channel node (type 0), of the echo-cancellation node (type 2) or of the automixer (type 3).
/// The node's type decides which members are on the wire: procArr only for type 0, the AEC members only for
/// type 2.
struct DspChannel
{
    QJsonArray commArr; ///< the device's own, carried unchanged
    double gainDb = 0.0;
    int groupId = -1;
    bool inverse = false;
    bool mute = false;
    QVector<DspBlock> procArr;

    int aecLevel = 2;
    int ansLevel = 2;
    QVector<int> farArr;
    bool hasAec = true;
    bool hasAgc = false;
    bool hasAns = true;
    QVector<int> nearArr;

    QJsonObject extra;
};

/// The obj of the matrix node (type 1): one row per output, one column per input.
struct DspMatrix
{
    QVector<QVector<double>> gainArr;
    QVector<QVector<bool>> muteArr;
};

/// The obj of the automixer node (type 3).
struct DspAutomixer
{
    double attackMs = 10.0;
    int chNumLimit = 0;
    double decayDb = -6.0;
    double duckAttackMs = 50.0;
    double duckDb = -15.0;
    double duckReleaseMs = 500.0;
    double holdMs = 500.0;
    bool leaveLastOn = true;
    QVector<bool> maskArr;
    int mode = 0;
    bool nomAttenuate = true;
    double releaseMs = 300.0;
    double slope = 2.0;
    double trigDb = -40.0;
};

struct DspNode
{
    enum Type { Channels = 0, Matrix = 1, EchoCancel = 2, Automixer = 3 };

    int type = Channels;
    /// Ports of the node types with channels (0, 2, 3); portNum is their count.
    QVector<DspChannel> portArr;
    /// Ports of the matrix and of unknown node types, carried unchanged.
    QJsonArray rawPorts;
    DspMatrix matrix;       ///< type 1
    DspAutomixer automixer; ///< type 3
    /// Members of obj this program does not know (all of obj for an unknown type).
    QJsonObject objExtra;
    QJsonObject extra;

    bool hasChannels() const { return type == Channels || type == EchoCancel || type == Automixer; }
    int portNum() const { return hasChannels() ? portArr.size() : rawPorts.size(); }
};

/// Where a block, or with procIndex ignored a channel, sits in the document; indices count from 0.
struct DspBlockAddress
{
    int nodeId = 0;
    int portIndex = 0;
    int procIndex = 0;
};
