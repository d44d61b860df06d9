#include "gui/dsp/blocks/dspblockparamsview.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"

#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

QString valueText(const QJsonValue &v)
{
    if (v.isString())
        return v.toString();
    if (v.isArray())
        return QString::fromUtf8(QJsonDocument(v.toArray()).toJson(QJsonDocument::Compact));
    if (v.isObject())
        return QString::fromUtf8(QJsonDocument(v.toObject()).toJson(QJsonDocument::Compact));
    return v.toVariant().toString();
}

} // namespace

DspBlockParamsView::DspBlockParamsView(DspController *controller, quint64 uid, const QString &title, QWidget *parent)
    : DspBlockBaseForm(controller, uid, tx(Tx::DspParamsTitle).arg(title), parent)
    , m_table(new QTableWidget(0, 2, this))
{
    setObjectName(QStringLiteral("DspBlockParamsView"));
    m_table->setObjectName(QStringLiteral("tw_params"));
    m_table->setHorizontalHeaderLabels({tx(Tx::DspParamsMember), tx(Tx::DspParamsValue)});
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    m_table->horizontalHeader()->setStretchLastSection(true);
    contentLayout()->addWidget(m_table);
    resize(scaled(460), scaled(420));
    refresh();
}

QVector<QPair<QString, QString>> DspBlockParamsView::rows() const
{
    QVector<QPair<QString, QString>> out;
    for (int r = 0; r < m_table->rowCount(); ++r)
        out.append({m_table->item(r, 0)->text(), m_table->item(r, 1)->text()});
    return out;
}

void DspBlockParamsView::refresh()
{
    m_table->setRowCount(0);
    const QJsonObject members = QJsonDocument::fromJson(shown().objToJson()).object();
    for (auto it = members.begin(); it != members.end(); ++it) {
        const int row = m_table->rowCount();
        m_table->insertRow(row);
        m_table->setItem(row, 0, new QTableWidgetItem(it.key()));
        m_table->setItem(row, 1, new QTableWidgetItem(valueText(it.value())));
    }
}
