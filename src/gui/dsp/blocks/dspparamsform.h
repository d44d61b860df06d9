#pragma once

#include "core/dsp/params/dspparams.h"
#include "gui/dsp/blocks/dspblockbaseform.h"

#include <functional>

class DspParamRows;
class QGridLayout;
class QHBoxLayout;
class QLabel;
class QSlider;

/// The editor of a block whose controls are its kind's table: one row per member (label, slider, spin box or
/// choice, unit), slider and spin box linked with their signals blocked, every accepted change one
/// "setBorderProc" with the whole block object through the controller.
class DspParamsForm : public DspBlockBaseForm
{
    Q_OBJECT
public:
    /// Names of a side's channels, for the members that pick a channel.
    using ChannelNames = std::function<QString(DspSide, int)>;

    DspParamsForm(DspController *controller, quint64 uid, const QString &title, const QVector<DspParam> &table,
                  ChannelNames names, QWidget *parent = nullptr);

public slots:
    void refresh() override;

protected:
    /// The grid the rows are in; subclasses add their meters and curves beside it.
    QGridLayout *rows() const { return m_rows; }
    QHBoxLayout *body() const { return m_body; }
    /// Redraws what follows the values (curves); called after every refresh and accepted change.
    virtual void valuesChanged() {}
    const ChannelNames &channelNames() const { return m_names; }
    /// The level of the block's channel, from the window's polling: dBFS, -inf for silence.
    virtual void channelLevel(double dbfs) { Q_UNUSED(dbfs) }
    /// A read-only meter from -60 to 0 dB (a slider the mouse cannot move) and the label of its value.
    QSlider *addMeter(QGridLayout *grid, int column, const char *name, const char *labelName, Tx caption);
    /// Shows a level on a meter made by addMeter: rounded, "-inf" as -90, held to the meter's range.
    static void showLevel(QSlider *meter, double db);
    /// The user has changed a value since the editor opened.
    bool userEdited() const { return m_userEdited; }

private:
    /// The user set a member: stored and sent unless it is the value shown.
    void edited(const char *member, double value);

    ChannelNames m_names;
    QGridLayout *m_rows;
    QHBoxLayout *m_body;
    DspParamRows *m_table;
    bool m_userEdited = false;
};
