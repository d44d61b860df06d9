#include "gui/dsp/blocks/dspblockbaseform.h"

#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/filters/curvecsv.h"
#include "gui/widgets/filechoice.h"
#include "gui/widgets/noticebox.h"

#include <QAbstractSlider>
#include <QBoxLayout>
#include <QDir>
#include <QSaveFile>
#include <QKeyEvent>
#include <QPushButton>

DspBlockBaseForm::DspBlockBaseForm(DspController *controller, quint64 uid, const QString &title, QWidget *parent)
    : FramelessDialog(parent)
    , m_controller(controller)
    , m_uid(uid)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setTitle(title);
    m_watched.append(uid);
    // Every answer redraws: one that refused a change brings the controls back to what the device has.
    connect(controller, &DspController::signal_blockChanged, this, [this](quint64 id) {
        if (m_watched.contains(id))
            refresh();
    });
    // A removed block has nothing left to edit; a whole new document may not hold it either.
    auto closeIfGone = [this] {
        if (!m_controller->block(m_uid))
            close();
        else
            refresh();
    };
    connect(controller, &DspController::signal_chainChanged, this, closeIfGone);
    connect(controller, &DspController::signal_documentLoaded, this, closeIfGone);
}

void DspBlockBaseForm::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        event->accept();
        return;
    }
    FramelessDialog::keyPressEvent(event);
}

QString DspBlockBaseForm::chooseFile(bool save, const QString &caption, const QString &filter)
{
    return save ? FileChoice::save(this, caption, filter) : FileChoice::open(this, caption, filter);
}

bool DspBlockBaseForm::writeFile(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return true;
    NoticeBox::notice(this, tx(Tx::DspWriteFailed).arg(QDir::toNativeSeparators(path)));
    return false;
}

void DspBlockBaseForm::exportCurve(const QVector<double> &freqsHz, const QVector<QPointF> &series)
{
    const QString path = chooseFile(true, tx(Tx::DspExportCurve), tx(Tx::DspCsvFiles));
    if (!path.isEmpty())
        writeFile(path, CurveCsv::write(CurveCsv::fromSeries(freqsHz, series)));
}

QString DspBlockBaseForm::tag() const
{
    return m_controller->blockFlag(m_uid);
}

DspBlock DspBlockBaseForm::shown() const
{
    return m_controller->shownBlock(m_uid);
}

void DspBlockBaseForm::watch(quint64 uid)
{
    if (uid && !m_watched.contains(uid))
        m_watched.append(uid);
}

QPushButton *DspBlockBaseForm::addBypassButton(QBoxLayout *layout)
{
    m_bypass = new QPushButton(tx(Tx::DspEditorBypass), this);
    m_bypass->setObjectName(QStringLiteral("pb_bypass"));
    m_bypass->setCheckable(true);
    layout->addWidget(m_bypass);
    connect(m_bypass, &QPushButton::toggled, this, [this](bool on) {
        if (!m_controller->setBypass(m_uid, on).isEmpty())
            refreshBypassButton();
    });
    return m_bypass;
}

void DspBlockBaseForm::refreshBypassButton()
{
    if (!m_bypass)
        return;
    const QSignalBlocker blocker(m_bypass);
    m_bypass->setChecked(shown().bypass);
}

void DspBlockBaseForm::groupWhileHeld(QAbstractSlider *slider)
{
    connect(slider, &QAbstractSlider::sliderPressed, m_controller, &DspController::beginGesture);
    connect(slider, &QAbstractSlider::sliderReleased, m_controller, &DspController::endGesture);
}

void DspBlockBaseForm::change(const DspBlock &changed)
{
    if (!m_controller->setBlockParams(m_uid, changed).isEmpty())
        refresh();
}
