#pragma once

#include "core/routing/routegrid.h"

#include <QPushButton>

/// One header button of the routing grid. It carries the line it stands for
/// (its axis and index), so the page never reads that from its object name,
/// and shows its name cut with "…" when the strip is too narrow for it.
class RouteHeaderButton : public QPushButton
{
    Q_OBJECT
public:
    explicit RouteHeaderButton(RouteGrid::Axis axis, QWidget *parent = nullptr);

    RouteGrid::Axis axis() const { return m_axis; }
    /// The line in its axis, or -1 while the button is not in use.
    int line() const { return m_line; }
    void setLine(int line) { m_line = line; }

    /// The whole text; text() is what fits.
    void setFullText(const QString &text);
    QString fullText() const { return m_full; }

    /// The hover look ("device", "flow", or empty for none).
    void setHover(const QString &hover);
    QString hover() const;
    /// Applies the style sheet again after its selector properties changed.
    void repolish();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void refreshText();

    RouteGrid::Axis m_axis;
    int m_line = -1;
    QString m_full;
};
