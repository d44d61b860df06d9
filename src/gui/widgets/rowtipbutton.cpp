#include "gui/widgets/rowtipbutton.h"

#include "core/app/scalefactors.h"

#include <QToolTip>

RowTipButton::RowTipButton(QWidget *parent)
    : QPushButton(parent)
{
    setObjectName(QStringLiteral("pb_tip"));
    setFixedSize(scaled(24), scaled(24));
    setIconSize(QSize(scaled(18), scaled(18)));
    setFocusPolicy(Qt::NoFocus);
    setStyleSheet(QStringLiteral("QPushButton { border: none; background: transparent; padding: 0; min-height: 0; }"));
    QSizePolicy keep = sizePolicy();
    keep.setRetainSizeWhenHidden(true);
    setSizePolicy(keep);
    // A click shows the tip at once, for those who do not hover.
    connect(this, &QPushButton::clicked, this,
            [this] { QToolTip::showText(mapToGlobal(rect().bottomLeft()), toolTip(), this); });
    hide();
}

QString RowTipButton::iconPath(RowProblem::Level level)
{
    switch (level) {
    case RowProblem::Warning: return QStringLiteral(":/pic/warnning.png");
    case RowProblem::Error: return QStringLiteral(":/pic/error.png");
    default: return QString();
    }
}

void RowTipButton::setProblem(const RowProblem &problem)
{
    if (problem == m_problem)
        return;
    m_problem = problem;
    if (problem.level == RowProblem::None) {
        setIcon(QIcon());
        setToolTip(QString());
        hide();
        return;
    }
    setIcon(QIcon(iconPath(problem.level)));
    setToolTip(problem.text);
    show();
}
