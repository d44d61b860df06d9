#pragma once

#include "core/dsp/dspkinds.h"

#include <QWidget>

class DspController;
class ManageProgramForm;
class ProgramActions;

/// The DSP window's program page: the device's programs (ManageProgramForm), and the entries of the diagram's
/// menu that work with programs: "Save Diy" and the channel programs of the selected channel.
class DspProgramForm : public QWidget
{
    Q_OBJECT
public:
    explicit DspProgramForm(DspController *controller, QWidget *parent = nullptr);

    ProgramActions *actions() const { return m_actions; }
    ManageProgramForm *manage() const { return m_manage; }

public slots:
    /// The diagram's selected channel, where channel programs are saved from and loaded onto.
    void setSelectedChannel(DspSide side, int channel);
    /// Asks for a name and stores the running configuration under it in the first empty slot.
    void saveDiy();
    /// Opens the channel-program form for the selected channel; it closes itself.
    QWidget *openChannelPrograms();

signals:
    void signal_showTips(const QString &text, bool isSucc);
    void signal_compareRequested();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void listOnce();

    DspController *m_controller;
    ProgramActions *m_actions;
    ManageProgramForm *m_manage;
    DspSide m_side = DspSide::In;
    int m_channel = -1;
    bool m_listed = false;
};
