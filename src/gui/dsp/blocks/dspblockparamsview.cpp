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
    : FramelessDialog(parent)
    , m_controller(controller)
    , m_uid(uid)
{
    build(title);
    connect(controller, &DspController::signal_blockChanged, this, [this](quint64 id) {
        if (id == m_uid)
            refresh();
    });
    // A removed block has nothing left to show; a whole new document may not hold it either.
    auto closeIfGone = [this] {
        if (!m_controller->block(m_uid))
            close();
        else
            refresh();
    };
    connect(controller, &DspController::signal_chainChanged, this, closeIfGone);
    connect(controller, &DspController::signal_documentLoaded, this, closeIfGone);
}

DspBlockParamsView::DspBlockParamsView(DspController *controller, int nodeId, const QString &title, QWidget *parent)
    : FramelessDialog(parent)
    , m_controller(controller)
    , m_nodeId(nodeId)
{
    build(title);
    connect(controller, &DspController::signal_nodeChanged, this, [this](int id) {
        if (id == m_nodeId)
            refresh();
    });
    connect(controller, &DspController::signal_channelChanged, this, &DspBlockParamsView::refresh);
    connect(controller, &DspController::signal_documentLoaded, this, &DspBlockParamsView::refresh);
}

void DspBlockParamsView::build(const QString &title)
{
    setObjectName(QStringLiteral("DspBlockParamsView"));
    setAttribute(Qt::WA_DeleteOnClose);
    m_title = title;
    setTitle(tx(Tx::DspParamsTitle).arg(title));
    m_table = new QTableWidget(0, 2, this);
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

QString DspBlockParamsView::tag() const
{
    return m_uid ? m_controller->blockFlag(m_uid) : QString();
}

QVector<QPair<QString, QString>> DspBlockParamsView::rows() const
{
    QVector<QPair<QString, QString>> out;
    for (int r = 0; r < m_table->rowCount(); ++r)
        out.append({m_table->item(r, 0)->text(), m_table->item(r, 1)->text()});
    return out;
}

void DspBlockParamsView::addRows(const QJsonObject &members, const QString &prefix)
{
    for (auto it = members.begin(); it != members.end(); ++it) {
        const int row = m_table->rowCount();
        m_table->insertRow(row);
        m_table->setItem(row, 0, new QTableWidgetItem(prefix + it.key()));
        m_table->setItem(row, 1, new QTableWidgetItem(valueText(it.value())));
    }
}

void DspBlockParamsView::refresh()
{
    m_table->setRowCount(0);
    if (m_uid) {
        const DspBlock *block = m_controller->block(m_uid);
        if (!block)
            return;
        addRows(QJsonDocument::fromJson(block->objToJson()).object(), QString());
        return;
    }
    // A node has no text form of its own: take it from the document's.
    const QJsonObject config = QJsonDocument::fromJson(m_controller->document().toJson()).object();
    const QJsonObject node = config.value(QStringLiteral("nodeArr")).toArray().at(m_nodeId).toObject();
    addRows(node.value(QStringLiteral("obj")).toObject(), QString());
    const QJsonArray ports = node.value(QStringLiteral("portArr")).toArray();
    for (int i = 0; i < ports.size(); ++i)
        addRows(ports.at(i).toObject(), QStringLiteral("%1 · ").arg(i + 1));
}
