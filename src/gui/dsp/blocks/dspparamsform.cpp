#include "gui/dsp/blocks/dspparamsform.h"

#include "gui/dsp/blocks/dspparamrows.h"

#include "core/app/scalefactors.h"
#include "core/dsp/dspcontroller.h"
#include "gui/widgets/styledslider.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>

#include <cmath>

namespace {
constexpr int kMeterFloorDb = -60;
} // namespace

DspParamsForm::DspParamsForm(DspController *controller, quint64 uid, const QString &title,
                             const QVector<DspParam> &table, ChannelNames names, QWidget *parent)
    : DspBlockBaseForm(controller, uid, title, parent)
    , m_names(std::move(names))
    , m_rows(new QGridLayout)
    , m_body(new QHBoxLayout)
{
    m_body->addLayout(m_rows, 1);
    contentLayout()->addLayout(m_body);
    m_table = new DspParamRows(table, m_rows, this, controller);
    connect(m_table, &DspParamRows::signal_edited, this, &DspParamsForm::edited);
    auto *bottom = new QHBoxLayout;
    bottom->addStretch();
    addBypassButton(bottom);
    contentLayout()->addLayout(bottom);
    setMinimumWidth(scaled(520));
    connect(controller, &DspController::signal_levels, this, [this](DspSide side, const QVector<double> &dbfs) {
        const auto place = this->controller()->place(this->uid());
        if (place && place->side == side && place->channel < dbfs.size())
            channelLevel(dbfs[place->channel]);
    });
}

QSlider *DspParamsForm::addMeter(QGridLayout *grid, int column, const char *name, const char *labelName, Tx caption)
{
    auto *meter = new QSlider(Qt::Vertical, this);
    meter->setObjectName(QLatin1String(name));
    meter->setRange(kMeterFloorDb, 0);
    meter->setValue(kMeterFloorDb);
    meter->setAttribute(Qt::WA_TransparentForMouseEvents);
    meter->setFocusPolicy(Qt::NoFocus);
    meter->setMinimumHeight(scaled(160));
    auto *value = new QLabel(QString::number(kMeterFloorDb), this);
    value->setObjectName(QLatin1String(labelName));
    value->setAlignment(Qt::AlignCenter);
    connect(meter, &QSlider::valueChanged, value, [value](int v) { value->setText(QString::number(v)); });
    grid->addWidget(new QLabel(tx(caption), this), 0, column, Qt::AlignHCenter);
    grid->addWidget(meter, 1, column, Qt::AlignHCenter);
    grid->addWidget(value, 2, column, Qt::AlignHCenter);
    return meter;
}

void DspParamsForm::showLevel(QSlider *meter, double db)
{
    meter->setValue(std::isfinite(db) ? int(std::lround(db)) : -90);
}

void DspParamsForm::refresh()
{
    const DspBlock b = shown();
    for (const DspParam &p : m_table->table()) {
        if (p.kind != DspParam::Kind::Channel)
            continue;
        // The far end of an echo canceller may be an output; every other channel member names an input.
        const bool outputs = QLatin1String(p.member) == QLatin1String("farCh") &&
                             DspParams::value(b, "farFromOut").value_or(0.0) != 0.0;
        const DspSide side = outputs ? DspSide::Out : DspSide::In;
        QStringList names;
        for (int i = 0; i < controller()->channelCount(side); ++i)
            names << (m_names ? m_names(side, i) : QString::number(i + 1));
        m_table->setChannels(p.member, names);
    }
    m_table->show([&b](const char *member) { return DspParams::value(b, member); });
    refreshBypassButton();
    valuesChanged();
}

void DspParamsForm::edited(const char *member, double value)
{
    DspBlock b = shown();
    if (DspParam::isChange(DspParams::value(b, member).value_or(0.0), value)) {
        DspParams::setValue(b, member, value);
        m_userEdited = true;
        change(b);
    }
    refresh(); // the slider's twin follows, and a change may move other rows (the far end's side)
}
