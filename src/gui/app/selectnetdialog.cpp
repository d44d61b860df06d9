#include "gui/app/selectnetdialog.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "gui/widgets/style.h"

#include <QCheckBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>
#include <QVariant>

NetItemForm::NetItemForm(const QString &address, const QString &adapter, QWidget *parent)
    : QWidget(parent)
    , m_address(address)
{
    setObjectName(QStringLiteral("net_item"));
    m_check = new QCheckBox(this);
    m_check->setObjectName(QStringLiteral("cb_net"));
    auto *addr = new QLabel(address, this);
    addr->setStyleSheet(QStringLiteral("color: rgb(230, 232, 238);"));
    addr->setFont(Style::font(11, true));
    auto *name = new QLabel(adapter, this);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(scaled(8), scaled(4), scaled(8), scaled(4));
    layout->addWidget(m_check);
    layout->addWidget(addr);
    layout->addSpacing(scaled(12));
    layout->addWidget(name, 1);
    connect(m_check, &QCheckBox::clicked, this, [this](bool on) {
        if (on)
            emit netItemSelectedSignal(m_address);
        else
            m_check->setChecked(true); // one ticked item at a time: untick by ticking another
    });
}

void NetItemForm::setChecked(bool checked)
{
    m_check->setChecked(checked);
}

bool NetItemForm::isChecked() const
{
    return m_check->isChecked();
}

SelectNetDialog::SelectNetDialog(QWidget *parent)
    : FramelessDialog(parent)
{
    setObjectName(QStringLiteral("dlg_selectNet"));
    setModal(false);
    setMinimumWidth(scaled(460));
    m_hint = new QLabel(this);
    m_hint->setWordWrap(true);
    contentLayout()->addWidget(m_hint);

    auto *listHost = new QWidget(this);
    m_list = new QVBoxLayout(listHost);
    m_list->setContentsMargins(0, 0, 0, 0);
    m_list->setSpacing(scaled(2));
    m_list->addStretch(1);
    auto *scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setWidget(listHost);
    scroll->setMinimumHeight(scaled(160));
    scroll->setStyleSheet(QStringLiteral("QScrollArea { border: 1px solid rgb(62, 65, 75); background: rgb(26, 27, 31); }"));
    contentLayout()->addWidget(scroll, 1);

    m_ok = new QPushButton(this);
    m_ok->setObjectName(QStringLiteral("ok_bt"));
    m_ok->setProperty("role", QStringLiteral("primary"));
    m_cancel = new QPushButton(this);
    m_cancel->setObjectName(QStringLiteral("cancel_bt"));
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_cancel);
    buttons->addWidget(m_ok);
    contentLayout()->addLayout(buttons);

    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_ok, &QPushButton::clicked, this, [this] {
        if (m_selected.isEmpty())
            return;
        accept();
        emit updateNetInterafceSignal();
    });
    retranslate();
}

void SelectNetDialog::setCandidates(const QStringList &addresses, const QStringList &adapters)
{
    m_candidates = addresses;
    qDeleteAll(m_items);
    m_items.clear();
    for (int i = 0; i < addresses.size(); ++i) {
        auto *item = new NetItemForm(addresses.at(i), adapters.value(i), this);
        connect(item, &NetItemForm::netItemSelectedSignal, this, &SelectNetDialog::on_check_changed);
        m_list->insertWidget(m_list->count() - 1, item);
        m_items.append(item);
    }
    if (!addresses.contains(m_selected))
        m_selected.clear();
    on_check_changed(m_selected);
    retranslate();
}

void SelectNetDialog::setSelectedAddress(const QString &address)
{
    on_check_changed(address);
}

void SelectNetDialog::on_check_changed(const QString &address)
{
    m_selected = address;
    for (NetItemForm *item : qAsConst(m_items))
        item->setChecked(item->address() == address);
    m_ok->setEnabled(!m_selected.isEmpty());
}

void SelectNetDialog::retranslate()
{
    setTitle(tx(Tx::ChooseNetTitle));
    m_hint->setText(m_candidates.isEmpty() ? tx(Tx::NoCandidates) : tx(Tx::ChooseNetHint));
    m_ok->setText(tx(Tx::Ok));
    m_cancel->setText(tx(Tx::Cancel));
}

void SelectNetDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
