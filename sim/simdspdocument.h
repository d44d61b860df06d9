#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QVector>
#include <functional>

/// The signal processing of one DSP-capable virtual device: the configuration
/// document of docs/dsp.md, the changes the DSP link makes to it, and the live
/// figures that follow from it (levels, the state of dynamics blocks, the
/// processor load). Knows nothing of sockets or locks.
class SimDspDocument
{
public:
    /// The layout a device starts with; "setConfig" can later change the channel counts of the AEC and
    /// automixer nodes, never the inputs and outputs.
    struct Layout
    {
        int inputs = 0;
        int outputs = 0;
        bool aec = false;       ///< an echo-cancellation node after the inputs, one channel per input
        bool automixer = false; ///< an automixer node after the inputs (and the AEC), one channel per input
        QVector<int> deadInputs; ///< broken input paths: silence even with their generator on
    };
    /// "RKiiooD" carries ii inputs and oo outputs; a model code that does not
    /// read so takes the physical channel counts. Sixteen inputs or more bring
    /// the AEC and automixer nodes.
    static Layout layoutFor(const QString &model, int phyChNumRx, int phyChNumTx);

    /// The signal arriving at a DSP input, dBFS; NaN for silence.
    using InputLevel = std::function<double(int channel)>;

    SimDspDocument(const Layout &layout, InputLevel input);

    const Layout &layout() const { return m_layout; }
    /// Channels of the echo-cancellation and automixer nodes now; 0 when the node is absent.
    int aecChannels() const;
    int automixerChannels() const;

    /// The document "getConfig" answers.
    QJsonObject config(int sampleRate) const;

    /// A whole document taking the running one's place (a program or stored configuration loaded):
    /// "" when it fits the device, else "old version" (a "version" below 4), "sample rate mismatch"
    /// (another "sampleRate" than \a sampleRate) or "bad param" (another layout, an unknown block, a
    /// member out of shape or range); the document is unchanged on failure.
    QString load(const QJsonObject &document, int sampleRate);

    /// One change of the DSP link ("setConfig", "setBorderProc", "setGain", "setMatrixCell", ...):
    /// "" with the reply members added, or the reason, the document unchanged.
    QString apply(const QString &ops, const QJsonObject &request, QJsonObject &reply);
    /// "getBorderProcStatus": the live state of a dynamics block or the gate.
    QString blockStatus(const QJsonObject &request, QJsonObject &reply) const;
    /// Each input's (or output's) level after its chain and gain, dBFS; NaN for silence.
    QVector<double> levels(bool outputs) const;
    /// Processor load in percent, 10 to 95.
    int load(int sampleRate, qint64 nowMs) const;

private:
    struct Port
    {
        QJsonObject members; ///< everything but the chain
        QVector<QJsonObject> procs;
    };
    struct Node
    {
        int type = 0;
        QJsonObject obj;
        QVector<Port> ports;
    };
    struct Address
    {
        int node = -1;
        int port = -1;
        int proc = -1;
    };

    bool locate(const QJsonObject &req, bool wantPort, bool wantBlock, Address *a) const;
    bool hasChains(int node) const { return node == 0 || node == m_nodes.size() - 1; }
    int matrixNode() const { return m_nodes.size() - 2; }
    int nodeOfType(int type) const;
    /// Gives the AEC (type 2) or automixer (type 3) node that many channels, adding or removing the node;
    /// channels that stay keep their settings, new ones take the defaults.
    void resizeNode(int type, int channels);
    bool crossCheck(int blockType, const QJsonObject &obj) const;
    bool validBlock(const QJsonValue &v, QJsonObject *out) const;

    QString setConfig(const QJsonObject &req);
    /// One node of a document being loaded, checked against the layout; false when it does not fit.
    bool loadNode(const QJsonObject &node, int expectedType, int groups, Node *out) const;
    QString setBlock(const QJsonObject &req);
    QString setBypass(const QJsonObject &req, QJsonObject &reply);
    /// One band of an equaliser block: its values, or its entry of "bypassArr".
    QString setEqBand(const QJsonObject &req);
    QString setEqBandBypass(const QJsonObject &req, QJsonObject &reply);
    /// The equaliser block the request names and the band index it carries, both checked.
    bool locateBand(const QJsonObject &req, Address *a, int *band) const;
    QString setBlockGroups(const QJsonObject &req);
    QString setNodeData(const QJsonObject &req);
    QString setChannel(const QString &ops, const QJsonObject &req, QJsonObject &reply);
    QString setMatrixCell(const QJsonObject &req);
    /// The echo-cancellation members of one channel of the AEC node; members left out are kept.
    QString setAecChannel(const QJsonObject &req);

    double chainLevel(const Port &port, double level, int upTo) const;
    double matrixOut(int output) const;

    Layout m_layout;
    InputLevel m_input;
    QVector<Node> m_nodes;
    QJsonArray m_groups;
    QString m_customStr;
};
