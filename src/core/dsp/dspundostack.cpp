#include "core/dsp/dspundostack.h"

void DspUndoStack::push(DspUndoStep step)
{
    if (m_gesture && m_mergeOpen && m_index == m_steps.size() && m_index > 0 && !step.mergeKey.isEmpty() &&
        m_steps[m_index - 1].mergeKey == step.mergeKey) {
        DspUndoStep &top = m_steps[m_index - 1];
        top.blocksAfter = step.blocksAfter;
        top.chainsAfter = step.chainsAfter;
        top.channelsAfter = step.channelsAfter;
        top.nodeAfter = step.nodeAfter;
        top.nodesAfter = step.nodesAfter;
        return;
    }
    m_steps.resize(m_index);
    m_steps.append(std::move(step));
    m_index = m_steps.size();
    m_mergeOpen = m_gesture;
}

void DspUndoStack::beginGesture()
{
    m_gesture = true;
    m_mergeOpen = false;
}

void DspUndoStack::endGesture()
{
    m_gesture = false;
    m_mergeOpen = false;
}

DspUndoStep DspUndoStack::takeUndo()
{
    m_mergeOpen = false;
    return m_steps[--m_index];
}

DspUndoStep DspUndoStack::takeRedo()
{
    m_mergeOpen = false;
    return m_steps[m_index++];
}

void DspUndoStack::dropTopIf(const QString &mergeKey)
{
    if (m_index == m_steps.size() && m_index > 0 && m_steps[m_index - 1].mergeKey == mergeKey) {
        m_steps.removeLast();
        m_index = m_steps.size();
        m_mergeOpen = false;
    }
}

void DspUndoStack::clear()
{
    m_steps.clear();
    m_index = 0;
    m_mergeOpen = false;
}
