#pragma once

#include "core/dsp/dspkinds.h"
#include "core/dsp/dspnode.h"
#include "gui/widgets/framelessdialog.h"

#include <QSignalBlocker>

#include <functional>

class DspController;

/// The base of the editors of the echo-cancellation and automixer nodes: bound to the node by its type, as
/// its id moves when the other node is added or removed; redrawn on every answer about it, closed when the
/// node goes (its channel count set to 0, a new document without it). Like the block editors, controls are
/// written with their signals blocked and every change is asked of the controller.
class DspNodeForm : public FramelessDialog
{
    Q_OBJECT
public:
    using ChannelNames = std::function<QString(DspSide, int)>;

    DspNodeForm(DspController *controller, int nodeType, ChannelNames names, QWidget *parent = nullptr);

    /// The node's id now; -1 when it is gone.
    int nodeId() const;

    template <class W, class V> static void setQuietly(W *w, const V &value)
    {
        const QSignalBlocker blocker(w);
        w->setValue(value);
    }

public slots:
    virtual void refresh() = 0;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    DspController *controller() const { return m_controller; }
    /// The node as shown: with the changes asked for and not yet answered.
    const DspNode *shown() const;
    QString inputName(int channel) const;

private:
    void follow();

    DspController *m_controller;
    int m_type;
    ChannelNames m_names;
};
