#include "gui/dsp/programs/dspprogramform.h"

#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/programs/programactions.h"
#include "gui/dsp/programs/channelprogramform.h"
#include "gui/dsp/programs/manageprogramform.h"
#include "gui/widgets/noticebox.h"

#include <QInputDialog>
#include <QVBoxLayout>

DspProgramForm::DspProgramForm(DspController *controller, QWidget *parent)
    : QWidget(parent)
    , m_controller(controller)
    , m_actions(new ProgramActions(controller, this))
    , m_manage(new ManageProgramForm(m_actions, this))
{
    setObjectName(QStringLiteral("DspProgramForm"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_manage);
    connect(m_manage, &ManageProgramForm::signal_showTips, this, &DspProgramForm::signal_showTips);
    connect(m_manage, &ManageProgramForm::signal_compareRequested, this, &DspProgramForm::signal_compareRequested);
    connect(controller, &DspController::signal_documentLoaded, this, &DspProgramForm::listOnce);
}

void DspProgramForm::setSelectedChannel(DspSide side, int channel)
{
    m_side = side;
    m_channel = channel;
}

void DspProgramForm::showEvent(QShowEvent *event)
{
    listOnce();
    QWidget::showEvent(event);
}

void DspProgramForm::listOnce()
{
    // The list is read when the page is first seen, not with the window (most visits never come here), and
    // only once the link answers: a page opened with the window waits for its first document.
    if (m_listed || !isVisible() || !m_controller->isLoaded())
        return;
    m_listed = true;
    m_manage->refresh();
}

void DspProgramForm::saveDiy()
{
    if (!NoticeBox::passSteps(this, m_actions->beforeSave()))
        return;
    bool ok = false;
    const QString name =
        QInputDialog::getText(this, tx(Tx::DspSaveDiy), tx(Tx::ProgSaveDiyPrompt), QLineEdit::Normal, QString(), &ok)
            .trimmed();
    if (!ok)
        return;
    // The list first, so that a full device is told before anything is sent.
    m_actions->refresh([this, name](const ProgramActions::Outcome &) {
        m_actions->save(-1, name, [this](const ProgramActions::Outcome &o) { emit signal_showTips(o.text, o.ok); });
    });
}

QWidget *DspProgramForm::openChannelPrograms()
{
    auto *form = new ChannelProgramForm(m_controller, m_side, m_channel, window());
    form->setAttribute(Qt::WA_DeleteOnClose);
    connect(form, &ChannelProgramForm::signal_showTips, this, &DspProgramForm::signal_showTips);
    form->show();
    return form;
}
