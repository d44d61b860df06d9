#pragma once

#include "core/routing/bulkroute.h"
#include "gui/widgets/framelessdialog.h"

class QBoxLayout;
class QLabel;
class QTreeWidget;
class QTreeWidgetItem;

/// Pieces the batch dialogs share: flat lists whose long names are cut with
/// "…" (the full text in the cell's tool tip) and a bottom row that can
/// resize the frameless window.
namespace RouteDialogParts {

QTreeWidget *list(QWidget *parent, const QString &objectName, const QStringList &headers, bool flat);
/// Sets a cell's text with the same text as tool tip, so that a cut cell can still be read.
void setCell(QTreeWidgetItem *item, int column, const QString &text);
/// Columns as wide as their contents up to cap; the list's width and height
/// hints follow, showing up to maxRows rows without scrolling.
void fitColumns(QTreeWidget *list, int cap, int maxRows);
QLabel *heading(QWidget *parent, const QString &objectName, const QString &text);
/// The bottom row: a stretch, the buttons in order, a size grip in the corner.
QBoxLayout *buttonRow(QWidget *dialog, const QList<QWidget *> &buttons);
/// Wide enough for the lists' contents, no wider than most of the screen.
void resizeToContents(QWidget *dialog);

} // namespace RouteDialogParts

/// One confirmation for a whole batch of route changes, and its result.
/// A batch that changes nothing has only a Close button.
class RouteBatchDialog : public FramelessDialog
{
    Q_OBJECT
public:
    /// The confirmation: what changes (tw_changes), each question once, the
    /// refused changes with their reasons (tw_refused) and how many are
    /// already as asked; accepted only through pb_apply.
    RouteBatchDialog(const QString &title, const RouteBatch &batch, const RouteNetwork &network,
                     QWidget *parent = nullptr);
    /// The result: how many were made, and the refused ones with their reasons.
    RouteBatchDialog(const QString &title, int done, int total, const QVector<RouteRefusal> &refused,
                     const RouteNetwork &network, QWidget *parent = nullptr);

    /// True only when the operator chose to apply a batch with changes.
    static bool confirm(QWidget *parent, const QString &title, const RouteBatch &batch, const RouteNetwork &network);
    static void showResult(QWidget *parent, const QString &title, int done, int total,
                           const QVector<RouteRefusal> &refused, const RouteNetwork &network);

private:
    void addRefusals(const QString &headingText, const QVector<RouteRefusal> &refused, const RouteNetwork &network);
    void addCloseRow();
};
