#pragma once

#include "core/dsp/dspnode.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QVector>

/// The DSP configuration of one open device, as typed records: link groups, then the nodes in signal order
/// (inputs first, outputs last) with their channels and each channel's chain of blocks. Built from a "getConfig"
/// reply; block editors change the records in place and the document is written back in the device's own form.
///
/// A plain value, owned by the DSP window and used on its thread; copies are cheap until changed.
class CDeviceDspData
{
public:
    enum class Load {
        Loaded,
        NotJson,     ///< not a JSON object, a member name repeats, or a NUL byte
        OtherReply,  ///< "ops" is not "getConfig"
        Refused,     ///< "result" is not "succ"
        TooFewNodes, ///< a usable configuration has inputs, matrix and outputs
        BadDocument, ///< a member missing or of the wrong kind; why says where
    };
    struct LoadResult
    {
        Load status = Load::Loaded;
        QString why; ///< for the log, empty when loaded
        bool ok() const { return status == Load::Loaded; }
    };

    QString customStr;
    QVector<DspGroup> groupArr;
    QVector<DspNode> nodeArr;
    int sampleRate = 0;
    QString version;
    QJsonObject extra; ///< members of "config" this program does not know

    /// Takes the configuration from a "getConfig" reply. On anything but Loaded the document stays as it was and
    /// one log line says why.
    LoadResult loadReply(const QByteArray &text);
    LoadResult loadReply(const QJsonObject &reply);
    /// The same from the "config" object alone, as stored configurations carry it.
    LoadResult loadConfig(const QJsonObject &config);

    /// The "config" object as compact text: the structure and order it was read in, every scalar a string,
    /// members in name order. Loading the text again gives the same document.
    QByteArray toJson() const;

    bool isLoaded() const { return nodeArr.size() >= 3; }
    int inChNum() const { return nodeArr.isEmpty() ? 0 : nodeArr.first().portNum(); }
    int outChNum() const { return nodeArr.size() < 2 ? 0 : nodeArr.last().portNum(); }
    int outputNodeId() const { return nodeArr.size() - 1; }

    /// Null when the address is outside the document.
    DspNode *node(int nodeId);
    const DspNode *node(int nodeId) const;
    DspChannel *channel(int nodeId, int portIndex);
    const DspChannel *channel(int nodeId, int portIndex) const;
    DspBlock *block(const DspBlockAddress &at);
    const DspBlock *block(const DspBlockAddress &at) const;

    /// The editor tag of a block: "bf_in_ch_<channel>_<procIndex>" on the input node,
    /// "bf_out_ch_<channel>_<procIndex>" on the output node; empty when no block is there.
    QString blockFlag(const DspBlockAddress &at) const;

    /// Brings the document in step with a request the device has accepted ("setBorderProc",
    /// "setBorderProcBypass", "setBorderEq", "setBorderEqBypass", "setBorderProcGroupIdBatch", "setNodeData", "setGain", "setMute", "setInverse",
    /// "setGroupId"). False, with a catalogue text in *why and the document unchanged, when the request does
    /// not fit the document.
    bool apply(const QJsonObject &request, QString *why = nullptr);
    bool apply(const QString &request, QString *why = nullptr);

private:
    bool applyEqBand(DspBlock *block, const QJsonObject &request, QString *why);
    LoadResult take(const QJsonObject &config);
    static LoadResult logged(const LoadResult &r);
};
