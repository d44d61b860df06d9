#pragma once

#include "core/dsp/dspofflinefile.h"
#include "core/dsp/dspofflinesink.h"
#include "gui/dsp/devdspdialog.h"

#include <QVector>

#include <functional>

class QComboBox;
class QLabel;
class QPushButton;

/// The DSP window on a program file, with no device: a stand-in sink answers the controller, so the diagram,
/// every block editor and undo work as on a device. The file is saved whole ("Save", "Save as…"), and the
/// program can be stored on a device that is online ("Send to device as program…").
class DspOfflineDialog : public DevDspDialog
{
    Q_OBJECT
public:
    /// A device the program can be sent to.
    struct Target
    {
        QString devId;
        QString name;
        QString address; ///< IPv4, dotted
        QString model;
        int sampleRate = 0; ///< as the device announces it; 0 when not known
    };
    using Targets = std::function<QVector<Target>()>;

    /// Reads the file and opens its window. Without model (or rate 0) the operator chooses them, preset from
    /// the document; a given model that does not fit is refused. A file that cannot be read is answered with
    /// its message and no window (null), as is a choice cancelled.
    static DspOfflineDialog *openFile(const QString &path, QWidget *parent, const QString &model = {},
                                      int sampleRate = 0);

    DspOfflineDialog(const QString &path, const DspOfflineFile::Opened &opened, const QString &model, int sampleRate,
                     QWidget *parent = nullptr);

    QString path() const { return m_path; }
    QString programName() const { return m_name; }
    /// The document differs from the file (a change, a converted document, another sample rate).
    bool hasUnsavedChanges() const;
    /// Writes the file whole; the message of a failure is shown. False when it was not written.
    bool save();
    /// Asks for a file, then saves there; the window edits that file from then on.
    bool saveAs();

    void setTargets(Targets targets) { m_targets = std::move(targets); }
    /// Asks for an online DSP device and a program name, then sends.
    void sendToDevice();
    /// Stores the document on the device as program name ("saveConfigToFile"), waiting for the answer. The
    /// outcome's text is shown and returned; ok says whether the device took it.
    QString sendProgram(const Target &target, const QString &name, bool *ok = nullptr);

public slots:
    void reject() override;

protected:
    void changeEvent(QEvent *event) override;

private:
    DspOfflineDialog(const QString &path, const DspOfflineFile::Opened &opened, const QString &model,
                     DspOfflineSink *sink, QWidget *parent);
    /// Lets every request already asked for be answered, so the document holds what was accepted.
    void settle();
    QByteArray currentBytes() const;
    void retranslateOffline();

    QString m_path;
    QString m_name;
    DspOfflineSink *m_offline;
    QByteArray m_savedBytes;
    Targets m_targets;
    QPushButton *m_save;
    QPushButton *m_saveAs;
    QPushButton *m_send;
};

/// The model and sample rate a program file is edited for; OK is refused while the document does not fit
/// the model.
class DspOfflineChoiceDialog : public FramelessDialog
{
    Q_OBJECT
public:
    DspOfflineChoiceDialog(const CDeviceDspData &doc, QWidget *parent = nullptr);
    QString model() const;
    int sampleRate() const;

private:
    void check();

    const CDeviceDspData &m_doc;
    QComboBox *m_model;
    QComboBox *m_rate;
    QLabel *m_error;
    QPushButton *m_ok;
};
