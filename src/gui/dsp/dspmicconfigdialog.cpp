#include "gui/dsp/dspmicconfigdialog.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "gui/widgets/style.h"

#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

DspMicConfigDialog::DspMicConfigDialog(DspController *controller, QStringList inputNames, QWidget *parent)
    : FramelessDialog(parent)
    , m_controller(controller)
    , m_inputNames(std::move(inputNames))
    , m_inputHeader(new QLabel(this))
    , m_gainHeader(new QLabel(this))
    , m_phantomHeader(new QLabel(this))
    , m_status(new QLabel(this))
{
    setObjectName(QStringLiteral("dlg_micConfig"));
    setMinimumWidth(scaled(420));
    m_status->setObjectName(QStringLiteral("lb_status"));
    m_status->setWordWrap(true);

    // Sixteen inputs and more scroll rather than grow past the screen.
    auto *area = m_area = new QScrollArea(this);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setMinimumHeight(scaled(120));
    auto *inputs = new QWidget(area);
    m_grid = new QGridLayout(inputs);
    m_grid->setHorizontalSpacing(scaled(16));
    for (QLabel *h : {m_inputHeader, m_gainHeader, m_phantomHeader})
        h->setFont(Style::font(10, true));
    m_grid->addWidget(m_inputHeader, 0, 0);
    m_grid->addWidget(m_gainHeader, 0, 1);
    m_grid->addWidget(m_phantomHeader, 0, 2);
    m_grid->setRowStretch(1000, 1);
    area->setWidget(inputs);
    contentLayout()->addWidget(m_status);
    contentLayout()->addWidget(area, 1);
    retranslate();
    read();
}

QSpinBox *DspMicConfigDialog::gainBox(int input) const
{
    return input >= 0 && input < m_rows.size() ? m_rows[input].gain : nullptr;
}

QCheckBox *DspMicConfigDialog::phantomBox(int input) const
{
    return input >= 0 && input < m_rows.size() ? m_rows[input].phantom : nullptr;
}

QString DspMicConfigDialog::statusText() const
{
    return m_status->isVisibleTo(this) ? m_status->text() : QString();
}

QString DspMicConfigDialog::inputName(int input) const
{
    const QString name = m_inputNames.value(input).trimmed();
    return name.isEmpty() ? tx(Tx::DspInputName).arg(input + 1) : name;
}

void DspMicConfigDialog::read()
{
    showStatus(tx(Tx::DspMicReading), false);
    QPointer<DspMicConfigDialog> self(this);
    m_controller->request(DspMicConfig::getRequest(), QStringLiteral("getMicConfig"), [self](const QJsonObject &reply) {
        if (!self)
            return; // closed before the answer came
        const auto inputs = DspMicConfig::readInputs(reply);
        self->m_readFailed = !inputs;
        if (inputs)
            self->showInputs(*inputs);
        else
            self->showStatus(tx(Tx::DspMicReadFailed), true);
    });
}

void DspMicConfigDialog::showInputs(const QVector<DspMicConfig::Input> &inputs)
{
    showStatus(QString(), false);
    for (int i = 0; i < inputs.size(); ++i) {
        QWidget *box = m_grid->parentWidget();
        Row row{new QLabel(inputName(i), box), new QSpinBox(box), new QCheckBox(box), inputs[i]};
        row.gain->setObjectName(QStringLiteral("sb_micGain_%1").arg(i));
        row.gain->setRange(DspMicConfig::kMinGainDb, DspMicConfig::kMaxGainDb);
        row.gain->setSuffix(QStringLiteral(" dB"));
        // A value typed digit by digit must not reach the device as "6" on the way to "60".
        row.gain->setKeyboardTracking(false);
        row.phantom->setObjectName(QStringLiteral("cb_phantom_%1").arg(i));
        m_grid->addWidget(row.name, i + 1, 0);
        m_grid->addWidget(row.gain, i + 1, 1);
        m_grid->addWidget(row.phantom, i + 1, 2);
        // Added to a dialog already on screen, they would otherwise appear only once the event loop runs.
        for (QWidget *w : std::initializer_list<QWidget *>{row.name, row.gain, row.phantom})
            w->show();
        m_rows.append(row);
        showRow(i, inputs[i]);
        connect(row.gain, QOverload<int>::of(&QSpinBox::valueChanged), this, [this, i] { write(i); });
        connect(row.phantom, &QCheckBox::toggled, this, [this, i] { write(i); });
    }
    // Every column in view; the rows scroll beyond about ten inputs.
    const QSize content = m_grid->parentWidget()->sizeHint();
    m_area->setMinimumWidth(content.width() + m_area->verticalScrollBar()->sizeHint().width());
    m_area->setMinimumHeight(qMin(content.height(), scaled(360)));
    if (layout())
        layout()->activate();
    adjustSize();
}

void DspMicConfigDialog::showRow(int input, const DspMicConfig::Input &value)
{
    Row &row = m_rows[input];
    const QSignalBlocker gainBlock(row.gain);
    const QSignalBlocker phantomBlock(row.phantom);
    row.gain->setValue(value.gainDb);
    row.phantom->setChecked(value.phantom);
}

void DspMicConfigDialog::write(int input)
{
    Row &row = m_rows[input];
    const DspMicConfig::Input asked{row.gain->value(), row.phantom->isChecked()};
    const int sequence = ++row.latestWrite;
    QPointer<DspMicConfigDialog> self(this);
    m_controller->request(DspMicConfig::setRequest(input, asked), DspMicConfig::setKey(input),
                          [self, input, sequence](const QJsonObject &reply) {
                              if (self)
                                  self->written(input, sequence, reply);
                          });
}

void DspMicConfigDialog::written(int input, int sequence, const QJsonObject &reply)
{
    if (input < 0 || input >= m_rows.size())
        return;
    const std::optional<DspMicConfig::Input> taken = DspMicConfig::readSet(reply);
    if (taken) {
        m_rows[input].confirmed.gainDb = taken->gainDb;
        m_rows[input].confirmed.phantom = taken->phantom;
    }
    // A newer write of this input (or the one that replaced this in the queue) has the last word on what the
    // row shows.
    if (sequence != m_rows[input].latestWrite)
        return;
    showStatus(taken ? QString() : tx(Tx::DspSetFailedRetry), !taken);
    showRow(input, m_rows[input].confirmed);
}

void DspMicConfigDialog::showStatus(const QString &text, bool error)
{
    m_status->setText(text);
    m_status->setStyleSheet(error ? QStringLiteral("color: %1;").arg(Style::rgb(Style::kError)) : QString());
    m_status->setVisible(!text.isEmpty());
}

void DspMicConfigDialog::retranslate()
{
    setTitle(tx(Tx::DspMicTitle));
    m_inputHeader->setText(tx(Tx::DspMicInput));
    m_gainHeader->setText(tx(Tx::DspMicGain));
    m_phantomHeader->setText(tx(Tx::DspMicPhantom));
    for (int i = 0; i < m_rows.size(); ++i)
        m_rows[i].name->setText(inputName(i));
    if (m_readFailed)
        showStatus(tx(Tx::DspMicReadFailed), true);
    else if (m_rows.isEmpty() && m_status->isVisibleTo(this))
        showStatus(tx(Tx::DspMicReading), false);
}

void DspMicConfigDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
