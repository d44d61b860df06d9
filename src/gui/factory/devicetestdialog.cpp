#include "gui/factory/devicetestdialog.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/devices/deviceorder.h"
#include "core/devices/devmanager.h"
#include "core/factory/factoryprobe.h"
#include "core/protocol/ipv4.h"
#include "gui/widgets/planrunner.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

DeviceTestDialog::DeviceTestDialog(const DevManager &registry, AddressSource localAddress, QWidget *parent)
    : FramelessDialog(parent)
    , m_registry(registry)
    , m_localAddress(std::move(localAddress))
    , m_probe(new FactoryProbe(this))
{
    setObjectName(QStringLiteral("dlg_deviceTest"));
    m_runner = new PlanRunner(this, QStringLiteral("DeviceTestDialog"));
    connect(m_runner, &PlanRunner::signal_sendUdp, this, &DeviceTestDialog::signal_sendUdp);
    setModal(false);
    setMinimumSize(scaled(620), scaled(560));

    m_discovery = new QGroupBox(this);
    m_ask = new QPushButton(m_discovery);
    m_ask->setObjectName(QStringLiteral("pb_ask"));
    m_broadcast = new QCheckBox(m_discovery);
    m_broadcast->setObjectName(QStringLiteral("cb_broadcast"));
    m_answerCount = new QLabel(m_discovery);
    m_answerCount->setObjectName(QStringLiteral("lb_answers"));
    m_answers = new QListWidget(m_discovery);
    m_answers->setObjectName(QStringLiteral("lw_answers"));
    auto *discovery = new QVBoxLayout(m_discovery);
    auto *askRow = new QHBoxLayout;
    askRow->addWidget(m_ask);
    askRow->addWidget(m_broadcast);
    askRow->addStretch(1);
    askRow->addWidget(m_answerCount);
    discovery->addLayout(askRow);
    discovery->addWidget(m_answers);

    m_deviceLabel = new QLabel(this);
    m_device = new QComboBox(this);
    m_device->setObjectName(QStringLiteral("com_device"));
    auto *deviceRow = new QHBoxLayout;
    deviceRow->addWidget(m_deviceLabel);
    deviceRow->addWidget(m_device, 1);

    m_gpio = new QGroupBox(this);
    m_pinLabel = new QLabel(m_gpio);
    m_pin = new QSpinBox(m_gpio);
    m_pin->setObjectName(QStringLiteral("sb_pin"));
    m_pin->setRange(0, 31);
    m_high = new QPushButton(m_gpio);
    m_high->setObjectName(QStringLiteral("pb_gpioHigh"));
    m_low = new QPushButton(m_gpio);
    m_low->setObjectName(QStringLiteral("pb_gpioLow"));
    m_gpioResult = new QLabel(m_gpio);
    m_gpioResult->setObjectName(QStringLiteral("lb_gpioResult"));
    auto *gpio = new QHBoxLayout(m_gpio);
    gpio->addWidget(m_pinLabel);
    gpio->addWidget(m_pin);
    gpio->addWidget(m_high);
    gpio->addWidget(m_low);
    gpio->addWidget(m_gpioResult, 1);

    m_uart = new QGroupBox(this);
    m_uartText = new QLineEdit(m_uart);
    m_uartText->setObjectName(QStringLiteral("le_uart"));
    m_uartSend = new QPushButton(m_uart);
    m_uartSend->setObjectName(QStringLiteral("pb_uartSend"));
    m_uartLog = new QPlainTextEdit(m_uart);
    m_uartLog->setObjectName(QStringLiteral("te_uartLog"));
    m_uartLog->setReadOnly(true);
    auto *uart = new QGridLayout(m_uart);
    uart->addWidget(m_uartText, 0, 0);
    uart->addWidget(m_uartSend, 0, 1);
    uart->addWidget(m_uartLog, 1, 0, 1, 2);

    contentLayout()->addWidget(m_discovery, 2);
    contentLayout()->addLayout(deviceRow);
    contentLayout()->addWidget(m_gpio);
    contentLayout()->addWidget(m_uart, 1);

    connect(m_ask, &QPushButton::clicked, this, &DeviceTestDialog::on_pb_ask_clicked);
    connect(m_probe, &FactoryProbe::signal_answer, this, [this](const QString &address) {
        const auto d = m_registry.findByIp(Ipv4::fromText(address));
        m_answers->addItem(d ? QStringLiteral("%1   %2   %3").arg(address, d->rec.name.str(), d->devId()) : address);
        m_answerCount->setText(tx(Tx::TestAnswers).arg(m_answers->count()));
    });
    auto gpioSet = [this](bool high) {
        sendToDevice(QJsonObject{{QStringLiteral("ops"), QStringLiteral("testGpio")},
                                 {QStringLiteral("index"), QString::number(m_pin->value())},
                                 {QStringLiteral("isHigh"), high ? QStringLiteral("1") : QStringLiteral("0")}});
    };
    connect(m_high, &QPushButton::clicked, this, [gpioSet] { gpioSet(true); });
    connect(m_low, &QPushButton::clicked, this, [gpioSet] { gpioSet(false); });
    auto uartSend = [this] {
        if (m_uartText->text().isEmpty())
            return;
        sendToDevice(QJsonObject{{QStringLiteral("ops"), QStringLiteral("sendUdpToUart")},
                                 {QStringLiteral("data"), m_uartText->text()}});
        m_uartLog->appendPlainText(QStringLiteral("> ") + m_uartText->text());
        m_uartText->clear();
    };
    connect(m_uartSend, &QPushButton::clicked, this, uartSend);
    connect(m_uartText, &QLineEdit::returnPressed, this, uartSend);
    retranslate();
}

