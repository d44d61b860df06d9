#include "gui/routing/routebatchdialog.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/routing/routelabels.h"
#include "gui/widgets/style.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSizeGrip>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QVBoxLayout>

#include <QFontMetrics>

namespace {

// A list that asks for the room its fitted columns and rows need, so the
// dialog opens showing them. When it is given less, the widest columns give
// way first and are cut, so that short ones (a state, a channel) stay whole.
class FitList : public QTreeWidget
{
public:
    using QTreeWidget::QTreeWidget;
    QSize fit;
    QVector<int> natural;
    QSize sizeHint() const override { return fit.isValid() ? fit : QTreeWidget::sizeHint(); }

protected:
    void resizeEvent(QResizeEvent *event) override
    {
        QTreeWidget::resizeEvent(event);
        shareWidth();
    }

private:
    // Each column gives up the same share of its width, none below a readable minimum.
    void shareWidth()
    {
        if (natural.isEmpty())
            return;
        int total = 0;
        for (int w : natural)
            total += w;
        const double share = total > viewport()->width() ? double(viewport()->width()) / total : 1.0;
        // The last column stretches into whatever is left.
        for (int c = 0; c + 1 < natural.size(); ++c)
            setColumnWidth(c, qMax(qMin(natural.at(c), scaled(60)), int(natural.at(c) * share)));
    }
};

QString afterText(const RouteNetwork &network, const RouteSource &s)
{
    return s.isNone() ? tx(Tx::BatchCleared) : routeSourceLabel(network, s);
}

} // namespace

namespace RouteDialogParts {

QTreeWidget *list(QWidget *parent, const QString &objectName, const QStringList &headers, bool flat)
{
    auto *t = new FitList(parent);
    t->setObjectName(objectName);
    t->setColumnCount(headers.size());
    t->setHeaderLabels(headers);
    t->setRootIsDecorated(!flat);
    t->setItemsExpandable(!flat);
    t->setAlternatingRowColors(true);
    t->setSelectionMode(QAbstractItemView::NoSelection);
    t->setFocusPolicy(Qt::NoFocus);
    // Cut in the middle: a device's long name keeps its channel at the end, which tells the rows apart.
    t->setTextElideMode(Qt::ElideMiddle);
    t->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    t->setUniformRowHeights(true);
    t->setStyleSheet(QStringLiteral("QTreeView::item { padding: %1px %2px; }").arg(scaled(3)).arg(scaled(2)));
    t->header()->setStretchLastSection(true);
    t->header()->setSectionsMovable(false);
    t->header()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    return t;
}

void setCell(QTreeWidgetItem *item, int column, const QString &text)
{
    item->setText(column, text);
    item->setToolTip(column, text);
}

void fitColumns(QTreeWidget *list, int cap, int maxRows)
{
    auto *fitList = dynamic_cast<FitList *>(list);
    list->ensurePolished();  // the style sheet sets the font the texts are measured in
    const int pad = scaled(24);  // the item padding and the focus margin
    QVector<int> natural(list->columnCount());
    for (int c = 0; c < natural.size(); ++c)
        natural[c] = list->header()->sectionSizeHint(c);
    int rows = 0;
    for (QTreeWidgetItemIterator it(list); *it; ++it) {
        ++rows;
        const QTreeWidgetItem *item = *it;
        if (item->isFirstColumnSpanned())
            continue;  // a row across the list sizes no column
        int depth = 0;
        for (const QTreeWidgetItem *p = item->parent(); p; p = p->parent())
            ++depth;
        for (int c = 0; c < natural.size(); ++c) {
            const QFont font = item->data(c, Qt::FontRole).isValid() ? item->font(c) : list->font();
            int w = QFontMetrics(font).horizontalAdvance(item->text(c)) + pad;
            if (c == 0 && list->rootIsDecorated())
                w += list->indentation() * (depth + 1);
            natural[c] = qMax(natural.at(c), w);
        }
    }
    int width = 0;
    for (int c = 0; c < natural.size(); ++c) {
        natural[c] = qMin(natural.at(c), cap);
        list->setColumnWidth(c, natural.at(c));
        width += natural.at(c);
    }
    const int rowHeight = qMax(list->sizeHintForRow(0), list->fontMetrics().height() + scaled(6));
    const int frame = 2 * list->frameWidth();
    const int header = list->header()->sizeHint().height();
    const QSize fit(width + frame + list->verticalScrollBar()->sizeHint().width(),
                    header + qBound(1, rows, maxRows) * rowHeight + frame + scaled(2));
    if (fitList) {
        fitList->fit = fit;
        fitList->natural = natural;
    }
    list->setMinimumHeight(header + qMin(rows, 3) * rowHeight + frame);
    // A short list does not take room from the others.
    if (rows <= maxRows)
        list->setMaximumHeight(fit.height());
}

QLabel *heading(QWidget *parent, const QString &objectName, const QString &text)
{
    auto *l = new QLabel(text, parent);
    l->setObjectName(objectName);
    l->setWordWrap(true);
    l->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kTextBright)));
    return l;
}

