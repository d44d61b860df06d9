#pragma once

#include "core/dsp/dspkinds.h"
#include "core/dsp/programs/channelprograms.h"
#include "gui/widgets/framelessdialog.h"

class DspController;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

/// Channel programs: the selected channel's chain saved under a name, and a saved chain loaded onto the selected
/// channel through the same rules and undo step as a paste. They live on the PC, one file each, in the folder
/// shown at the top (ChannelPrograms::defaultFolder until another is chosen).
class ChannelProgramForm : public FramelessDialog
{
    Q_OBJECT
public:
    /// channel -1: none selected; saving and loading then say so.
    ChannelProgramForm(DspController *controller, DspSide side, int channel, QWidget *parent = nullptr);

    QString folder() const { return m_folder; }
    void setFolder(const QString &folder);
    QListWidget *list() const { return m_list; }

signals:
    void signal_showTips(const QString &text, bool isSucc);

protected:
    void changeEvent(QEvent *event) override;

private:
    void reload();
    void save();
    void load();
    void retranslate();

    DspController *m_controller;
    DspSide m_side;
    int m_channel;
    QString m_folder;
    QVector<ChannelPrograms::Program> m_programs;
    QLabel *m_folderLabel;
    QListWidget *m_list;
    QLineEdit *m_name;
    QLabel *m_nameLabel;
    QLabel *m_empty;
    QPushButton *m_otherFolder, *m_save, *m_load;
};
