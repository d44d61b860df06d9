#pragma once

#include "core/routing/routegrid.h"

#include <QLineEdit>

class QCompleter;
class QStringListModel;

/// The search field of one axis of the routing grid. It completes every
/// owner and channel name, folded or not; Enter or a chosen completion
/// reports the line RouteGrid's match rule picks.
class RouteSearchBar : public QLineEdit
{
    Q_OBJECT
public:
    RouteSearchBar(const RouteGrid &grid, RouteGrid::Axis axis, QWidget *parent = nullptr);

    RouteGrid::Axis axis() const { return m_axis; }
    /// The grid was rebuilt: the names are read again when the field is next
    /// used (at once when it has the focus).
    void markStale();
    /// Looks the text up and reports the best match, if any.
    void search(const QString &text);

signals:
    /// The text found an owner (channel 0) or one of its channels.
    void signal_found(RouteGrid::Axis axis, const QString &ownerId, int channel);

protected:
    void focusInEvent(QFocusEvent *event) override;

private:
    void refreshNames();

    const RouteGrid &m_grid;
    RouteGrid::Axis m_axis;
    QStringListModel *m_model;
    QCompleter *m_completer;
    QVector<RouteGrid::SearchEntry> m_entries;
    bool m_stale = true;
};
