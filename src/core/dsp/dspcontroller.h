#pragma once

#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspbudget.h"
#include "core/dsp/dspkinds.h"
#include "core/dsp/dspundostack.h"

#include <QElapsedTimer>
#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QVector>

#include <functional>
#include <optional>

class DspSink;
class QTimer;

/// The one owner of an open device's DSP configuration. Every view of the DSP window (the diagram, the block
/// editors, the matrix page) and corvane-cli read the document here and ask here for changes; only this class
/// sends the window's requests and reads their replies, so no view parses a reply and all views stay in step.
///
/// Parameter changes of blocks, channels and nodes go to the device at once and enter the document when the
/// device answers "succ". Adding, removing and pasting blocks changes the document at once and reaches the
/// device when it is saved ("setConfig"); until then a channel whose chain differs from the device's keeps its
/// parameter changes in memory too, as their addresses would name other blocks on the device.
///
/// Requests over the link go one at a time, each after the previous answer: the device answers in order and
/// the link cannot split two answers that arrive together. A change of a target that has not been written yet
/// replaces the waiting one, so a control dragged fast never piles requests up behind the link's pause after
/// each send and the device ends on exactly the value shown.
///
/// Thread affinity: the thread that creates it (the window's); the sink is called there.
class DspController : public QObject
{
    Q_OBJECT
public:
    /// No answer in this time ends a request as failed and lets the next one go.
    static constexpr int kReplyTimeoutMs = 3000;
    /// A whole document takes longer to be written by a large device.
    static constexpr int kConfigTimeoutMs = 8000;

    explicit DspController(DspSink *sink, QObject *parent = nullptr);
    ~DspController() override;

    /// The device this window edits: its id (replies by datagram are matched on it) and model (family factor).
    void setDevice(const QString &devId, const QString &model);
    QString devId() const { return m_devId; }

    // ---------------------------------------------------------------- the link

    /// Asks for the whole configuration; signal_documentLoaded or signal_configRefused follows.
    void requestConfig();
    /// One message from the DSP link.
    void handleTcpReply(const QString &text);
    /// A datagram reply tagged for the DSP window; replies of other devices are ignored.
    void handleUdpReply(const QString &text);
    /// The device closed the link: the request waiting for an answer and the queue are dropped, the document
    /// and its unsaved changes stay.
    void linkLost();
    bool isLinkLost() const { return m_linkLost; }
    /// Milliseconds since the device last answered anything (the link or a datagram); -1 before the first.
    qint64 msSinceLastMessage() const;
    /// Nothing waiting for an answer and nothing queued.
    bool isIdle() const;

    // ---------------------------------------------------------------- reading

    const CDeviceDspData &document() const { return m_doc; }
    bool isLoaded() const { return m_doc.isLoaded(); }
    int channelCount(DspSide side) const;
    int nodeIdOf(DspSide side) const;
    /// Node ids of the matrix, the echo-cancellation node and the automixer; -1 when absent.
    int matrixNodeId() const;
    int aecNodeId() const;
    int automixerNodeId() const;
    const QVector<DspBlock> &chain(DspSide side, int channel) const;
    const DspChannel *channel(DspSide side, int channel) const;
    /// A node as the views show it: with the changes asked for and not yet answered (the document holds only
    /// what the device accepted). Null when there is no such node.
    const DspNode *shownNode(int nodeId) const;
    /// A block as the editors show it: with the change asked for and not yet answered. A default block when
    /// there is no such block.
    DspBlock shownBlock(quint64 id) const { return current(id); }

    /// Blocks by their identity, which lives only in memory: it survives blocks being added, removed and
    /// pasted around it. 0 is no block.
    quint64 blockId(DspSide side, int channel, int procIndex) const;
    const DspBlock *block(quint64 id) const;
    struct Place
    {
        DspSide side = DspSide::In;
        int channel = -1;
        int procIndex = -1;
    };
    std::optional<Place> place(quint64 id) const;
    /// The block's tag "bf_in_ch_<channel>_<procIndex>"; empty when it is gone.
    QString blockFlag(quint64 id) const;

