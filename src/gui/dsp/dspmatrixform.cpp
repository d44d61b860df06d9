#include "gui/dsp/dspmatrixform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "gui/dsp/dspmatrixmodel.h"
#include "gui/widgets/style.h"

#include <QDoubleSpinBox>
#include <QEvent>
#include <QFontMetrics>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <QWheelEvent>

namespace {

// Typing a gain in place: the matrix's range, one decimal.
class GainDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &, const QModelIndex &) const override
    {
        auto *box = new QDoubleSpinBox(parent);
        box->setObjectName(QStringLiteral("sb_cellGain"));
        box->setRange(DspMatrixModel::kMinGainDb, DspMatrixModel::kMaxGainDb);
        box->setDecimals(1);
        box->setSingleStep(DspMatrixForm::kWheelStepDb);
        box->setButtonSymbols(QAbstractSpinBox::NoButtons);
        box->setAlignment(Qt::AlignCenter);
        box->setFrame(false);
        return box;
    }
    void setEditorData(QWidget *editor, const QModelIndex &index) const override
    {
        auto *box = static_cast<QDoubleSpinBox *>(editor);
        box->setValue(index.data(Qt::EditRole).toDouble());
        box->selectAll();
    }
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override
    {
        auto *box = static_cast<QDoubleSpinBox *>(editor);
        box->interpretText();
        model->setData(index, box->value(), Qt::EditRole);
    }
};

} // namespace

DspMatrixForm::DspMatrixForm(DspController *controller, QWidget *parent)
    : QWidget(parent)
    , m_controller(controller)
    , m_model(new DspMatrixModel(controller, this))
    , m_view(new QTableView(this))
    , m_wheelGesture(new QTimer(this))
{
    setObjectName(QStringLiteral("DspMatrixForm"));
    m_view->setObjectName(QStringLiteral("tv_matrix"));
    m_view->setModel(m_model);
    m_view->setItemDelegate(new GainDelegate(m_view));
    m_view->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                            QAbstractItemView::AnyKeyPressed);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->setFont(Style::font(8));
    m_view->setCornerButtonEnabled(false);
    // Fixed cell sizes keep 64 x 64 cells quick to lay out and the grid even.
    for (QHeaderView *h : {m_view->horizontalHeader(), m_view->verticalHeader()}) {
        h->setSectionResizeMode(QHeaderView::Fixed);
        h->setFont(Style::font(8));
        h->setHighlightSections(true);
    }
    m_view->horizontalHeader()->setDefaultSectionSize(scaled(52));
    m_view->horizontalHeader()->setTextElideMode(Qt::ElideRight);
    m_view->verticalHeader()->setDefaultSectionSize(scaled(22));
    m_view->verticalHeader()->setMinimumWidth(scaled(70));
    m_view->setStyleSheet(QStringLiteral("QTableView { background: %1; gridline-color: %2; color: %3; }"
                                         "QTableView::item:selected { border: 1px solid %4; }"
                                         "QHeaderView { background: %1; }"
                                         "QHeaderView::section { background: %5; color: %6; border: none;"
                                         " border-right: 1px solid %2; border-bottom: 1px solid %2; padding: 2px 4px; }"
                                         "QTableCornerButton::section { background: %5; border: none; }")
                              .arg(Style::rgb(Style::kBackground), Style::rgb(Style::kBorder),
                                   Style::rgb(Style::kTextBright), Style::rgb(Style::kWarning),
                                   Style::rgb(Style::kPanel), Style::rgb(Style::kText)));
    m_view->viewport()->installEventFilter(this);
    m_view->installEventFilter(this);
    connect(m_view, &QTableView::customContextMenuRequested, this, &DspMatrixForm::showContextMenu);

    m_wheelGesture->setSingleShot(true);
    m_wheelGesture->setInterval(kWheelGestureMs);
    connect(m_wheelGesture, &QTimer::timeout, this, &DspMatrixForm::endWheelGesture);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    retranslate();
}

DspMatrixForm::~DspMatrixForm()
{
    // A gesture left open would swallow every later change into one undo step.
    if (m_wheelGesture->isActive() || m_dragging)
        m_controller->endGesture();
}

bool DspMatrixForm::isWheelGestureOpen() const
{
    return m_wheelGesture->isActive();
}

