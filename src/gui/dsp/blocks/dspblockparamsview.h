#pragma once

#include "gui/widgets/framelessdialog.h"

#include <QJsonObject>

class DspController;
class QLabel;
class QTableWidget;

/// A block's parameters (or a node's members) as the document holds them, read-only: what a click on a block
/// opens until the block kind has an editor of its own. It follows the document and closes when its block is
/// removed.
class DspBlockParamsView : public FramelessDialog
{
    Q_OBJECT
public:
    /// A block's obj members.
    DspBlockParamsView(DspController *controller, quint64 uid, const QString &title, QWidget *parent = nullptr);
    /// A node's own members and its channels' members (automixer, echo cancellation).
    DspBlockParamsView(DspController *controller, int nodeId, const QString &title, QWidget *parent = nullptr);

    quint64 uid() const { return m_uid; }
    int nodeId() const { return m_nodeId; }
    /// The block's current tag, as the envelope of its requests carries it; empty for a node.
    QString tag() const;
    /// Rows as shown: member name and value text.
    QVector<QPair<QString, QString>> rows() const;

private:
    void build(const QString &title);
    void refresh();
    void addRows(const QJsonObject &members, const QString &prefix);

    DspController *m_controller;
    quint64 m_uid = 0;
    int m_nodeId = -1;
    QString m_title;
    QTableWidget *m_table;
};
