#pragma once

#include <QPointer>
#include <QVector>
#include <QWidget>
#include <cstdint>

class DevDspDialog;
class DeviceLink;
class DeviceUiStore;
class EventMonitor;
class EventPanel;
class InterfaceChooser;
class McastWidget;
class QButtonGroup;
class QLabel;
class QPushButton;
class QStackedWidget;
class SnackBar;
class TitleBar;
class UserSettings;

/// The frameless main window: title strip, the top menu of pages, the page
/// stack, a status line and the snack bar. It wires pages together; it does
/// not decide anything itself.
class MainWindow : public QWidget
{
    Q_OBJECT
public:
    enum Page { Devices, Routing, Flows, Clock, NetStats, Levels, PageCount };

    /// settingsDir: where "UserConfig.ini" lives (the application directory).
    explicit MainWindow(const QString &settingsDir, QWidget *parent = nullptr);
    ~MainWindow() override;

    void setPage(Page page);
    Page currentPage() const;
    QWidget *pageWidget(Page page) const;
    /// Puts a page's real widget in place of its placeholder.
    void setPageWidget(Page page, QWidget *widget);

    SnackBar *snackBar() const { return m_snack; }
    DeviceLink *deviceLink() const { return m_link; }
    DeviceUiStore *uiStore() const { return m_uiStore; }
    /// The event log and the clock histories; the panel beside the pages shows the log.
    EventMonitor *events() const { return m_events; }
    EventPanel *eventPanel() const { return m_eventPanel; }
    /// Opens or closes the events panel, as its button in the status line does.
    void setEventsShown(bool shown);

    /// Starts device traffic on a dotted IPv4 address of this host.
    bool startNetwork(const QString &address);
    /// Lets the program choose the interface: by itself with one candidate,
    /// with the interface dialog otherwise, and again whenever the host's
    /// addresses change. Not used when an address was given on the command line.
    void startInterfaceSelection(InterfaceChooser *chooser = nullptr);
    InterfaceChooser *interfaceChooser() const { return m_chooser; }
    /// Closes without the quit prompt (used once the user has confirmed).
    void setQuitConfirmed(bool confirmed) { m_quitConfirmed = confirmed; }

signals:
    // The registry's notices and the receive thread's refreshes, for the pages.
    void signal_send_addDev(const QString &devId);
    void signal_send_updateDev(const QString &devId);
    void signal_send_delDev(const QString &devId);
    void signal_send_addMcast(const QString &json);
    void signal_send_delMcast(uint32_t dstIp);
    void signal_refresh_route();
    void signal_recv_message(const QString &json);
    void signal_blinkingDev(const QString &devId);
    void signal_unBlinkingDev(const QString &devId);
    void signal_refreshUi();
    void signal_refreshDevInfoUi();
    void signal_syncCanWork();

public slots:
    /// A page's request: routed to its device and sent.
    void slot_sendUdp(const QString &json, const QString &tag);
    /// Switches the user-interface language, stores it in "Langue" and
    /// re-translates every open window at once.
    void slot_switchLanguage(bool chinese);
    /// Command results and refusals for the snack bar.
    void slot_showTips(const QString &text, bool isSucc);
    void slot_showAbout();
    /// Opens the settings window of a device, or raises the one already open.
    void slot_openDeviceSettings(const QString &devId);
    /// Opens the DSP window of a device, or raises the one already open; null when the device is unknown.
    DevDspDialog *slot_openDsp(const QString &devId);
    /// The device's open DSP window, or null.
    DevDspDialog *dspWindow(const QString &devId) const;
    /// The details of an announced flow (a flow row of the routing grid).
    void slot_showFlowDetails(const QString &flowName);
    McastWidget *flowDetails() const;
    /// The production test tool.
    void slot_showDeviceTest();
    /// The production signal test of a DSP device's inputs.
    class SignalTestDialog *slot_showSignalTest();
    /// Opens a program file in a DSP window of its own, with no device; null when the file is refused or the
    /// choice cancelled. An empty path asks for one. The window sends to the DSP devices found now.
    class DspOfflineDialog *slot_openProgramFile(const QString &path = {}, const QString &model = {}, int sampleRate = 0);
    /// The interface choice was made: traffic moves to it.
    void on_selectIp_confirm();

protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void buildMenu(QWidget *menu);
    void connectLink();
    void buildPages();
    void retranslate();
    void updateStatus();
    void updateEventsButton();

    UserSettings *m_settings;
    DeviceLink *m_link;
    DeviceUiStore *m_uiStore;
    EventMonitor *m_events;
    EventPanel *m_eventPanel = nullptr;
    QPushButton *m_eventsButton = nullptr;
    InterfaceChooser *m_chooser = nullptr;
    TitleBar *m_titleBar;
    QButtonGroup *m_pageButtons;
    QVector<QPushButton *> m_pageButtonList;
    QPushButton *m_english;
    QPushButton *m_chinese;
    QPushButton *m_about;
    QPushButton *m_tools;
    class DeviceTestDialog *m_deviceTest = nullptr;
    QPushButton *m_signalTools;
    QPushButton *m_openProgram;
    class SignalTestDialog *m_signalTest = nullptr;
    QPointer<McastWidget> m_flowDetails;
    QStackedWidget *m_stack;
    QLabel *m_statusInterface;
    QLabel *m_statusDevices;
    SnackBar *m_snack;
    bool m_quitConfirmed = false;
};
