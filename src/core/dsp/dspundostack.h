#pragma once

#include "core/dsp/dspkinds.h"
#include "core/dsp/dspnode.h"

#include <QString>
#include <QVector>

/// One change made in the DSP window, as the values before and after it. Steps name blocks by their identity
/// and channels by side and number, never by pointer, so they outlive blocks added and removed around them.
struct DspUndoStep
{
    enum Kind {
        Block,   ///< one or more blocks' parameters and bypass (linked blocks change together)
        Chain,   ///< a channel's chain: blocks added, removed or pasted
        Channel, ///< a channel's gain, mute, inversion or link group
        Node,    ///< a node's own object: the matrix, the automixer
        Nodes,   ///< the echo-cancellation and automixer nodes added, resized or removed
    };
    Kind kind = Block;
    QString text;     ///< what the menu says: "Undo %1"
    QString mergeKey; ///< steps of one gesture with the same key become one
    QVector<DspBlock> blocksBefore, blocksAfter; ///< Block: matched by uid
    DspSide side = DspSide::In;
    QVector<int> channels;                               ///< Chain, Channel: the channels, in step with the lists
    QVector<QVector<DspBlock>> chainsBefore, chainsAfter; ///< Chain
    QVector<DspChannel> channelsBefore, channelsAfter;    ///< Channel: members other than the chain
    int nodeId = -1;
    DspNode nodeBefore, nodeAfter; ///< Node
    QVector<DspNode> nodesBefore, nodesAfter; ///< Nodes: every node between the inputs and the matrix
};

/// The steps that undo and redo walk. Inside a gesture (a control dragged from press to release) a step whose
/// merge key equals the one on top replaces its "after" and keeps its "before", so one drag is one step.
class DspUndoStack
{
public:
    void push(DspUndoStep step);
    void beginGesture();
    void endGesture();
    bool inGesture() const { return m_gesture; }

    bool canUndo() const { return m_index > 0; }
    bool canRedo() const { return m_index < m_steps.size(); }
    /// The step undo would revert / redo would make again.
    const DspUndoStep &undoStep() const { return m_steps[m_index - 1]; }
    const DspUndoStep &redoStep() const { return m_steps[m_index]; }
    /// Moves the position; the caller makes the change.
    DspUndoStep takeUndo();
    DspUndoStep takeRedo();
    /// Drops the top step when it is the change that just failed, so undo never replays a change the device
    /// refused.
    void dropTopIf(const QString &mergeKey);
    void clear();
    int size() const { return m_steps.size(); }

private:
    QVector<DspUndoStep> m_steps;
    int m_index = 0;
    bool m_gesture = false;
    bool m_mergeOpen = false; ///< the top step was pushed in the current gesture
};
