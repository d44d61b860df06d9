#include "gui/mcast/sdppastedialog.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/devices/devmanager.h"
#include "core/mcast/pastedflow.h"
#include "core/protocol/ipv4.h"

#include <QEvent>
#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

SdpPasteDialog::SdpPasteDialog(DevManager &registry, QWidget *parent)
    : FramelessDialog(parent)
    , m_registry(registry)
{
    setObjectName(QStringLiteral("SdpPasteDialog"));
    auto *body = new QWidget(this);
    auto *l = new QVBoxLayout(body);
    l->setContentsMargins(scaled(20), scaled(14), scaled(20), scaled(6));
    l->setSpacing(scaled(8));
    m_hint = new QLabel(body);
    m_hint->setObjectName(QStringLiteral("lb_hint"));
    m_hint->setWordWrap(true);
    m_hint->setStyleSheet(QStringLiteral("color: rgb(200, 202, 210);"));
    m_text = new QPlainTextEdit(body);
    m_text->setObjectName(QStringLiteral("te_sdp"));
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_text->setStyleSheet(QStringLiteral("QPlainTextEdit { background: rgb(27, 28, 33); color: rgb(230, 232, 238);"
                                         " border: 1px solid rgb(62, 65, 75); }"));
    m_text->setMinimumSize(scaled(520), scaled(240));
    m_refusal = new QLabel(body);
    m_refusal->setObjectName(QStringLiteral("lb_refusal"));
    m_refusal->setWordWrap(true);
    m_refusal->setStyleSheet(QStringLiteral("color: rgb(240, 110, 110);"));
    // Room for a two-line reason from the start, so that one appearing moves nothing.
    m_refusal->setMinimumHeight(m_refusal->fontMetrics().lineSpacing() * 2 + scaled(4));
    m_refusal->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    l->addWidget(m_hint);
    l->addWidget(m_text, 1);
    l->addWidget(m_refusal);
    contentLayout()->addWidget(body, 1);
    const OkCancel buttons = addOkCancelRow();
    m_ok = buttons.ok;
    m_cancel = buttons.cancel;
    // The text box keeps Return for new lines; only a click adds.
    m_ok->setDefault(false);
    m_ok->setAutoDefault(false);
    connect(m_ok, &QPushButton::clicked, this, &SdpPasteDialog::on_pb_ok_clicked);
    // Editing the text again takes back the old reason.
    connect(m_text, &QPlainTextEdit::textChanged, m_refusal, &QLabel::clear);
    retranslate();
    resize(scaled(580), sizeHint().height());
}

QString SdpPasteDialog::refusal() const
{
    return m_refusal->text();
}

void SdpPasteDialog::on_pb_ok_clicked()
{
    const PastedFlow::Result parsed = PastedFlow::parse(m_text->toPlainText());
    QString why = parsed.refusal;
    if (parsed.ok) {
        const DevManager::PasteResult added = m_registry.addPastedFlow(parsed.flow);
        if (added.outcome == DevManager::Added) {
            m_added = parsed.flow.dstIp;
            accept();
            return;
        }
        why = added.outcome == DevManager::AddressInUse
                  ? tx(Tx::PasteAddressInUse).arg(Ipv4::toText(parsed.flow.dstIp), added.flowName)
                  : tx(Tx::PasteTableFull);
    }
    m_refusal->setText(why);
}

void SdpPasteDialog::retranslate()
{
    setTitle(tx(Tx::PasteTitle));
    m_hint->setText(tx(Tx::PasteHint));
    m_ok->setText(tx(Tx::PasteAdd));
    m_cancel->setText(tx(Tx::PasteCancel));
}

void SdpPasteDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