    /// The device has this channel's chain as shown (nothing added, removed or pasted since the last save).
    bool isChainSynced(DspSide side, int channel) const;
    bool hasUnsavedChanges() const;

    // ---------------------------------------------------------------- budget

    const DspBudget::Record &budget() const { return m_budget; }
    int usage() const;       ///< not limited
    int shownUsage() const;  ///< min(usage, 99)
    bool forceAdd() const { return m_forceAdd; }
    void setForceAdd(bool on) { m_forceAdd = on; }

    // ---------------------------------------------------------------- changes
    // Each returns the refusal as a catalogue text (also sent as signal_notice), empty when accepted.

    QString addBlock(DspSide side, int channel, DspKind kind);
    QString removeBlock(quint64 id);
    /// The block's parameters (its obj) as an editor changed them; bypass and link group are not taken from
    /// it. Linked blocks follow.
    QString setBlockParams(quint64 id, const DspBlock &changed);
    /// The same from a JSON object of obj members, as the command line gives them.
    QString setBlockMembers(quint64 id, const QJsonObject &members);
    /// Taking a block out of bypass is refused ("Cpu is up limit, please reduce functions") while the device
    /// reports a processor load above kUnbypassLoadLimit.
    QString setBypass(quint64 id, bool bypass);
    static constexpr int kUnbypassLoadLimit = 90;
    /// The processor load the device last reported ("getCpuUsage"); -1 before the first report.
    int deviceLoad() const { return m_deviceLoad; }
    /// One band of an equaliser block as its editor changed it: type, freq0, dbGain and qBwS are taken, the
    /// band's bypass and members this program does not know are kept. Linked equalisers follow. Only that band
    /// goes to the device ("setBorderEq"), so a band dragged never rewrites the others; it enters the document
    /// on "succ", "Set Failed!" on failure. A drag inside a gesture is one undo step per block and band.
    QString setEqBand(quint64 id, int band, const DspEqBand &values);
    /// Bypasses one band of an equaliser block (or makes it active), linked equalisers with it
    /// ("setBorderEqBypass"); otherwise as setEqBand.
    QString setEqBandBypass(quint64 id, int band, bool bypass);

    void copyBlock(quint64 id);
    bool hasCopiedBlock() const { return m_copiedBlock.has_value(); }
    QString pasteBlock(quint64 targetId);
    void copyChannel(DspSide side, int channel);
    bool hasCopiedChannel() const { return m_copiedChannel.has_value(); }
    QString pasteChannel(DspSide side, int channel);
    /// A chain from elsewhere (a channel program; fromChannel -1) onto a channel, through the same rules as a
    /// paste and as one undo step.
    QString pasteChain(DspSide fromSide, int fromChannel, const QVector<DspBlock> &chain, DspSide side, int channel);
    /// Empties a channel's chain.
    QString clearChannel(DspSide side, int channel);

    QString setChannelGain(DspSide side, int channel, double gainDb);
    QString setChannelMute(DspSide side, int channel, bool mute);
    QString setChannelInverse(DspSide side, int channel, bool inverse);
    /// Puts the channel into link group (an index of "groupArr"), or takes it out with -1. The blocks at the
    /// positions where the group's channels hold blocks of one kind are linked with "setBorderProcGroupIdBatch"
    /// and from then on change together; gain and mute of the group's channels move together too.
    QString setChannelGroup(DspSide side, int channel, int group);

    /// One cell of the matrix mixer: output row, input column.
    QString setMatrixCell(int output, int input, double gainDb, bool mute);
    /// A node's own object as a whole (matrix, automixer).
    QString setNodeObj(int nodeId, const DspNode &changed);

    /// One channel of the echo-cancellation node as its editor changed it: near and far end (input channel
    /// indices), the switches and levels of echo cancelling, noise suppression and automatic gain; its gain,
    /// mute and the rest are not taken from it. One "setAecChannel" with all of them; refused when a level is
    /// out of its range or a list names an input that is not there.
    QString setAecChannel(int port, const DspChannel &changed);
    /// Gain and mute of one channel of the echo-cancellation or automixer node (the device's "setGain" and
    /// "setMute" addressed to that node); the channels of inputs and outputs go through setChannelGain.
    QString setNodeChannelGain(int nodeId, int port, double gainDb);
    QString setNodeChannelMute(int nodeId, int port, bool mute);

