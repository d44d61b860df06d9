#pragma once

#include "gui/widgets/framelessdialog.h"

#include <functional>

class PlanRunner;
class DevManager;
class FactoryProbe;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class QSpinBox;

/// The production line's device test: who answers the discovery query,
/// GPIO pins driven and read back, text through a device's serial port.
class DeviceTestDialog : public FramelessDialog
{
    Q_OBJECT
public:
    using AddressSource = std::function<QString()>;

    DeviceTestDialog(const DevManager &registry, AddressSource localAddress, QWidget *parent = nullptr);

    FactoryProbe *probe() const { return m_probe; }

signals:
    void signal_sendUdp(const QString &json, const QString &tag);
    void signal_showTips(const QString &text, bool isSucc);

public slots:
    /// Replies for the pages: "testGpio" and "sendUdpToUart" answers.
    void slot_message(const QString &json);
    void slot_refreshDevices();
    void on_pb_ask_clicked();

protected:
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void sendToDevice(const QJsonObject &command);
    void retranslate();

    const DevManager &m_registry;
    AddressSource m_localAddress;
    FactoryProbe *m_probe;
    QGroupBox *m_discovery;
    QGroupBox *m_gpio;
    QGroupBox *m_uart;
    QPushButton *m_ask;
    QCheckBox *m_broadcast;
    QListWidget *m_answers;
    QLabel *m_answerCount;
    QLabel *m_deviceLabel;
    QComboBox *m_device;
    QLabel *m_pinLabel;
    QSpinBox *m_pin;
    QPushButton *m_high;
    QPushButton *m_low;
    QLabel *m_gpioResult;
    QLineEdit *m_uartText;
    QPushButton *m_uartSend;
    QPlainTextEdit *m_uartLog;
    PlanRunner *m_runner = nullptr;
};