void DspMatrixForm::setChannelNames(const QStringList &inputs, const QStringList &outputs)
{
    m_model->setChannelNames(inputs, outputs);
    // Wide enough for the inputs' names (a long one is cut with "…" and whole in its tool tip), so that a
    // 64 x 64 matrix still scrolls by readable columns rather than by numbers.
    const QFontMetrics fm(m_view->horizontalHeader()->font());
    int widest = 0;
    for (int c = 0; c < m_model->columnCount(); ++c)
        widest = qMax(widest, fm.horizontalAdvance(m_model->headerData(c, Qt::Horizontal).toString()));
    m_view->horizontalHeader()->setDefaultSectionSize(qBound(scaled(52), widest + scaled(14), scaled(120)));
}

bool DspMatrixForm::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_view->viewport()) {
        switch (event->type()) {
        case QEvent::Wheel: return wheelOnCell(static_cast<QWheelEvent *>(event));
        case QEvent::MouseButtonPress:
        case QEvent::MouseMove:
        case QEvent::MouseButtonRelease: return mouseOnCell(static_cast<QMouseEvent *>(event));
        default: break;
        }
    } else if (watched == m_view && event->type() == QEvent::KeyPress &&
               static_cast<QKeyEvent *>(event)->key() == Qt::Key_Space) {
        toggleMuteOfSelection();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

bool DspMatrixForm::wheelOnCell(QWheelEvent *event)
{
    // Only the current cell takes the wheel, so scrolling across a large matrix never changes a value.
    const QModelIndex cell = m_view->indexAt(event->position().toPoint());
    const int notches = event->angleDelta().y() / 120;
    if (!cell.isValid() || cell != m_view->currentIndex() || notches == 0)
        return false;
    if (!m_model->isMuted(cell)) {
        if (!m_wheelGesture->isActive())
            m_controller->beginGesture();
        m_wheelGesture->start();
        m_model->setCell(cell, m_model->gainDb(cell) + notches * kWheelStepDb, false);
    }
    event->accept();
    return true;
}

bool DspMatrixForm::mouseOnCell(QMouseEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        if (event->button() == Qt::LeftButton) {
            m_dragCell = m_view->indexAt(event->pos());
            m_dragFrom = event->pos();
            m_dragFromDb = m_model->gainDb(m_dragCell);
        }
        return false; // the view selects the cell as usual
    case QEvent::MouseMove: {
        if (!(event->buttons() & Qt::LeftButton) || !m_dragCell.isValid() || m_model->isMuted(m_dragCell))
            return false;
        const int dy = m_dragFrom.y() - event->pos().y();
        if (!m_dragging && qAbs(dy) < scaled(4))
            return false;
        if (!m_dragging) {
            m_dragging = true;
            m_controller->beginGesture();
        }
        m_model->setCell(m_dragCell, m_dragFromDb + dy * kDragDbPerPixel, false);
        return true; // a drag changes the cell; it does not stretch the selection
    }
    case QEvent::MouseButtonRelease:
        m_dragCell = QModelIndex();
        if (m_dragging) {
            m_dragging = false;
            m_controller->endGesture();
            return true;
        }
        return false;
    default: return false;
    }
}

void DspMatrixForm::toggleMuteOfSelection()
{
    const QModelIndex current = m_view->currentIndex();
    if (!current.isValid())
        return;
    QModelIndexList cells = m_view->selectionModel()->selectedIndexes();
    if (!cells.contains(current))
        cells.append(current);
    // The current cell decides, so a mixed selection ends all muted or all open.
    const bool mute = !m_model->isMuted(current);
    m_controller->beginGesture();
    for (const QModelIndex &cell : cells)
        m_model->setData(cell, mute, DspMatrixModel::MutedRole);
    m_controller->endGesture();
}

void DspMatrixForm::showContextMenu(const QPoint &pos)
{
    const QModelIndex cell = m_view->indexAt(pos);
    if (!cell.isValid())
        return;
    if (!m_view->selectionModel()->isSelected(cell))
        m_view->setCurrentIndex(cell);
    else
        m_view->selectionModel()->setCurrentIndex(cell, QItemSelectionModel::NoUpdate);
    QMenu menu(this);
    QAction *mute = menu.addAction(tx(Tx::DspMatrixMute));
    mute->setObjectName(QStringLiteral("act_mute"));
    mute->setCheckable(true);
    mute->setChecked(m_model->isMuted(cell));
    connect(mute, &QAction::triggered, this, &DspMatrixForm::toggleMuteOfSelection);
    menu.exec(m_view->viewport()->mapToGlobal(pos));
}

void DspMatrixForm::endWheelGesture()
{
    m_controller->endGesture();
}

void DspMatrixForm::retranslate()
{
    setToolTip(tx(Tx::DspMatrixHint));
    m_model->retranslate();
}

void DspMatrixForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