void DeviceTestDialog::on_pb_ask_clicked()
{
    const QString local = m_localAddress ? m_localAddress() : QString();
    if (local.isEmpty() || !m_probe->open(local)) {
        emit signal_showTips(tx(Tx::TestNoInterface), false);
        return;
    }
    m_answers->clear();
    QStringList targets;
    for (const Device &d : m_registry.devices())
        targets.append(Ipv4::toText(d.rec.ip));
    if (m_broadcast->isChecked())
        targets.append(QStringLiteral("255.255.255.255"));
    m_probe->ask(targets);
    m_answerCount->setText(tx(Tx::TestAnswers).arg(0));
}

void DeviceTestDialog::sendToDevice(const QJsonObject &command)
{
    const QString devId = m_device->currentData().toString();
    if (devId.isEmpty())
        return;
    QJsonObject cmd = command;
    cmd.insert(QStringLiteral("devId"), devId);
    m_runner->send(cmd);
}

void DeviceTestDialog::slot_message(const QString &json)
{
    const QJsonObject o = QJsonDocument::fromJson(json.toUtf8()).object();
    if (o.value(QLatin1String("devId")).toString() != m_device->currentData().toString())
        return;
    const QString op = o.value(QLatin1String("ops")).toString();
    if (op == QLatin1String("sendUdpToUart") && o.contains(QLatin1String("back")))
        m_uartLog->appendPlainText(tx(Tx::TestUartEcho).arg(o.value(QLatin1String("back")).toString()));
    else if (op == QLatin1String("testGpio") && o.value(QLatin1String("result")).toString() == QLatin1String("succ"))
        m_gpioResult->setText(tx(Tx::TestGpioResult)
                                  .arg(o.value(QLatin1String("index")).toString(QString::number(m_pin->value())),
                                       o.value(QLatin1String("isHigh")).toString()));
}

void DeviceTestDialog::slot_refreshDevices()
{
    const QString current = m_device->currentData().toString();
    m_device->clear();
    for (const Device &d : DeviceOrder::sorted(m_registry.devices()))
        m_device->addItem(QStringLiteral("%1  (%2, %3)").arg(d.rec.name.str(), d.devId(), Ipv4::toText(d.rec.ip)),
                          d.devId());
    const int at = m_device->findData(current);
    if (at >= 0)
        m_device->setCurrentIndex(at);
}

void DeviceTestDialog::showEvent(QShowEvent *event)
{
    slot_refreshDevices();
    FramelessDialog::showEvent(event);
}

void DeviceTestDialog::retranslate()
{
    setTitle(tx(Tx::ToolsDeviceTest));
    m_discovery->setTitle(tx(Tx::TestDiscovery));
    m_ask->setText(tx(Tx::TestAsk));
    m_broadcast->setText(tx(Tx::TestBroadcast));
    m_answerCount->setText(tx(Tx::TestAnswers).arg(m_answers->count()));
    m_deviceLabel->setText(tx(Tx::TestDevice));
    m_gpio->setTitle(tx(Tx::TestGpio));
    m_pinLabel->setText(tx(Tx::TestGpioIndex));
    m_high->setText(tx(Tx::TestGpioHigh));
    m_low->setText(tx(Tx::TestGpioLow));
    m_uart->setTitle(tx(Tx::TestUart));
    m_uartSend->setText(tx(Tx::TestUartSend));
    m_uartText->setPlaceholderText(tx(Tx::TestUartPlaceholder));
}

void DeviceTestDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
