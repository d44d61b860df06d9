#pragma once

#include "core/devices/devicerecord.h"
#include "core/devices/deviceuistore.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QTimer;

/// Firmware, model, identity, address, temperature and running time. Asks
/// for fresh debug information every few seconds while it is on screen.
class SettingsInfoPage : public QWidget
{
    Q_OBJECT
public:
    static constexpr int kPollMs = 5000;

    explicit SettingsInfoPage(QWidget *parent = nullptr);

    void refresh(const Device &dev, const DeviceUiData &ui);

signals:
    void signal_refresh();

protected:
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    enum Row { Firmware, Model, DevId, Address, Oem, Temperature, RunningTime, RowCount };
    void retranslate();

    Device m_dev;
    DeviceUiData m_ui;
    QLabel *m_names[RowCount];
    QLabel *m_values[RowCount];
    QPushButton *m_refresh;
    QTimer *m_poll;
};
