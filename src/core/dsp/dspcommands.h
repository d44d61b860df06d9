#pragma once

#include "core/app/texts.h"
#include "core/dsp/dspnode.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QVector>

#include <optional>

class CDeviceDspData;

/// The requests of the DSP window and their replies. Every request is compact JSON with "ops" and
/// "uiTag":"dspUiTag", members in name order, every number a decimal string (docs/protocol.md, "The DSP link").
/// They go over the DSP link, or by datagram to the device's DSP port.
namespace DspCommands {

/// "bf_in_ch_<channel>_<procIndex>" or "bf_out_ch_<channel>_<procIndex>", counted from 0.
QString blockFlag(bool outputSide, int channel, int procIndex);

QString getConfig();
/// Every channel's chain of the document: "inArr" from the input node, "outArr" from the output node.
QString setConfig(const CDeviceDspData &doc, int index = 0);
QString setConfig(const QVector<QVector<DspBlock>> &inChains, const QVector<QVector<DspBlock>> &outChains,
                  int index = 0);
/// The same, also asking the device to give its echo-cancellation and automixer nodes these many channels
/// ("aecChNum", "autoMixerChNum"; 0 removes the node); a count below 0 is left out.
QString setConfig(const CDeviceDspData &doc, int aecChNum, int autoMixerChNum, int index = 0);
/// One cell of the matrix mixer: output row, input column.
QString setMatrixCell(int nodeId, int output, int input, double gainDb, bool mute);
/// The datagram queries of the DSP window.
QString getCpuUsage();
QString getVolumeDbBatch(bool outputs);
QString getDspStatus();
QString getDspTemperature();
/// The whole obj of the block.
QString setBorderProc(const QString &blockFlag, const DspBlockAddress &at, const DspBlock &block);
QString setBorderProcBypass(const QString &blockFlag, const DspBlockAddress &at, bool bypass);
/// One band of the equaliser block at \a at: its values ("obj": dbGain, freq0, qBwS, type), or its bypass flag.
QString setBorderEq(const QString &blockFlag, const DspBlockAddress &at, int eqIndex, const DspEqBand &band);
QString setBorderEqBypass(const QString &blockFlag, const DspBlockAddress &at, int eqIndex, bool bypass);
/// Links (groupId >= 0) or unlinks (-1) the block at procIndex of every listed channel.
QString setBorderProcGroupIdBatch(int nodeId, int procIndex, const QVector<int> &portArr, int groupId);
/// The node's obj (matrix or automixer).
QString setNodeData(int nodeId, const DspNode &node);
/// The echo-cancellation members of one channel of that node ("setAecChannel"): both channel lists, the
/// switches and the levels, all of them, so a newer request replacing a waiting one loses nothing.
QString setAecChannel(int nodeId, int portIndex, const DspChannel &channel);
QString setGain(int nodeId, int portIndex, double gainDb);
QString setMute(int nodeId, int portIndex, bool mute);
QString setInverse(int nodeId, int portIndex, bool inverse);
QString setGroupId(int nodeId, int portIndex, int groupId);
QString getBorderProcStatus(const QString &blockFlag, const DspBlockAddress &at);

/// The same request carrying "devId", for the datagram path, which finds the device by it.
QString addressedTo(const QString &request, const QString &devId);

/// A reply, read once.
struct Reply
{
    bool valid = false; ///< a JSON object with "ops"
    QString ops;
    QString blockFlag;
    bool succeeded = false; ///< "result" is "succ"
    QString reason;
    /// "val" of the reply, read as a number (flags 1/0).
    std::optional<double> val;
    /// "getBorderProcStatus": linear gain of a compressor, expander or limiter; open state of a noise gate.
    std::optional<double> gain;
    std::optional<bool> isOpen;
    /// What a failure of this operation shows; none on success or for operations without a message.
    std::optional<Tx> failureText;
};
Reply readReply(const QString &text);
Reply readReply(const QJsonObject &reply);
/// The message shown for a failed reply of an operation, if it has one.
std::optional<Tx> failureTextOf(const QString &ops);
/// What a link-group change shows: linked, unlinked, or failed.
Tx groupLinkText(bool succeeded, bool linking);

/// A change of one block asked for by a user, checked against the document before anything is sent.
struct Edit
{
    QString error;   ///< catalogue text; empty when the change can be sent
    DspBlock block;  ///< the block as it is once the device has taken the change
    QString command; ///< the request to send
    bool ok() const { return error.isEmpty(); }
};
/// params: a JSON object of the block's obj members; members left out keep their values. The request carries
/// the whole obj.
Edit planSetBlock(const CDeviceDspData &doc, const DspBlockAddress &at, const QString &params);
/// value: "0" (active) or "1" (bypassed).
Edit planBypass(const CDeviceDspData &doc, const DspBlockAddress &at, const QString &value);

} // namespace DspCommands