QBoxLayout *buttonRow(QWidget *dialog, const QList<QWidget *> &buttons)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(scaled(8));
    row->addStretch(1);
    for (QWidget *b : buttons) {
        b->setMinimumWidth(scaled(90));
        row->addWidget(b);
    }
    // A frameless window has no border to drag: the grip is the way to make it larger.
    auto *grip = new QSizeGrip(dialog);
    grip->setObjectName(QStringLiteral("grip"));
    row->addWidget(grip, 0, Qt::AlignBottom | Qt::AlignRight);
    return row;
}

void resizeToContents(QWidget *dialog)
{
    QSize want = dialog->sizeHint();
    if (const QScreen *screen = dialog->screen()) {
        const QSize room = screen->availableGeometry().size() * 9 / 10;
        want = want.boundedTo(room);
    }
    dialog->resize(want.expandedTo(dialog->minimumSizeHint()).expandedTo(QSize(scaled(460), 0)));
}

} // namespace RouteDialogParts

using namespace RouteDialogParts;

RouteBatchDialog::RouteBatchDialog(const QString &title, const RouteBatch &batch, const RouteNetwork &network,
                                   QWidget *parent)
    : FramelessDialog(parent)
{
    setObjectName(QStringLiteral("RouteBatchDialog"));
    setTitle(title);
    QVBoxLayout *l = contentLayout();
    QPushButton *apply = nullptr;
    QPushButton *cancel = nullptr;
    if (batch.changes.isEmpty()) {
        l->addWidget(heading(this, QStringLiteral("lb_nothing"), tx(Tx::BatchNothing)));
    } else {
        l->addWidget(heading(this, QStringLiteral("lb_changes"), tx(Tx::BatchChangesHeading)));
        QTreeWidget *changes = list(this, QStringLiteral("tw_changes"),
                                    {tx(Tx::BatchColReceive), tx(Tx::BatchColNow), tx(Tx::BatchColAfter)}, true);
        bool clears = false;
        for (const PlannedRoute &r : batch.changes) {
            auto *item = new QTreeWidgetItem(changes);
            setCell(item, 0, receiveChannelLabel(network, r.change.rxDevId, r.change.rxCh));
            setCell(item, 1, routeSourceLabel(network, r.change.before));
            setCell(item, 2, afterText(network, r.change.after));
            if (r.change.after.isNone()) {
                clears = true;
                item->setForeground(2, Style::kWarning);
            }
        }
        fitColumns(changes, scaled(440), 14);
        l->addWidget(changes, 3);

        const QStringList questions = batch.questions();
        if (!questions.isEmpty()) {
            l->addWidget(heading(this, QStringLiteral("lb_questions"), tx(Tx::BatchQuestionsHeading)));
            for (const QString &q : questions) {
                auto *label = new QLabel(QStringLiteral("•  ") + q, this);
                label->setObjectName(QStringLiteral("lb_question"));
                label->setWordWrap(true);
                label->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kWarning)));
                l->addWidget(label);
            }
        }

        const int n = batch.changes.size();
        // "Route" only when every change makes a route; clears among them make it "Apply".
        const QString applyText = clears ? (n == 1 ? tx(Tx::BatchApplyOne) : tx(Tx::BatchApplyMany).arg(n))
                                         : (n == 1 ? tx(Tx::BatchRouteOne) : tx(Tx::BatchRouteMany).arg(n));
        apply = new QPushButton(applyText, this);
        apply->setObjectName(QStringLiteral("pb_apply"));
        apply->setProperty("role", QStringLiteral("primary"));
        apply->setDefault(true);
        cancel = new QPushButton(tx(Tx::BatchCancel), this);
        cancel->setObjectName(QStringLiteral("pb_cancel"));
        connect(apply, &QPushButton::clicked, this, &QDialog::accept);
        connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    }

    addRefusals(tx(Tx::BatchRefusedHeading), batch.refused, network);
    if (!batch.unchanged.isEmpty())
        l->addWidget(heading(this, QStringLiteral("lb_unchanged"),
                             batch.unchanged.size() == 1 ? tx(Tx::BatchUnchangedOne)
                                                         : tx(Tx::BatchUnchangedMany).arg(batch.unchanged.size())));
    if (!apply) {
        addCloseRow();
        return;
    }
    l->addLayout(buttonRow(this, {cancel, apply}));
    resizeToContents(this);
}

