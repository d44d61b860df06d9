#pragma once

#include "gui/dsp/blocks/dspblockbaseform.h"

#include <QVector>

#include <functional>

class DspEqChart;
class DspEqSingleForm;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QPushButton;
class QSlider;

namespace QtCharts {
class QXYSeries;
}

/// The equaliser and crossover editor of one channel: the equaliser's band strips, the high-pass and low-pass
/// rows, and a chart of their combined response beside the whole channel's. Opened for an equaliser or a
/// crossover block; it edits the chain's first equaliser (the clicked one when an equaliser was clicked) and
/// first high-pass and low-pass blocks (the clicked one for its own kind). Any of them may be absent.
class DspEqHlpBlockForm : public DspBlockBaseForm
{
    Q_OBJECT
public:
    DspEqHlpBlockForm(DspController *controller, quint64 uid, const QString &title, QWidget *parent = nullptr);

    /// Asks for a file name; tests set one that answers without a dialog. (save, caption, filter) -> path or
    /// empty for cancelled.

    quint64 eqUid() const { return m_eq; }
    quint64 crossoverUid(bool highPass) const { return m_xover[highPass ? 0 : 1].uid; }
    DspEqChart *chart() const { return m_chart; }
    const QVector<DspEqSingleForm *> &strips() const { return m_strips; }

public slots:
    void refresh() override;
    void slot_updateEqProc(int index);
    void slot_updateEqBypass(int index);

protected:
    /// Closed in the middle of a drag: the drag's undo step ends here, not at some later press.
    void closeEvent(QCloseEvent *event) override;

private:
    struct XoverRow
    {
        quint64 uid = 0;
        QComboBox *type = nullptr;
        QSlider *slider = nullptr;
        QDoubleSpinBox *freq = nullptr;
        QPushButton *bypass = nullptr;
        QWidget *row = nullptr;
    };

    void findBlocks();
    void buildStrips(int count);
    QWidget *buildXoverRow(bool highPass);
    void setXoverFreq(bool highPass, double hz);
    void setXoverType(bool highPass, int index);
    void redraw();
    void allGainsToZero();
    void importText();
    void exportText();
    void exportCsv();
    /// The blocks as shown; absent ones are left null by the caller.
    DspBlock shownOf(quint64 uid) const;

    quint64 m_eq = 0;
    XoverRow m_xover[2];
    QVector<DspEqSingleForm *> m_strips;
    QWidget *m_stripBox;
    QLabel *m_noEq;
    DspEqChart *m_chart;
    QtCharts::QXYSeries *m_channelCurve;
    QtCharts::QXYSeries *m_curve;
    QtCharts::QXYSeries *m_phaseCurve;
    QPushButton *m_allBypass;
    QPushButton *m_allZero;
    QPushButton *m_phase;
    QPushButton *m_import;
    QPushButton *m_export;
    QLabel *m_legend;

};
