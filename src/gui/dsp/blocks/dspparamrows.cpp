#include "gui/dsp/blocks/dspparamrows.h"

#include "core/app/scalefactors.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/params/dynamics.h"
#include "gui/widgets/styledslider.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>

#include <cmath>
#include <cstring>

DspParamRows::DspParamRows(const QVector<DspParam> &table, QGridLayout *grid, QWidget *owner,
                           DspController *controller)
    : QObject(owner)
    , m_table(table)
    , m_rows(table.size())
{
    grid->setColumnStretch(1, 1);
    grid->setHorizontalSpacing(scaled(10));
    for (int r = 0; r < m_table.size(); ++r)
        addRow(r, grid, owner, controller);
}

void DspParamRows::addRow(int r, QGridLayout *grid, QWidget *owner, DspController *controller)
{
    using K = DspParam::Kind;
    const DspParam &p = m_table[r];
    Row &row = m_rows[r];
    grid->addWidget(new QLabel(tx(p.label), owner), r, 0);
    if (p.hasSlider()) {
        row.slider = new StyledSlider(Qt::Horizontal, owner);
        row.slider->setObjectName(QLatin1String(p.sliderName));
        row.slider->setRange(p.sliderMin(), p.sliderMax());
        row.slider->setMinimumWidth(scaled(220));
        grid->addWidget(row.slider, r, 1);
        connect(row.slider, &QAbstractSlider::sliderPressed, controller, &DspController::beginGesture);
        connect(row.slider, &QAbstractSlider::sliderReleased, controller, &DspController::endGesture);
        connect(row.slider, &QSlider::valueChanged, this,
                [this, r](int position) { emit signal_edited(m_table[r].member, m_table[r].fromSlider(position)); });
    }
    switch (p.kind) {
    case K::Number:
        row.spin = new StyledSpinBox(owner);
        row.spin->setObjectName(QLatin1String(p.controlName));
        row.spin->setRange(p.min, p.max);
        row.spin->setDecimals(p.decimals);
        row.spin->setSingleStep(p.step);
        grid->addWidget(row.spin, r, 2);
        connect(row.spin, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
                [this, r](double v) { emit signal_edited(m_table[r].member, v); });
        break;
    case K::Steps:
        row.stepLabel = new QLabel(owner);
        row.stepLabel->setObjectName(QLatin1String(p.controlName));
        row.stepLabel->setMinimumWidth(scaled(60));
        grid->addWidget(row.stepLabel, r, 2);
        break;
    case K::Choice:
    case K::Channel:
        row.choice = new QComboBox(owner);
        row.choice->setObjectName(QLatin1String(p.controlName));
        for (Tx t : p.choices)
            row.choice->addItem(tx(t));
        grid->addWidget(row.choice, r, 1, 1, 2);
        connect(row.choice, QOverload<int>::of(&QComboBox::activated), this,
                [this, r](int i) { emit signal_edited(m_table[r].member, i); });
        break;
    case K::Toggle: {
        auto *button = new QPushButton(owner);
        button->setObjectName(QLatin1String(p.controlName));
        button->setCheckable(true);
        row.toggle = button;
        grid->addWidget(button, r, 1, 1, 2, Qt::AlignLeft);
        connect(button, &QPushButton::toggled, this, [this, r, button](bool on) {
            button->setText(tx(on ? Tx::DspParamOn : Tx::DspParamOff));
            emit signal_edited(m_table[r].member, on ? 1.0 : 0.0);
        });
        break;
    }
    }
    if (p.unit)
        grid->addWidget(new QLabel(tx(*p.unit), owner), r, 3);
}

int DspParamRows::rowOf(const char *member) const
{
    for (int r = 0; r < m_table.size(); ++r)
        if (std::strcmp(m_table[r].member, member) == 0)
            return r;
    return -1;
}

void DspParamRows::show(const std::function<std::optional<double>(const char *)> &value)
{
    for (int r = 0; r < m_table.size(); ++r)
        write(r, value(m_table[r].member).value_or(0.0));
}

void DspParamRows::setChannels(const char *member, const QStringList &names)
{
    const int r = rowOf(member);
    QComboBox *choice = r < 0 ? nullptr : m_rows[r].choice;
    if (!choice)
        return;
    QStringList shown;
    for (int i = 0; i < choice->count(); ++i)
        shown << choice->itemText(i);
    if (shown == names)
        return;
    const QSignalBlocker blocker(choice);
    choice->clear();
    choice->addItems(names);
}

void DspParamRows::setMaximum(const char *member, double max)
{
    const int r = rowOf(member);
    if (r < 0 || m_table[r].max == max)
        return;
    m_table[r].max = max;
    for (QWidget *w : {static_cast<QWidget *>(m_rows[r].spin), static_cast<QWidget *>(m_rows[r].slider)}) {
        const QSignalBlocker blocker(w);
        if (auto *spin = qobject_cast<QDoubleSpinBox *>(w))
            spin->setMaximum(max);
        else if (auto *slider = qobject_cast<QSlider *>(w))
            slider->setMaximum(m_table[r].sliderMax());
    }
}

void DspParamRows::write(int r, double value)
{
    const DspParam &p = m_table[r];
    Row &row = m_rows[r];
    const double shown = p.kind == DspParam::Kind::Channel ? value : p.shown(value);
    if (row.slider) {
        const QSignalBlocker blocker(row.slider);
        row.slider->setValue(p.sliderPosition(shown));
    }
    if (row.spin) {
        const QSignalBlocker blocker(row.spin);
        row.spin->setValue(shown);
    }
    if (row.stepLabel)
        row.stepLabel->setText(Dynamics::ratioLabel(shown));
    if (row.choice) {
        const QSignalBlocker blocker(row.choice);
        row.choice->setCurrentIndex(int(std::lround(shown)));
    }
    if (row.toggle) {
        const QSignalBlocker blocker(row.toggle);
        row.toggle->setChecked(shown != 0.0);
        row.toggle->setText(tx(shown != 0.0 ? Tx::DspParamOn : Tx::DspParamOff));
    }
}
