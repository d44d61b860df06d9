#include "gui/widgets/framelessdialog.h"

#include "gui/widgets/style.h"
#include "gui/widgets/windowdragger.h"
#include "core/app/scalefactors.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVariant>
#include <QVBoxLayout>

FramelessDialog::FramelessDialog(QWidget *parent)
    : QDialog(parent)
{
    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    setAttribute(Qt::WA_StyledBackground);

    auto *strip = new QWidget(this);
    strip->setObjectName(QStringLiteral("wd_titleStrip"));
    strip->setFixedHeight(scaled(36));
    strip->setAttribute(Qt::WA_StyledBackground);
    strip->setStyleSheet(QStringLiteral("#wd_titleStrip { background-color: %1; }").arg(Style::rgb(Style::kTitleStrip)));
    new WindowDragger(strip, false);

    m_title = new QLabel(strip);
    m_title->setObjectName(QStringLiteral("lb_title"));
    m_title->setStyleSheet(QStringLiteral("color: white;"));
    m_title->setFont(Style::font(11, true));

    m_close = new QPushButton(strip);
    m_close->setObjectName(QStringLiteral("close_bt"));
    m_close->setIcon(QIcon(QStringLiteral(":/pic/ui/win_close.png")));
    m_close->setIconSize(QSize(scaled(16), scaled(16)));
    m_close->setFixedSize(scaled(32), scaled(28));
    m_close->setStyleSheet(QStringLiteral("QPushButton { border: none; background: transparent; padding: 0; min-height: 0; }"
                                          "QPushButton:hover { background-color: rgb(214, 72, 72); }"));
    // Enter belongs to the dialog's own buttons; the close cross must never
    // be the one it presses.
    m_close->setAutoDefault(false);
    m_close->setFocusPolicy(Qt::NoFocus);
    connect(m_close, &QPushButton::clicked, this, &QDialog::reject);

    auto *stripLayout = new QHBoxLayout(strip);
    stripLayout->setContentsMargins(scaled(12), 0, scaled(4), 0);
    stripLayout->addWidget(m_title, 1);
    stripLayout->addWidget(m_close);

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(1, 1, 1, 1);
    outer->setSpacing(0);
    outer->addWidget(strip);
    m_content = new QVBoxLayout;
    m_content->setContentsMargins(scaled(20), scaled(16), scaled(20), scaled(16));
    m_content->setSpacing(scaled(12));
    outer->addLayout(m_content, 1);

    setWindowIcon(Style::windowIcon());
}

void FramelessDialog::setTitle(const QString &title)
{
    m_title->setText(title);
    setWindowTitle(title);
}

QString FramelessDialog::title() const
{
    return m_title->text();
}

void FramelessDialog::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.fillRect(rect(), Style::kBackground);
    p.setPen(Style::kBorder);
    p.drawRect(rect().adjusted(0, 0, -1, -1));
}

FramelessDialog::OkCancel FramelessDialog::addOkCancelRow()
{
    OkCancel b{new QPushButton(this), new QPushButton(this)};
    b.cancel->setObjectName(QStringLiteral("pb_cancel"));
    b.ok->setObjectName(QStringLiteral("pb_ok"));
    b.ok->setProperty("role", QStringLiteral("primary"));
    b.ok->setDefault(true);
    for (QPushButton *button : {b.cancel, b.ok})
        button->setMinimumWidth(scaled(90));
    connect(b.cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(b.cancel);
    row->addWidget(b.ok);
    m_content->addLayout(row);
    return b;
}
