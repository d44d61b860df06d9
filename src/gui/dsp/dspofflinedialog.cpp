#include "gui/dsp/dspofflinedialog.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspexchange.h"
#include "core/dsp/programs/programcommands.h"
#include "core/dsp/programs/programfiles.h"
#include "core/dsp/programs/programrules.h"
#include "gui/widgets/filechoice.h"
#include "gui/widgets/noticebox.h"

#include <QComboBox>
#include <QEvent>
#include <QEventLoop>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>

namespace {

CDeviceDspData atRate(CDeviceDspData doc, int sampleRate)
{
    doc.sampleRate = sampleRate;
    return doc;
}

DevDspDialog::Device offlineDevice(const QString &path, const QString &model)
{
    DevDspDialog::Device d;
    d.name = QFileInfo(path).fileName();
    d.model = model;
    // The model's channels are all physical ones; with no device there are no names, so they show "In n".
    if (const auto m = DspOfflineFile::model(model)) {
        d.inputNames = QVector<QString>(m->inputs).toList();
        d.outputNames = QVector<QString>(m->outputs).toList();
    }
    return d;
}

/// Save, don't save, or stay: the question before a window with changes closes.
enum class CloseAnswer { Save, Discard, Stay };

CloseAnswer askBeforeClosing(QWidget *parent)
{
    FramelessDialog box(parent);
    box.setObjectName(QStringLiteral("DspOfflineAskSave"));
    box.setTitle(tx(Tx::Notice));
    auto *text = new QLabel(tx(Tx::OfflineAskSave), &box);
    text->setObjectName(QStringLiteral("lb_text"));
    text->setWordWrap(true);
    box.contentLayout()->addWidget(text);
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    CloseAnswer answer = CloseAnswer::Stay;
    for (const auto &[name, label, value] : {std::tuple{"pb_save", Tx::OfflineSave, CloseAnswer::Save},
                                             std::tuple{"pb_discard", Tx::OfflineDiscard, CloseAnswer::Discard},
                                             std::tuple{"pb_cancel", Tx::Cancel, CloseAnswer::Stay}}) {
        auto *b = new QPushButton(tx(label), &box);
        b->setObjectName(QLatin1String(name));
        b->setAutoDefault(value == CloseAnswer::Save);
        const CloseAnswer v = value;
        QObject::connect(b, &QPushButton::clicked, &box, [&box, &answer, v] {
            answer = v;
            box.accept();
        });
        row->addWidget(b);
    }
    box.contentLayout()->addLayout(row);
    box.exec();
    return answer;
}

} // namespace

// ---------------------------------------------------------------- opening

DspOfflineDialog *DspOfflineDialog::openFile(const QString &path, QWidget *parent, const QString &model, int sampleRate)
{
    const std::optional<QByteArray> bytes = ProgramFiles::readFile(path);
    if (!bytes) {
        NoticeBox::notice(parent, tx(Tx::ProgFileOpenError));
        return nullptr;
    }
    const DspOfflineFile::Opened opened = DspOfflineFile::read(*bytes);
    if (!opened.ok()) {
        NoticeBox::notice(parent, tx(*opened.error));
        return nullptr;
    }
    QString chosenModel = model;
    int chosenRate = sampleRate;
    if (chosenModel.isEmpty() || chosenRate <= 0) {
        DspOfflineChoiceDialog choice(opened.doc, parent);
        if (!chosenModel.isEmpty())
            choice.findChild<QComboBox *>(QStringLiteral("cb_model"))->setCurrentText(chosenModel);
        if (choice.exec() != QDialog::Accepted)
            return nullptr;
        chosenModel = choice.model();
        chosenRate = chosenRate > 0 ? chosenRate : choice.sampleRate();
    }
    const QString misfit = DspOfflineFile::fitError(opened.doc, chosenModel);
    if (!misfit.isEmpty()) {
        NoticeBox::notice(parent, misfit);
        return nullptr;
    }
    auto *window = new DspOfflineDialog(path, opened, chosenModel, chosenRate, parent);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->show();
    return window;
}

DspOfflineDialog::DspOfflineDialog(const QString &path, const DspOfflineFile::Opened &opened, const QString &model,
                                   int sampleRate, QWidget *parent)
    : DspOfflineDialog(path, opened, model, new DspOfflineSink(atRate(opened.doc, sampleRate)), parent)
{}

