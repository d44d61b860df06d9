#include "gui/dsp/blocks/dspnodeform.h"

#include "core/dsp/dspcontroller.h"

#include <QKeyEvent>

DspNodeForm::DspNodeForm(DspController *controller, int nodeType, ChannelNames names, QWidget *parent)
    : FramelessDialog(parent)
    , m_controller(controller)
    , m_type(nodeType)
    , m_names(std::move(names))
{
    setAttribute(Qt::WA_DeleteOnClose);
    connect(controller, &DspController::signal_nodeChanged, this, &DspNodeForm::follow);
    connect(controller, &DspController::signal_documentLoaded, this, &DspNodeForm::follow);
}

int DspNodeForm::nodeId() const
{
    return m_type == DspNode::EchoCancel ? m_controller->aecNodeId() : m_controller->automixerNodeId();
}

const DspNode *DspNodeForm::shown() const
{
    const int id = nodeId();
    return id >= 0 ? m_controller->shownNode(id) : nullptr;
}

QString DspNodeForm::inputName(int channel) const
{
    return m_names ? m_names(DspSide::In, channel) : QString::number(channel + 1);
}

void DspNodeForm::follow()
{
    const DspNode *n = shown();
    if (!n || n->portNum() == 0)
        close();
    else
        refresh();
}

void DspNodeForm::keyPressEvent(QKeyEvent *event)
{
    // Enter commits the spin box it is typed in; a dialog would also press a button that changes the device.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        event->accept();
        return;
    }
    FramelessDialog::keyPressEvent(event);
}
