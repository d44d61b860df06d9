#pragma once

#include "core/dsp/programs/storedactions.h"

#include <QWidget>

#include <functional>

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

/// The administration page of the DSP window: the device's stored configurations by index, the one last loaded,
/// and the factory reset. Every action is one blocking exchange (a busy cursor while it runs), because the page
/// must have the answer before it tells the operator anything; the list is read again after each one.
class AdminForm : public QWidget
{
    Q_OBJECT
public:
    /// exchange: one request to the device and its reply; reboot: sends the device's "reboot" datagram.
    AdminForm(StoredActions::Exchange exchange, std::function<void()> reboot, QWidget *parent = nullptr);

    /// Reads the list and the last loaded index again; done each time the page comes into view.
    void refresh();

    QListWidget *list() const { return m_list; }

signals:
    /// The device's running configuration was replaced (a load, a factory reset): the window's copy is stale.
    void signal_runningConfigReplaced();

protected:
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
    /// The selected index, or -1 after telling the operator to choose one.
    int chosen();
    int selectedRow() const;
    void tell(const StoredActions::Outcome &outcome);
    void onSave();
    void onLoad();
    void onDelete();
    void onExport();
    void onImport();
    void onFactoryReset();

    StoredActions::Exchange m_exchange;
    std::function<void()> m_reboot;
    StoredActions::Listing m_listing;
    QLabel *m_title;
    QListWidget *m_list;
    QLabel *m_lastCaption;
    QLabel *m_last;
    QLabel *m_nameCaption;
    QLineEdit *m_name;
    QPushButton *m_save;
    QPushButton *m_load;
    QPushButton *m_delete;
    QPushButton *m_export;
    QPushButton *m_import;
    QPushButton *m_factory;
};
