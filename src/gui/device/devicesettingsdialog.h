#pragma once

#include "core/app/commandplan.h"
#include "core/devices/devicerecord.h"
#include "gui/widgets/framelessdialog.h"

#include <QPointer>
#include <optional>

class PlanRunner;
class DevManager;
class DeviceUiStore;
class EventMonitor;
class LockOverlay;
class QLabel;
class QListWidget;
class QStackedWidget;
class QTimer;
class SettingsAddressPage;
class SettingsAmplifierPage;
class SettingsChannelsPage;
class SettingsClockPage;
class SettingsGeneralPage;
class SettingsGpioPage;
class SettingsInfoPage;
class SettingsLockPage;

/// One device's settings window, non-modal, one per device. It asks the
/// device what it needs when it opens, fills its pages from the registry
/// and the replies, and sends each change as its catalogue command. A
/// lock on the device's details covers the pages (translucent when
/// read-only, opaque when hidden); Ctrl+0 on the cover leads to the lock
/// and password dialogs.
///
/// Lives on the interface thread; reads the registry through copies.
class DeviceSettingsDialog : public FramelessDialog
{
    Q_OBJECT
public:
    enum Page { General, Channels, Address, Lock, Info, Amplifier, Gpio, ClockHistory, PageCount };

    DeviceSettingsDialog(const QString &devId, const DevManager &registry, DeviceUiStore *store,
                         QWidget *parent = nullptr);

    QString devId() const { return m_devId; }
    void setPage(Page page);
    Page currentPage() const;
    /// Whether this device's model has the page.
    bool hasPage(Page page) const;
    /// Where the clock history page reads this device's clock changes.
    void setClockHistory(const EventMonitor *monitor);
    /// The cover over the pages while the device's details are locked.
    LockOverlay *cover() const;

public slots:
    /// Every reply of the main window; those of other devices are ignored.
    void slot_message(const QString &json);
    /// The registry changed this device (an announcement).
    void slot_refreshDevice(const QString &devId);
    /// The registry changed (the receive thread's refresh: names fetched and the like).
    void slot_refresh();
    void slot_manageLock(const QString &password = QString());
    void slot_changePassword();
    void slot_enterPassword();

signals:
    void signal_sendUdp(const QString &json, const QString &tag);
    void signal_sendUdpToPort(const QString &json, quint16 port);
    void signal_showTips(const QString &text, bool isSucc);

protected:
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    /// Shows the plan's steps and sends its command; false when nothing was sent.
    bool run(const CommandPlan &plan);
    void ask(const QString &op);
    void refresh();
    void updateCover();
    void showResult(const QString &op, bool ok, const QString &reason);
    void retranslate();
    QString deviceName() const;

    QString m_devId;
    const DevManager &m_registry;
    DeviceUiStore *m_store;
    Device m_device;
    bool m_asked = false;
    QWidget *m_body;
    QWidget *m_pageArea;
    QListWidget *m_list;
    QStackedWidget *m_stack;
    QLabel *m_status;
    QPushButton *m_reboot;
    QTimer *m_ipRecheck;
    SettingsGeneralPage *m_general;
    SettingsChannelsPage *m_channels;
    SettingsAddressPage *m_address;
    SettingsLockPage *m_lock;
    SettingsInfoPage *m_info;
    SettingsAmplifierPage *m_amplifier;
    SettingsGpioPage *m_gpio;
    SettingsClockPage *m_clock;
    QPointer<LockOverlay> m_cover;
    int m_coverKind = 0;
    struct Result
    {
        QString op;
        QString reason;
        bool ok = false;
    };
    std::optional<Result> m_result;
    void clearResult();
    PlanRunner *m_runner = nullptr;
};