RouteBatchDialog::RouteBatchDialog(const QString &title, int done, int total, const QVector<RouteRefusal> &refused,
                                   const RouteNetwork &network, QWidget *parent)
    : FramelessDialog(parent)
{
    setObjectName(QStringLiteral("RouteBatchDialog"));
    setTitle(title);
    contentLayout()->addWidget(heading(this, QStringLiteral("lb_done"), tx(Tx::BatchResultDone).arg(done).arg(total)));
    addRefusals(tx(Tx::BatchResultRefused), refused, network);
    addCloseRow();
}

void RouteBatchDialog::addRefusals(const QString &headingText, const QVector<RouteRefusal> &refused,
                                   const RouteNetwork &network)
{
    if (refused.isEmpty())
        return;
    QLabel *h = heading(this, QStringLiteral("lb_refused"), headingText);
    h->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kError)));
    contentLayout()->addWidget(h);
    QTreeWidget *t = list(this, QStringLiteral("tw_refused"), {tx(Tx::BatchColReceive), tx(Tx::BatchColSource)}, true);
    t->setIndentation(scaled(12));
    for (const RouteRefusal &r : refused) {
        auto *item = new QTreeWidgetItem(t);
        setCell(item, 0, receiveChannelLabel(network, r.change.rxDevId, r.change.rxCh));
        setCell(item, 1, afterText(network, r.change.after));
        // The reason is what the operator acts on: a line of its own, as wide as the list.
        auto *reason = new QTreeWidgetItem(item);
        reason->setFirstColumnSpanned(true);
        setCell(reason, 0, r.reason);
        reason->setForeground(0, Style::kError);
    }
    t->expandAll();
    fitColumns(t, scaled(440), 8);
    contentLayout()->addWidget(t, 2);
}

void RouteBatchDialog::addCloseRow()
{
    auto *close = new QPushButton(tx(Tx::BatchClose), this);
    close->setObjectName(QStringLiteral("pb_close"));
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    contentLayout()->addLayout(buttonRow(this, {close}));
    resizeToContents(this);
}

bool RouteBatchDialog::confirm(QWidget *parent, const QString &title, const RouteBatch &batch,
                               const RouteNetwork &network)
{
    RouteBatchDialog d(title, batch, network, parent);
    return d.exec() == QDialog::Accepted && !batch.changes.isEmpty();
}

void RouteBatchDialog::showResult(QWidget *parent, const QString &title, int done, int total,
                                  const QVector<RouteRefusal> &refused, const RouteNetwork &network)
{
    RouteBatchDialog d(title, done, total, refused, network, parent);
    d.exec();
}
