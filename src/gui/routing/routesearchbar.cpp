#include "gui/routing/routesearchbar.h"

#include <QCompleter>
#include <QStringListModel>

RouteSearchBar::RouteSearchBar(const RouteGrid &grid, RouteGrid::Axis axis, QWidget *parent)
    : QLineEdit(parent)
    , m_grid(grid)
    , m_axis(axis)
{
    setClearButtonEnabled(true);
    m_model = new QStringListModel(this);
    m_completer = new QCompleter(m_model, this);
    m_completer->setCaseSensitivity(Qt::CaseInsensitive);
    m_completer->setFilterMode(Qt::MatchContains);
    m_completer->setCompletionMode(QCompleter::PopupCompletion);
    m_completer->setMaxVisibleItems(14);
    setCompleter(m_completer);
    connect(m_completer, QOverload<const QString &>::of(&QCompleter::activated), this, &RouteSearchBar::search);
    connect(this, &QLineEdit::returnPressed, this, [this] { search(text()); });
}

void RouteSearchBar::markStale()
{
    m_stale = true;
    if (hasFocus())
        refreshNames();
}

void RouteSearchBar::focusInEvent(QFocusEvent *event)
{
    // Reading thousands of names on every rebuild is wasted while nobody searches.
    refreshNames();
    QLineEdit::focusInEvent(event);
}

void RouteSearchBar::refreshNames()
{
    if (!m_stale)
        return;
    m_stale = false;
    m_entries = m_grid.searchEntries(m_axis);
    QStringList names;
    names.reserve(m_entries.size());
    for (const RouteGrid::SearchEntry &e : qAsConst(m_entries))
        names.append(e.text);
    m_model->setStringList(names);
}

void RouteSearchBar::search(const QString &text)
{
    refreshNames();
    const QVector<int> found = RouteGrid::matchingEntries(m_entries, text);
    if (found.isEmpty())
        return;
    const RouteGrid::SearchEntry e = m_entries.at(found.first());
    emit signal_found(m_axis, e.ownerId, e.channel);
}