    /// Gives the configuration an echo-cancellation node, or an automixer node, of this many channels (at most
    /// the inputs; 0 removes it). Like adding blocks, it reaches the device when saved.
    QString setAecChannels(int count);
    QString setAutomixerChannels(int count);

    /// Stores the edited configuration on the device ("setConfig"); signal_saved follows.
    void save();
    /// Drops every change not saved and takes the device's configuration again.
    void revokeAll();

    /// A request outside the document (microphone settings, later the programs): queued like the others;
    /// done gets the reply, or an empty object when none came. Requests with the same key that have not
    /// been written yet are replaced by the newest, and the replaced one's done is never called.
    void request(const QString &request, const QString &key, std::function<void(const QJsonObject &)> done);

    // ---------------------------------------------------------------- undo

    /// Changes between these two calls (a control dragged) become one step per target.
    void beginGesture();
    void endGesture();
    bool canUndo() const { return m_undo.canUndo(); }
    bool canRedo() const { return m_undo.canRedo(); }
    QString undoText() const;
    QString redoText() const;
    void undo();
    void redo();

    // ---------------------------------------------------------------- live figures (datagrams)

    void queryCpuUsage();
    void queryLevels();
    /// The two status queries of the window's watchdog, to the status port.
    void queryStatus();
    void queryBlockStatus(quint64 id);

signals:
    /// A whole document taken (first load, revoke): every view rebuilds.
    void signal_documentLoaded();
    /// A "getConfig" reply this program cannot use; the previous document stays.
    void signal_configRefused(const QString &why);
    void signal_blockChanged(quint64 id);
    /// Blocks of the channel were added, removed or replaced.
    void signal_chainChanged(DspSide side, int channel);
    /// Gain, mute, inversion or link group of the channel.
    void signal_channelChanged(DspSide side, int channel);
    void signal_nodeChanged(int nodeId);
    void signal_budgetChanged(int shownUsage);
    void signal_unsavedChanged(bool unsaved);
    /// A result for the snack bar: failures, refusals, link results.
    void signal_notice(const QString &text, bool isSucc);
    void signal_saved(bool ok);
    void signal_undoChanged();
    void signal_idle();
    void signal_linkLost();

    void signal_cpuUsage(int percent);
    /// One level per channel in dBFS; silence ("-inf") is -inf.
    void signal_levels(DspSide side, const QVector<double> &dbfs);
    void signal_dspStatus(const QString &ops, const QString &val);
    /// "getBorderProcStatus": linear gain of a dynamics block, open state of a gate.
    void signal_blockStatus(quint64 id, double gain, int isOpen);

private:
    struct Pending;
    struct Target;

    struct Answer;
    void enqueue(Pending p);
    void sendNext();
    void finishInFlight(const Answer &answer);
    void onTimeout();
    void touch();

    void takeDocument(const CDeviceDspData &doc);
    void assignIds();
    void rememberDeviceChains();
    void documentChanged(bool structure);