DspOfflineDialog::DspOfflineDialog(const QString &path, const DspOfflineFile::Opened &opened, const QString &model,
                                   DspOfflineSink *sink, QWidget *parent)
    : DevDspDialog(offlineDevice(path, model), sink, parent)
    , m_path(path)
    , m_name(opened.name)
    , m_offline(sink)
    // What the file holds: a converted document or another sample rate is a change still to be saved.
    , m_savedBytes(DspOfflineFile::write(opened.name, opened.doc))
{
    setObjectName(QStringLiteral("DspOfflineDialog"));
    sink->setParent(this);
    connect(sink, &DspOfflineSink::signal_reply, controller(), &DspController::handleTcpReply);

    m_save = new QPushButton(this);
    m_save->setObjectName(QStringLiteral("pb_saveFile"));
    m_saveAs = new QPushButton(this);
    m_saveAs->setObjectName(QStringLiteral("pb_saveFileAs"));
    m_send = new QPushButton(this);
    m_send->setObjectName(QStringLiteral("pb_sendToDevice"));
    auto *row = new QHBoxLayout;
    for (QPushButton *b : {m_save, m_saveAs, m_send}) {
        b->setAutoDefault(false);
        b->setFocusPolicy(Qt::NoFocus);
        row->addWidget(b);
    }
    row->addStretch(1);
    contentLayout()->insertLayout(0, row);
    connect(m_save, &QPushButton::clicked, this, &DspOfflineDialog::save);
    connect(m_saveAs, &QPushButton::clicked, this, &DspOfflineDialog::saveAs);
    connect(m_send, &QPushButton::clicked, this, &DspOfflineDialog::sendToDevice);
    auto *saveKey = new QShortcut(QKeySequence::Save, this);
    connect(saveKey, &QShortcut::activated, this, &DspOfflineDialog::save);

    retranslateOffline();
    controller()->requestConfig();
}

// ---------------------------------------------------------------- the file

QByteArray DspOfflineDialog::currentBytes() const
{
    return DspOfflineFile::write(m_name, controller()->document());
}

bool DspOfflineDialog::hasUnsavedChanges() const
{
    return controller()->isLoaded() && currentBytes() != m_savedBytes;
}

void DspOfflineDialog::settle()
{
    DspController *c = controller();
    // Waits for one of the controller's signals unless it came while the wait was being set up.
    auto waitFor = [c](auto signal, int limitMs, const std::function<void()> &start) {
        QEventLoop wait;
        bool came = false;
        connect(c, signal, &wait, [&came, &wait] {
            came = true;
            wait.quit();
        });
        QTimer::singleShot(limitMs, &wait, &QEventLoop::quit);
        start();
        if (!came)
            wait.exec();
    };
    // Added and removed blocks reach the stand-in device too, so the diagram's own state is "saved" as well.
    if (c->hasUnsavedChanges())
        waitFor(&DspController::signal_saved, DspController::kConfigTimeoutMs, [c] { c->save(); });
    if (!c->isIdle())
        waitFor(&DspController::signal_idle, DspController::kReplyTimeoutMs, [] {});
}

bool DspOfflineDialog::save()
{
    if (!controller()->isLoaded())
        return false;
    settle();
    const QByteArray bytes = currentBytes();
    QString why;
    if (!ProgramFiles::saveFile(m_path, bytes, &why)) {
        NoticeBox::notice(this, tx(Tx::OfflineSaveFailed).arg(QFileInfo(m_path).fileName(), why));
        return false;
    }
    m_savedBytes = bytes;
    emit signal_showTips(tx(Tx::OfflineSaved).arg(QFileInfo(m_path).fileName()), true);
    return true;
}

bool DspOfflineDialog::saveAs()
{
    QString path = FileChoice::save(this, tx(Tx::OfflineSaveAs), tx(Tx::OfflineFileFilter));
    if (path.isEmpty())
        return false;
    if (QFileInfo(path).suffix().isEmpty())
        path += QStringLiteral(".dt");
    const QString previous = m_path;
    m_path = path;
    if (!save()) {
        m_path = previous;
        return false;
    }
    retranslateOffline();
    return true;
}

void DspOfflineDialog::reject()
{
    if (hasUnsavedChanges()) {
        switch (askBeforeClosing(this)) {
        case CloseAnswer::Save:
            if (!save())
                return;
            break;
        case CloseAnswer::Discard: break;
        case CloseAnswer::Stay: return;
        }
    }
    DevDspDialog::reject();
}

// ---------------------------------------------------------------- sending to a device

void DspOfflineDialog::sendToDevice()
{
    const QVector<Target> targets = m_targets ? m_targets() : QVector<Target>();
    if (targets.isEmpty()) {
        NoticeBox::notice(this, tx(Tx::OfflineNoDevice));
        return;
    }
    FramelessDialog ask(this);
    ask.setObjectName(QStringLiteral("DspOfflineSendDialog"));
    ask.setTitle(tx(Tx::OfflineSendTitle));
    auto *form = new QFormLayout;
    auto *devices = new QComboBox(&ask);
    devices->setObjectName(QStringLiteral("cb_device"));
    for (const Target &t : targets)
        devices->addItem(t.name.isEmpty() ? t.devId : QStringLiteral("%1 (%2)").arg(t.name, t.devId));
    auto *name = new QLineEdit(m_name, &ask);
    name->setObjectName(QStringLiteral("le_programName"));
    form->addRow(tx(Tx::OfflineDevice), devices);
    form->addRow(tx(Tx::OfflineProgramName), name);
    ask.contentLayout()->addLayout(form);
    const FramelessDialog::OkCancel buttons = ask.addOkCancelRow();
    buttons.ok->setText(tx(Tx::Ok));
    buttons.cancel->setText(tx(Tx::Cancel));
    connect(buttons.ok, &QPushButton::clicked, &ask, [&] {
        if (const auto refusal = ProgramRules::nameError(name->text(), ProgramRules::Page::Program)) {
            NoticeBox::notice(&ask, tx(*refusal));
            return;
        }
        ask.accept();
    });
    if (ask.exec() != QDialog::Accepted)
        return;
    const Target &target = targets[devices->currentIndex()];
    const QString warning = DspOfflineFile::sendWarning(controller()->document(), target.model, target.sampleRate);
    if (!warning.isEmpty() && !NoticeBox::confirm(this, warning))
        return;
    bool ok = false;
    const QString outcome = sendProgram(target, name->text(), &ok);
    NoticeBox::notice(this, outcome);
}

