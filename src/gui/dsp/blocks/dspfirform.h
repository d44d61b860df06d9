#pragma once

#include "gui/dsp/blocks/dspblockbaseform.h"

#include <QPointF>
#include <QVector>

#include <functional>

class DspResponseChart;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QSlider;
class QTextBrowser;

namespace QtCharts {
class QXYSeries;
}

/// The FIR block's editor: the coefficients are designed here by the window method (type, window, taps,
/// attenuation, band edges) or imported from a file ("Custom"), and the whole array goes to the device with
/// every change. The curve is drawn at the rate the block is designed for.
class DspFirForm : public DspBlockBaseForm
{
    Q_OBJECT
public:
    DspFirForm(DspController *controller, quint64 uid, const QString &title, QWidget *parent = nullptr);

    /// Picks a file to read (save false) or to write; an empty path gives up. The system's file dialog unless
    /// replaced (tests answer without a dialog).

    /// The rate the coefficients are designed and drawn at: the device's when the document gives one.
    double designRate() const;
    QtCharts::QXYSeries *curve() const { return m_curve; }

public slots:
    void refresh() override;

protected:
    void changeEvent(QEvent *event) override;

private:
    void build();
    void retranslate();
    DspFir shownFir() const;
    /// Designs the block from fir and the edge controls and asks for it; nothing is sent when the result is
    /// what is shown already.
    void rebuild(DspFir fir);
    void edgeEdited();
    void importCoefficients();
    void showTips(const QString &text);
    void updateEnabled(const DspFir &fir);
    void redraw(const DspFir &fir);

    QComboBox *m_type = nullptr;
    QComboBox *m_window = nullptr;
    QComboBox *m_taps = nullptr;
    QComboBox *m_attDb = nullptr;
    QDoubleSpinBox *m_lower = nullptr;
    QDoubleSpinBox *m_upper = nullptr;
    QSlider *m_lowerSlider = nullptr;
    QSlider *m_upperSlider = nullptr;
    QPushButton *m_import = nullptr;
    QPushButton *m_export = nullptr;
    QTextBrowser *m_custom = nullptr;
    QLabel *m_typeLabel = nullptr;
    QLabel *m_windowLabel = nullptr;
    QLabel *m_tapsLabel = nullptr;
    QLabel *m_attLabel = nullptr;
    QLabel *m_lowerLabel = nullptr;
    QLabel *m_upperLabel = nullptr;
    QLabel *m_rateNote = nullptr;
    QLabel *m_emptyNote = nullptr;
    QLabel *m_importNote = nullptr;
    DspResponseChart *m_chart = nullptr;
    QtCharts::QXYSeries *m_curve = nullptr;

    /// What the chart and the coefficient view were last drawn from, so a refresh that changes neither
    /// does not recompute them.
    QVector<double> m_drawnArr;
    double m_drawnRate = 0.0;
    bool m_drawn = false;
    QVector<double> m_listedArr;
    bool m_listed = false;
    QVector<QPointF> m_points;
    /// A warning about the last impulse imported, shown beside the count until the block leaves Custom.
    QString m_importWarning;
};
