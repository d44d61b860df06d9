#pragma once

#include "core/dsp/dspmicconfig.h"
#include "gui/widgets/framelessdialog.h"

#include <QStringList>
#include <QVector>

class DspController;
class QCheckBox;
class QGridLayout;
class QLabel;
class QScrollArea;
class QSpinBox;

/// "话筒配置": input gain and phantom power of every analog input of the device. Reads the settings when it
/// opens and writes each change at once, both through the controller's request queue. The inputs are the
/// ones the device reports; names come from the caller.
class DspMicConfigDialog : public FramelessDialog
{
    Q_OBJECT
public:
    DspMicConfigDialog(DspController *controller, QStringList inputNames, QWidget *parent = nullptr);

    int inputCount() const { return m_rows.size(); }
    QSpinBox *gainBox(int input) const;
    QCheckBox *phantomBox(int input) const;
    /// What the dialog says besides the inputs (reading, a failure); empty when nothing.
    QString statusText() const;

protected:
    void changeEvent(QEvent *event) override;

private:
    struct Row
    {
        QLabel *name;
        QSpinBox *gain;
        QCheckBox *phantom;
        /// What the device last confirmed, to spring back to when a write fails.
        DspMicConfig::Input confirmed;
        int latestWrite = 0;
    };

    void read();
    void showInputs(const QVector<DspMicConfig::Input> &inputs);
    void write(int input);
    void written(int input, int sequence, const QJsonObject &reply);
    void showRow(int input, const DspMicConfig::Input &value);
    void showStatus(const QString &text, bool error);
    void retranslate();
    QString inputName(int input) const;

    DspController *m_controller;
    QStringList m_inputNames;
    QVector<Row> m_rows;
    QScrollArea *m_area;
    QGridLayout *m_grid;
    QLabel *m_inputHeader;
    QLabel *m_gainHeader;
    QLabel *m_phantomHeader;
    QLabel *m_status;
    bool m_readFailed = false;
};
