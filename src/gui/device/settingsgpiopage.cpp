#include "gui/device/settingsgpiopage.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/device/settingsplan.h"

#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

SettingsGpioPage::SettingsGpioPage(const QString &devId, QWidget *parent)
    : QWidget(parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("page_gpio"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(24), scaled(20), scaled(24), scaled(20));
    layout->setSpacing(scaled(14));
    m_grid = new QGridLayout;
    m_grid->setHorizontalSpacing(scaled(14));
    m_grid->setVerticalSpacing(scaled(8));
    m_grid->setColumnStretch(5, 1);
    layout->addLayout(m_grid);
    m_none = new QLabel(this);
    m_none->hide();
    layout->addWidget(m_none);
    m_refresh = new QPushButton(this);
    m_refresh->setObjectName(QStringLiteral("pb_refreshGpio"));
    connect(m_refresh, &QPushButton::clicked, this, &SettingsGpioPage::signal_refresh);
    auto *row = new QHBoxLayout;
    row->addWidget(m_refresh);
    row->addStretch(1);
    layout->addLayout(row);
    layout->addStretch(1);
    retranslate();
}

void SettingsGpioPage::rebuild(const QVector<GpioPin> &pins)
{
    for (Row &r : m_rows) {
        delete r.name;
        delete r.dir;
        delete r.level;
        delete r.test;
        delete r.read;
    }
    m_rows.clear();
    for (int i = 0; i < pins.size(); ++i) {
        Row r;
        r.pin = pins.at(i);
        const QString n = QString::number(r.pin.index + 1);
        r.name = new QLabel(this);
        r.dir = new QComboBox(this);
        r.dir->setObjectName(QStringLiteral("com_gpioDir_") + n);
        r.dir->setMinimumWidth(scaled(110));
        r.dir->addItem(QString(), false);
        r.dir->addItem(QString(), true);
        r.level = new QPushButton(this);
        r.level->setObjectName(QStringLiteral("pb_gpioLevel_") + n);
        r.level->setCheckable(true);
        r.level->setMinimumWidth(scaled(70));
        r.test = new QPushButton(this);
        r.test->setObjectName(QStringLiteral("pb_testGpio_") + n);
        r.read = new QLabel(this);
        r.read->setObjectName(QStringLiteral("lb_gpioRead_") + n);
        connect(r.dir, QOverload<int>::of(&QComboBox::activated), this, [this, i] { sendRow(i); });
        connect(r.level, &QPushButton::clicked, this, [this, i] { sendRow(i); });
        connect(r.test, &QPushButton::clicked, this, [this, i] {
            // Drive the opposite of what the pin last showed, so each test changes something.
            const Row &row = m_rows.at(i);
            const bool wasHigh = row.readHigh >= 0 ? row.readHigh == 1 : row.pin.high;
            m_lastTested = row.pin.index;
            emit signal_run(SettingsPlan::testGpio(m_devId, row.pin.index, !wasHigh));
        });
        m_grid->addWidget(r.name, i, 0);
        m_grid->addWidget(r.dir, i, 1);
        m_grid->addWidget(r.level, i, 2);
        m_grid->addWidget(r.test, i, 3);
        m_grid->addWidget(r.read, i, 4);
        m_rows.append(r);
    }
}

void SettingsGpioPage::showPins(const QVector<GpioPin> &pins)
{
    m_known = true;
    bool same = pins.size() == m_rows.size();
    for (int i = 0; same && i < pins.size(); ++i)
        same = pins.at(i).index == m_rows.at(i).pin.index;
    if (!same)
        rebuild(pins);
    for (int i = 0; i < pins.size(); ++i) {
        Row &r = m_rows[i];
        r.pin = pins.at(i);
        const QSignalBlocker blockDir(r.dir);
        const QSignalBlocker blockLevel(r.level);
        r.dir->setCurrentIndex(r.pin.output ? 1 : 0);
        r.level->setChecked(r.pin.high);
        r.level->setEnabled(r.pin.output);
    }
    retranslate();
}

void SettingsGpioPage::showTestResult(const GpioPin &result)
{
    const int index = result.index >= 0 ? result.index : m_lastTested;
    for (Row &r : m_rows) {
        if (r.pin.index == index) {
            r.readHigh = result.high ? 1 : 0;
            retranslateRow(r);
        }
    }
}

void SettingsGpioPage::sendRow(int row)
{
    Row &r = m_rows[row];
    const bool output = r.dir->currentData().toBool();
    r.level->setEnabled(output);
    retranslateRow(r);
    emit signal_run(SettingsPlan::setGpio(m_devId, r.pin.index, output, output && r.level->isChecked()));
}

void SettingsGpioPage::retranslateRow(Row &r)
{
    r.name->setText(tx(Tx::GpioPin).arg(r.pin.index + 1));
    r.dir->setItemText(0, tx(Tx::GpioInput));
    r.dir->setItemText(1, tx(Tx::GpioOutput));
    r.level->setText(tx(r.level->isChecked() ? Tx::GpioHigh : Tx::GpioLow));
    r.test->setText(tx(Tx::GpioTest));
    r.read->setText(r.readHigh < 0 ? QString() : tx(Tx::GpioReads).arg(tx(r.readHigh ? Tx::GpioHigh : Tx::GpioLow)));
}

void SettingsGpioPage::retranslate()
{
    for (Row &r : m_rows)
        retranslateRow(r);
    m_none->setText(tx(Tx::GpioNone));
    m_none->setVisible(m_known && m_rows.isEmpty());
    m_refresh->setText(tx(Tx::DsRefresh));
}

void SettingsGpioPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
