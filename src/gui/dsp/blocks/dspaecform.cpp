#include "gui/dsp/blocks/dspaecform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "gui/widgets/styledslider.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>

#include <algorithm>
#include <cmath>

namespace {

// Channel gains run as on the channel strip.
constexpr double kGainMin = -72.0;
constexpr double kGainMax = 12.0;

QString indexed(const char *name, int port)
{
    return QLatin1String(name) + QLatin1Char('_') + QString::number(port);
}

} // namespace

DspAecForm::DspAecForm(DspController *controller, ChannelNames names, QWidget *parent)
    : DspNodeForm(controller, DspNode::EchoCancel, std::move(names), parent)
    , m_grid(new QGridLayout)
{
    setObjectName(QStringLiteral("DspAecForm"));
    setTitle(tx(Tx::DspAecConfig));
    auto *inner = new QWidget;
    inner->setLayout(m_grid);
    m_grid->setHorizontalSpacing(scaled(10));
    auto *scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidget(inner);
    // The rows stand on the dialog's own background, not on the scroll area's light default.
    scroll->viewport()->setAutoFillBackground(false);
    inner->setAutoFillBackground(false);
    m_scroll = scroll;
    contentLayout()->addWidget(scroll);
    int column = 0;
    for (Tx t : {Tx::NodeFormChannel, Tx::NodeFormNearEnd, Tx::NodeFormFarEnd})
        m_grid->addWidget(new QLabel(tx(t), inner), 0, column++);
    for (const DspParam &p : DspParams::aecChannel())
        m_grid->addWidget(new QLabel(tx(p.label), inner), 0, column++);
    m_grid->addWidget(new QLabel(tx(Tx::NodeFormGainDb), inner), 0, column++);
    m_grid->addWidget(new QLabel(tx(Tx::NodeFormMute), inner), 0, column++);
    setMinimumHeight(scaled(360));
    refresh();
}

DspChannel DspAecForm::shownPort(int port) const
{
    const DspNode *n = shown();
    return n && port < n->portArr.size() ? n->portArr[port] : DspChannel();
}

void DspAecForm::rebuild(int channels)
{
    QWidget *inner = m_grid->parentWidget();
    for (Row &r : m_rows) {
        QList<QWidget *> widgets{r.nearEnd, r.farEnd, r.gain, r.mute};
        for (QAbstractButton *b : r.toggles)
            widgets << b;
        for (QSpinBox *s : r.levels)
            widgets << s;
        for (QWidget *w : widgets)
            delete w;
    }
    for (QLabel *l : inner->findChildren<QLabel *>(QStringLiteral("lb_channel")))
        delete l;
    m_rows.clear();
    const QVector<DspParam> &table = DspParams::aecChannel();
    const int inputs = controller()->channelCount(DspSide::In);
    for (int port = 0; port < channels; ++port) {
        const int line = port + 1;
        Row r;
        auto *name = new QLabel(QString::number(port + 1), inner);
        name->setObjectName(QStringLiteral("lb_channel"));
        m_grid->addWidget(name, line, 0);

        r.nearEnd = new QComboBox(inner);
        r.nearEnd->setObjectName(indexed("cb_near", port));
        for (int i = 0; i < inputs; ++i)
            r.nearEnd->addItem(inputName(i));
        m_grid->addWidget(r.nearEnd, line, 1);
        connect(r.nearEnd, QOverload<int>::of(&QComboBox::activated), this,
                [this, port](int i) { edited(port, [i](DspChannel &c) { c.nearArr = {i}; }); });

        r.farEnd = new QPushButton(inner);
        r.farEnd->setObjectName(indexed("pb_far", port));
        r.farEnd->setMinimumWidth(scaled(120));
        auto *menu = new QMenu(r.farEnd);
        for (int i = 0; i < inputs; ++i) {
            QAction *a = menu->addAction(inputName(i));
            a->setObjectName(indexed("act_far", i));
            a->setCheckable(true);
            connect(a, &QAction::triggered, this, [this, port, i](bool on) {
                edited(port, [i, on](DspChannel &c) {
                    c.farArr.removeAll(i);
                    if (on)
                        c.farArr.append(i);
                    std::sort(c.farArr.begin(), c.farArr.end());
                });
            });
        }
        r.farEnd->setMenu(menu);
        m_grid->addWidget(r.farEnd, line, 2);

        for (int t = 0; t < table.size(); ++t) {
            const DspParam &p = table[t];
            const QString member = QLatin1String(p.member);
            if (p.kind == DspParam::Kind::Toggle) {
                auto *b = new QPushButton(inner);
                b->setObjectName(indexed(p.controlName, port));
                b->setCheckable(true);
                connect(b, &QPushButton::toggled, this, [this, port, member](bool on) {
                    edited(port, [member, on](DspChannel &c) {
                        DspParams::setValue(c, DspNode::EchoCancel, member.toLatin1().constData(), on ? 1 : 0);
                    });
                });
                b->setFixedWidth(scaled(70));
                r.toggles << b;
                r.levels << nullptr;
                m_grid->addWidget(b, line, 3 + t);
            } else {
                auto *s = new QSpinBox(inner);
                s->setObjectName(indexed(p.controlName, port));
                s->setRange(int(p.min), int(p.max));
                s->setSingleStep(int(p.step));
                s->setFixedWidth(scaled(70));
                connect(s, QOverload<int>::of(&QSpinBox::valueChanged), this, [this, port, member](int v) {
                    edited(port, [member, v](DspChannel &c) {
                        DspParams::setValue(c, DspNode::EchoCancel, member.toLatin1().constData(), v);
                    });
                });
                r.toggles << nullptr;
                r.levels << s;
                m_grid->addWidget(s, line, 3 + t);
            }
        }
        const int after = 3 + table.size();
        r.gain = new StyledSpinBox(inner);
        r.gain->setObjectName(indexed("ds_gain", port));
        r.gain->setRange(kGainMin, kGainMax);
        r.gain->setDecimals(1);
        r.gain->setSingleStep(0.5);
        r.gain->setFixedWidth(scaled(90));
        m_grid->addWidget(r.gain, line, after);
        connect(r.gain, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, [this, port](double v) {
            if (std::abs(v - shownPort(port).gainDb) < 1e-6 ||
                !controller()->setNodeChannelGain(nodeId(), port, v).isEmpty())
                refresh();
        });
        auto *mute = new QPushButton(tx(Tx::NodeFormMute), inner);
        mute->setObjectName(indexed("pb_mute", port));
        mute->setCheckable(true);
        r.mute = mute;
        m_grid->addWidget(mute, line, after + 1);
        connect(mute, &QPushButton::toggled, this, [this, port](bool on) {
            if (!controller()->setNodeChannelMute(nodeId(), port, on).isEmpty())
                refresh();
        });
        m_rows << r;
    }
    m_grid->setRowStretch(channels + 1, 1);
    // As wide as the rows, up to most of a screen; the rest scrolls.
    m_scroll->setMinimumWidth(qMin(inner->sizeHint().width() + scaled(24), scaled(1600)));
}

