#pragma once

#include "core/app/commandplan.h"
#include "core/devices/devicerecord.h"
#include "core/devices/deviceuistore.h"

#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class StyledSpinBox;

/// The settings window's first page: name, audio format, latency, PTP
/// domain and DSCP, audio DSCP. Every field applies when committed (a
/// choice, an arrow, Enter or leaving the field); there is no Save button. A control is moved only when the device's
/// value changes, so a value the user just sent is not flipped back by an
/// unrelated refresh.
class SettingsGeneralPage : public QWidget
{
    Q_OBJECT
public:
    explicit SettingsGeneralPage(const QString &devId, QWidget *parent = nullptr);

    void refresh(const Device &dev, const DeviceUiData &ui);
    /// Shows the device's values again, whatever was typed (after a refusal).
    void resync();

signals:
    void signal_run(const CommandPlan &plan);

protected:
    void changeEvent(QEvent *event) override;

private:
    struct Seen
    {
        QString name;
        int sampleRate = -1, packetDiv = -1, sampleBytes = -1, delayUs = -1, dscp = -1, ptpDomain = -1, ptpDscp = -1;
        QStringList rates, divs, bytes, delays;
        bool versionKnown = false;
    };
    void apply(bool force);
    void fillCombo(QComboBox *combo, const QStringList &offered, int current, QString (*label)(int));
    void setSpin(StyledSpinBox *spin, int value);
    void saveName();
    void retranslate();

    QString m_devId;
    Device m_dev;
    DeviceUiData m_ui;
    Seen m_seen;
    QLabel *m_nameLabel;
    QLineEdit *m_name;
    QLabel *m_audioHeading;
    QLabel *m_clockHeading;
    QLabel *m_labels[7];
    QComboBox *m_rate;
    QComboBox *m_packet;
    QComboBox *m_bytes;
    QComboBox *m_latency;
    StyledSpinBox *m_ptpDomain;
    StyledSpinBox *m_ptpDscp;
    StyledSpinBox *m_dscp;
};
