#pragma once

#include "core/dsp/dspblock.h"
#include "gui/widgets/framelessdialog.h"

#include <QPointF>
#include <QSignalBlocker>
#include <QVector>

#include <functional>

class DspController;
class QAbstractSlider;
class QBoxLayout;
class QPushButton;

/// The base of every block editor of the DSP window: one dialog bound to one block by the block's identity,
/// so it keeps editing the right block when blocks around it are added or removed, and closes when its block
/// goes. Editors read values from the controller (what was asked last, answered or not) and ask it for every
/// change; the controller sends, applies what the device accepts and reports failures ("Set Failed!",
/// "Set Bypass Failed!", the processor-load refusal), so no editor parses a reply.
///
/// A subclass builds its controls, then implements refresh(), which writes every control from shown() with
/// its signals blocked: a control written by the program never sends anything back.
class DspBlockBaseForm : public FramelessDialog
{
    Q_OBJECT
public:
    DspBlockBaseForm(DspController *controller, quint64 uid, const QString &title, QWidget *parent = nullptr);

    quint64 uid() const { return m_uid; }
    /// The block's current tag ("bf_in_ch_0_2"); empty when it is gone.
    QString tag() const;

    /// Writes a control without letting it signal.
    template <class W, class V> static void setQuietly(W *w, const V &value)
    {
        const QSignalBlocker blocker(w);
        w->setValue(value);
    }

public slots:
    /// Writes every control from the controller's values.
    virtual void refresh() = 0;

protected:
    /// Enter commits the spin box it is typed in and nothing else: a dialog would also press its default
    /// button, and an editor's buttons change the device (a typed frequency would bypass the block).
    void keyPressEvent(QKeyEvent *event) override;
    DspController *controller() const { return m_controller; }
    /// The block as it is shown: with the last change asked for.
    DspBlock shown() const;
    /// Other blocks whose changes redraw this editor (the crossovers beside an equaliser).
    void watch(quint64 uid);
    /// The checkable "pb_bypass" of the whole block, added to the layout and kept in step by refresh().
    QPushButton *addBypassButton(QBoxLayout *layout);
    void refreshBypassButton();
    /// Changes made while the slider is held are one undo step.
    void groupWhileHeld(QAbstractSlider *slider);
    QString chooseFile(bool save, const QString &caption, const QString &filter);
    /// Writes the whole file or leaves the one there as it was; false after telling the user.
    bool writeFile(const QString &path, const QByteArray &bytes);
    /// "Export curve (CSV)": a chart series (y in tenths of a dB) at its frequencies, to a file the user picks.
    void exportCurve(const QVector<double> &freqsHz, const QVector<QPointF> &series);
    /// Asks for the block's parameters as changed; a refusal is shown by the controller and the controls go
    /// back to what is shown.
    void change(const DspBlock &changed);

private:
    DspController *m_controller;
    quint64 m_uid;
    QVector<quint64> m_watched;
    QPushButton *m_bypass = nullptr;
};
