#pragma once

#include "core/dsp/params/dspparams.h"

#include <QObject>
#include <QStringList>
#include <QVector>

#include <functional>
#include <optional>

class DspController;
class QAbstractButton;
class QComboBox;
class QDoubleSpinBox;
class QGridLayout;
class QLabel;
class QSlider;

/// The rows of a parameter table in a grid, one per member: label, slider, spin box, choice or toggle, unit.
/// The block editors and the automixer's node editor show their tables through it. Controls are written with
/// their signals blocked, so only the user's changes are reported, each once, as the member and its value.
class DspParamRows : public QObject
{
    Q_OBJECT
public:
    /// Sliders held down are one undo step of the controller's.
    DspParamRows(const QVector<DspParam> &table, QGridLayout *grid, QWidget *owner, DspController *controller);

    /// Writes every row from the stored values, each held to its control's range.
    void show(const std::function<std::optional<double>(const char *member)> &value);
    /// The items of a channel choice, when they differ from the ones shown.
    void setChannels(const char *member, const QStringList &names);
    /// A lower top for a member's controls than the table's (the automixer's open-channel limit).
    void setMaximum(const char *member, double max);
    const QVector<DspParam> &table() const { return m_table; }

signals:
    void signal_edited(const char *member, double value);

private:
    struct Row
    {
        QSlider *slider = nullptr;
        QDoubleSpinBox *spin = nullptr;
        QComboBox *choice = nullptr;
        QAbstractButton *toggle = nullptr;
        QLabel *stepLabel = nullptr;
    };
    void addRow(int r, QGridLayout *grid, QWidget *owner, DspController *controller);
    int rowOf(const char *member) const;
    void write(int r, double value);

    QVector<DspParam> m_table;
    QVector<Row> m_rows;
};