void DspAecForm::writeRow(int port, const DspChannel &c)
{
    Row &r = m_rows[port];
    {
        const QSignalBlocker blocker(r.nearEnd);
        r.nearEnd->setCurrentIndex(c.nearArr.isEmpty() ? -1 : c.nearArr.first());
    }
    QStringList far;
    for (QAction *a : r.farEnd->menu()->actions()) {
        const int i = r.farEnd->menu()->actions().indexOf(a);
        const QSignalBlocker blocker(a);
        a->setChecked(c.farArr.contains(i));
        if (a->isChecked())
            far << a->text();
    }
    r.farEnd->setText(far.isEmpty() ? tx(Tx::NodeFormNone) : far.join(QStringLiteral(", ")));
    const QVector<DspParam> &table = DspParams::aecChannel();
    for (int t = 0; t < table.size(); ++t) {
        const double v = table[t].shown(DspParams::value(c, DspNode::EchoCancel, table[t].member).value_or(0.0));
        if (QAbstractButton *b = r.toggles[t]) {
            const QSignalBlocker blocker(b);
            b->setChecked(v != 0.0);
            b->setText(tx(v != 0.0 ? Tx::DspParamOn : Tx::DspParamOff));
        } else {
            setQuietly(r.levels[t], int(std::lround(v)));
        }
    }
    setQuietly(r.gain, c.gainDb);
    const QSignalBlocker blocker(r.mute);
    r.mute->setChecked(c.mute);
}

void DspAecForm::refresh()
{
    const DspNode *n = shown();
    const int channels = n ? n->portNum() : 0;
    if (channels != m_rows.size())
        rebuild(channels);
    for (int port = 0; port < channels; ++port)
        writeRow(port, n->portArr[port]);
}

void DspAecForm::edited(int port, const std::function<void(DspChannel &)> &set)
{
    DspChannel c = shownPort(port);
    const DspChannel before = c;
    set(c);
    const bool same = c.nearArr == before.nearArr && c.farArr == before.farArr && c.hasAec == before.hasAec &&
                      c.aecLevel == before.aecLevel && c.hasAgc == before.hasAgc && c.hasAns == before.hasAns &&
                      c.ansLevel == before.ansLevel;
    if (same || !controller()->setAecChannel(port, c).isEmpty())
        refresh();
}