    QString refuse(const QString &text);
    /// Makes a block change: sends it when the device has the chain, else takes it into the document. With
    /// eqBand >= 0 the change is of that equaliser band alone and goes as the band's own requests.
    void changeBlocks(const QVector<DspBlock> &after, const QString &text, bool fromUndo, int eqBand = -1,
                      bool eqBypass = false);
    void sendBlock(const DspBlock &before, const DspBlock &after, int eqBand);
    /// Sends one band's values and bypass; false when more than that band differs.
    bool sendEqBand(const DspBlock &before, const DspBlock &after, int eqBand);
    /// The refusal for an equaliser band that is not there; empty when it is.
    QString checkEqBand(quint64 id, int band);
    /// The same change to the block and every block linked with it; set says whether a block takes it.
    void changeLinked(quint64 id, const QString &text, int eqBand, bool eqBypass,
                      const std::function<bool(DspBlock &)> &set);
    QString eqBandLabel(quint64 id, int band) const;
    void changeChain(DspSide side, const QVector<int> &channels, const QVector<QVector<DspBlock>> &chains,
                     const QString &text, bool fromUndo);
    QString changeChannel(DspSide side, int channel, bool wholeGroup, Tx member,
                          const std::function<void(DspChannel &)> &set);
    void changeChannels(DspSide side, const QVector<int> &channels, const QVector<DspChannel> &after,
                        const QString &text, bool fromUndo);
    void changeNode(int nodeId, const DspNode &after, const QString &text, bool fromUndo);
    void changeNodes(const QVector<DspNode> &middle, const QString &text, bool fromUndo);
    QString changeNodePort(int nodeId, int port, const std::function<void(DspChannel &)> &set);
    void sendNodePort(int nodeId, int deviceNode, int port, const DspChannel &before, const DspChannel &after);
    void sendChannel(DspSide side, int channel, const DspChannel &before, const DspChannel &after);
    void linkBlocks(DspSide side, int channel, int group);
    void settle(const QString &target, const Answer &answer, const QString &undoKey, Tx failure);
    int deviceNodeIdOf(int nodeId) const;
    QString blockLabel(quint64 id) const;
    QString channelLabel(DspSide side, int channel) const;
    void placeChannel(DspSide side, int channel);
    void replay(const DspUndoStep &step, bool forward);
    QVector<int> groupOf(DspSide side, int channel) const;
    QVector<quint64> linkedBlocks(quint64 id) const;
    DspBlock *mutableBlock(quint64 id);
    QString nodeTitle(int nodeId) const;
    QString setNodeChannels(int type, int count);
    int deviceNodeId(DspSide side) const;
    int deviceMatrixNodeId() const;
    std::optional<Place> devicePlace(quint64 id) const;
    DspBlock current(quint64 id) const;
    DspChannel currentChannel(DspSide side, int channel) const;
    DspNode currentNode(int nodeId) const;
    /// After a save that changed a node's channel count: the node's values as shown, sent again.
    void resendReshapedNodes(bool aec, bool mixer);
    void recomputeBudget();
    void recountUnsaved();
    void changed(const QString &key, bool succeeded);

    DspSink *m_sink;
    QString m_devId;
    QString m_model;
    CDeviceDspData m_doc;
    DspBudget::Record m_budget;
    bool m_forceAdd = false;
    int m_deviceLoad = -1;
    quint64 m_nextId = 1;
    QHash<quint64, Place> m_places;
    /// The ids of every chain as the device has it (load and last save).
    QVector<QVector<quint64>> m_deviceChains[2];
    /// Node types as the device has them, for the addresses of requests sent before a save.
    struct NodeShape
    {
        int type;
        int ports;
    };
    QVector<NodeShape> m_deviceNodes;
    QHash<quint64, Place> m_devicePlaces;
    /// Changes taken into the document without the device (the link is lost).
    bool m_localEdits = false;
    QHash<QString, int> m_outstanding; ///< requests not yet answered, by target
    QString m_sendUndoKey;             ///< the step the requests being sent belong to; empty when replaying
    /// The latest value asked for and not yet confirmed, by target: what the next change starts from.
    QHash<quint64, DspBlock> m_askedBlocks;
    QHash<QString, DspChannel> m_askedChannels;
    QHash<int, DspNode> m_askedNodes;
    bool m_unsaved = false;
    bool m_linkLost = false;

    QVector<Pending *> m_queue;
    Pending *m_inFlight = nullptr;
    QTimer *m_timeout;
    QElapsedTimer m_lastMessage;

    DspUndoStack m_undo;
    std::optional<DspBlock> m_copiedBlock;
    struct CopiedChannel
    {
        DspSide side;
        int channel;
        QVector<DspBlock> chain;
    };
    std::optional<CopiedChannel> m_copiedChannel;
};
