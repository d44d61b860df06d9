#include "gui/monitor/formnettitle.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "gui/widgets/style.h"

#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>

FormNetTitle::FormNetTitle(QWidget *parent)
    : ColumnRow(stretches(), kTipWidth, parent)
{
    setObjectName(QStringLiteral("wd_netTitle"));
    setFixedHeight(scaled(40));
    setColors(QColor(0xA9, 0xA9, 0xB7), QColor(33, 34, 39));
    m_sort = new QComboBox(this);
    m_sort->setObjectName(QStringLiteral("com_sort"));
    m_sort->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_sort->addItems({QString(), QString(), QString()});
    m_sortLabel = new QLabel(this);
    m_sortLabel->setObjectName(QStringLiteral("lb_sort"));
    m_sortLabel->setBuddy(m_sort);
    m_sortLabel->setFont(Style::font(10.5));
    // The selector sits beside the caption of the first column, behind its own label.
    cellLayout(Name)->addWidget(m_sortLabel);
    cellLayout(Name)->addWidget(m_sort);
    connect(m_sort, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this] { emit signal_sortChanged(sortOrder()); });
    retranslate();
}

const QVector<int> &FormNetTitle::stretches()
{
    static const QVector<int> s{22, 9, 11, 8, 8, 9, 9, 16, 9};
    return s;
}

NetStateRow::SortOrder FormNetTitle::sortOrder() const
{
    return NetStateRow::SortOrder(qMax(0, m_sort->currentIndex()));
}

void FormNetTitle::setSortOrder(NetStateRow::SortOrder order)
{
    const QSignalBlocker quiet(m_sort);
    m_sort->setCurrentIndex(int(order));
}

void FormNetTitle::retranslate()
{
    static const Tx captions[ColumnCount] = {Tx::ColName,       Tx::ColModel,         Tx::ColDevId,
                                             Tx::ColSampleRate, Tx::NetColPacketTime, Tx::NetColDelay,
                                             Tx::NetColTemp,    Tx::NetColBandwidth,  Tx::NetColUptime};
    for (int c = 0; c < ColumnCount; ++c)
        setText(c, tx(captions[c]));
    m_sort->setItemText(NetStateRow::Default, tx(Tx::NetSortDefault));
    m_sort->setItemText(NetStateRow::Ascending, tx(Tx::NetSortAscending));
    m_sort->setItemText(NetStateRow::Descending, tx(Tx::NetSortDescending));
    m_sort->setToolTip(tx(Tx::NetSortLabel));
    m_sortLabel->setText(tx(Tx::NetSortBoxLabel));
    m_sortLabel->setToolTip(tx(Tx::NetSortLabel));
}

void FormNetTitle::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    ColumnRow::changeEvent(event);
}