QString DspOfflineDialog::sendProgram(const Target &target, const QString &name, bool *ok)
{
    settle();
    const QJsonObject config = QJsonDocument::fromJson(controller()->document().toJson()).object();
    const DspExchange::Result r = DspExchange::run(target.address, ProgramCommands::saveConfigToFile(name, config));
    const QString device = target.name.isEmpty() ? target.devId : target.name;
    bool taken = false;
    QString text;
    if (!r.ok) {
        text = r.message;
    } else {
        const QJsonObject reply = QJsonDocument::fromJson(r.reply.toUtf8()).object();
        const QString reason = reply.value(QLatin1String("reason")).toString();
        taken = reply.value(QLatin1String("result")).toString() == QLatin1String("succ");
        if (taken)
            text = tx(Tx::OfflineSent).arg(device, name);
        else if (reason == QLatin1String("LOCK_UCAST_MCAST"))
            text = tx(Tx::ProgDeviceLocked);
        else
            text = tx(Tx::OfflineSendRefused).arg(device, reason.isEmpty() ? tx(Tx::DspCommFailed) : reason);
    }
    if (ok)
        *ok = taken;
    emit signal_showTips(text, taken);
    return text;
}

// ---------------------------------------------------------------- texts

void DspOfflineDialog::retranslateOffline()
{
    setTitle(tx(Tx::OfflineTitle).arg(QFileInfo(m_path).fileName()));
    setWindowTitle(title());
    m_save->setText(tx(Tx::OfflineSave));
    m_saveAs->setText(tx(Tx::OfflineSaveAs));
    m_send->setText(tx(Tx::OfflineSend));
}

void DspOfflineDialog::changeEvent(QEvent *event)
{
    DevDspDialog::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        retranslateOffline();
}

// ---------------------------------------------------------------- the choice of model and rate

DspOfflineChoiceDialog::DspOfflineChoiceDialog(const CDeviceDspData &doc, QWidget *parent)
    : FramelessDialog(parent)
    , m_doc(doc)
{
    setObjectName(QStringLiteral("DspOfflineChoiceDialog"));
    setTitle(tx(Tx::OfflineOpenTitle));
    auto *form = new QFormLayout;
    m_model = new QComboBox(this);
    m_model->setObjectName(QStringLiteral("cb_model"));
    for (const DspOfflineFile::Model &m : DspOfflineFile::models())
        m_model->addItem(m.code);
    m_model->setCurrentText(DspOfflineFile::modelFor(doc));
    m_rate = new QComboBox(this);
    m_rate->setObjectName(QStringLiteral("cb_rate"));
    QVector<int> rates = DspOfflineFile::sampleRates();
    if (doc.sampleRate > 0 && !rates.contains(doc.sampleRate))
        rates.append(doc.sampleRate);
    for (int rate : rates)
        m_rate->addItem(QString::number(rate), rate);
    m_rate->setCurrentIndex(std::max(0, rates.indexOf(doc.sampleRate > 0 ? doc.sampleRate : 48000)));
    form->addRow(tx(Tx::OfflineModel), m_model);
    form->addRow(tx(Tx::OfflineSampleRate), m_rate);
    contentLayout()->addLayout(form);
    m_error = new QLabel(this);
    m_error->setObjectName(QStringLiteral("lb_fitError"));
    m_error->setWordWrap(true);
    m_error->setStyleSheet(QStringLiteral("color: rgb(226, 170, 60);"));
    contentLayout()->addWidget(m_error);
    const OkCancel buttons = addOkCancelRow();
    m_ok = buttons.ok;
    m_ok->setText(tx(Tx::Ok));
    buttons.cancel->setText(tx(Tx::Cancel));
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_model, &QComboBox::currentTextChanged, this, &DspOfflineChoiceDialog::check);
    setMinimumWidth(scaled(420));
    check();
}

QString DspOfflineChoiceDialog::model() const
{
    return m_model->currentText();
}

int DspOfflineChoiceDialog::sampleRate() const
{
    return m_rate->currentData().toInt();
}

void DspOfflineChoiceDialog::check()
{
    const QString why = DspOfflineFile::fitError(m_doc, model());
    m_error->setText(why);
    m_ok->setEnabled(why.isEmpty());
}
