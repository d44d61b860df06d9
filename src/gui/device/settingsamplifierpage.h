#pragma once

#include "core/app/commandplan.h"
#include "core/device/amplifierinfo.h"

#include <QWidget>

class QGridLayout;
class QLabel;
class QPushButton;
class StyledSpinBox;

/// The amplifier's power, supply voltage, and per output its gain and
/// temperature, from "getInfo".
class SettingsAmplifierPage : public QWidget
{
    Q_OBJECT
public:
    explicit SettingsAmplifierPage(const QString &devId, QWidget *parent = nullptr);

    void showInfo(const AmplifierInfo &info);

signals:
    void signal_run(const CommandPlan &plan);
    void signal_refresh();

protected:
    void changeEvent(QEvent *event) override;

private:
    void rebuildOutputs(int count);
    void retranslate();

    QString m_devId;
    std::optional<AmplifierInfo> m_info;
    QLabel *m_powerLabel;
    QPushButton *m_power;
    QLabel *m_voltageLabel;
    QLabel *m_voltage;
    QGridLayout *m_outputs;
    QLabel *m_gainHeading;
    QLabel *m_tempHeading;
    QVector<QLabel *> m_outputNames;
    QVector<StyledSpinBox *> m_gains;
    QVector<QLabel *> m_temps;
    QPushButton *m_refresh;
};
