#pragma once

#include "core/dsp/dspkinds.h"
#include "core/dsp/dsplinksink.h"
#include "gui/widgets/framelessdialog.h"

#include <QStringList>

class AdminForm;
class BusyOverlay;
class DspCompareDialog;
class DspController;
class DspChannelStripForm;
class DspDiagramForm;
class DspMatrixForm;
class DspProgramForm;
class DspLink;
class QAction;
class QHBoxLayout;
class QLabel;
class QTabWidget;
class QTimer;
class SnackBar;

/// The DSP window of one device; several may be open at once, one per device. It owns the device's DSP link
/// and the controller every page of the window works through, and keeps the link's health: the loading
/// overlay, the watchdog and the live queries.
class DevDspDialog : public FramelessDialog
{
    Q_OBJECT
public:
    /// Watchdog period; it also paces the processor-load, status and level queries.
    static constexpr int kTickMs = 500;
    /// The device counts as gone after this long without any answer.
    static constexpr int kSilenceMs = 31000;
    /// The loading overlay gives up after this long.
    static constexpr int kConnectTimeoutMs = 5000;

    /// What the window needs to know of its device, taken from the registry when it opens.
    struct Device
    {
        QString devId;
        QString name;
        QString model;
        quint32 ip = 0;
        /// Names of the physical inputs and outputs; DSP channels beyond them are the USB channels.
        QStringList inputNames;
        QStringList outputNames;
    };

    /// sendUdp: how datagrams reach the device (the main window's device link).
    DevDspDialog(const Device &device, DspLinkSink::SendUdp sendUdp, QWidget *parent = nullptr);
    /// Stops the link.
    ~DevDspDialog() override;

    /// The device's physical channel names as the registry has them now; the diagram follows when they differ.
    void setPhysicalNames(const QStringList &inputs, const QStringList &outputs);

    /// Opens the link and asks for the configuration once it is up.
    void start();

    QString devId() const { return m_device.devId; }
    DspController *controller() const { return m_controller; }
    DspDiagramForm *diagram() const { return m_diagram; }
    DspMatrixForm *matrix() const { return m_matrix; }
    DspChannelStripForm *channelStrip() const { return m_strip; }
    DspProgramForm *programs() const { return m_programs; }
    /// Brings the program page up.
    void showPrograms();
    BusyOverlay *overlay() const { return m_overlay; }
    QString statusText() const;

    /// A page of the window (the matrix mixer); it stands after the diagram.
    void addPage(QWidget *page, const QString &title);
    /// The side panel beside the pages (the selected channel's strip); replaces the one there.
    void setChannelPanel(QWidget *panel);
    /// Brings the matrix page up, if there is one.
    void showMatrix();
    /// Brings the administration page up.
    void showAdmin();
    /// The compare view, the running configuration on one side.
    DspCompareDialog *openCompare();
    AdminForm *admin() const { return m_admin; }

    /// The name a DSP channel shows: the device's name for a physical channel ("In n" when the device has
    /// none), "USBIn" / "USBOut" for channels beyond the physical ones.
    static QString channelName(const QStringList &physicalNames, DspSide side, int channel);

public slots:
    /// A datagram reply from the main window; those not for this window are ignored by the controller.
    void slot_message(const QString &json);
    void handle_recvTcpMsg(const QString &msg);
    void tcpConnected(const QString &msg, bool isSucc);
    void tcpDisconnected();
    void tcpStateChanged(int state);

signals:
    void signal_showTips(const QString &text, bool isSucc);
    void signal_micConfigRequested();

protected:
    /// The window on a document with no device: sink answers in the device's stead, no link is opened, no
    /// live query goes out and the pages of the device's own store (programs, administration) are absent.
    DevDspDialog(const Device &device, DspSink *sink, QWidget *parent);
    bool isOffline() const { return m_offlineSink != nullptr; }

    void changeEvent(QEvent *event) override;

private:
    DevDspDialog(const Device &device, DspLinkSink::SendUdp sendUdp, DspSink *offlineSink, QWidget *parent);
    void tick();
    void showLinkLost();
    void retranslate();
    void updateUndo();
    void showDeviceLoad();
    /// The channels' names to the pages that list them by name.
    void passNames();

    Device m_device;
    DspLink *m_link;
    DspLinkSink m_sink;
    DspSink *m_offlineSink = nullptr;
    DspController *m_controller;
    DspDiagramForm *m_diagram;
    DspMatrixForm *m_matrix;
    DspChannelStripForm *m_strip;
    QTabWidget *m_tabs;
    DspProgramForm *m_programs;
    AdminForm *m_admin;
    QHBoxLayout *m_body;
    QWidget *m_panel = nullptr;
    QLabel *m_status;
    QLabel *m_deviceLoad;
    int m_loadPercent = -1;
    QString m_temperature;
    BusyOverlay *m_overlay;
    SnackBar *m_snack;
    QTimer *m_watchdog;
    QAction *m_undo;
    QAction *m_redo;
    int m_ticks = 0;
    bool m_configAsked = false;
    bool m_lost = false;
    bool m_showsLost = false;
};
