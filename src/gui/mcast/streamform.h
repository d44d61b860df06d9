#pragma once

#include "core/mcast/flowplan.h"

#include <QPointer>
#include <QWidget>
#include <functional>

class DevManager;
class FormMcast;
class McastWidget;
class QButtonGroup;
class PlanRunner;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class SdpPasteDialog;

/// The flows page: the devices that can transmit, the flows the chosen one
/// sends, and the actions that create and delete them. The checks are
/// FlowPlan's; the page gathers what was typed and ticked and shows the steps.
class StreamForm : public QWidget
{
    Q_OBJECT
public:
    explicit StreamForm(DevManager &registry, QWidget *parent = nullptr);

    /// The transmitting device shown, or empty.
    QString currentDevId() const { return m_devId; }
    void selectDevice(const QString &devId);
    QVector<FormMcast *> flowRows() const;
    /// What the create action would be given now (what a user typed and ticked).
    FlowPlan::CreateInput createInput() const;
    /// Random numbers for the automatic address; tests fix them.
    void setRandomSource(std::function<int()> source) { m_random = std::move(source); }
    /// The dialog of the last flow whose details were opened, if still open.
    McastWidget *detailsDialog() const { return m_details; }
    /// The open "Add flow from SDP" dialog, if any.
    SdpPasteDialog *pasteDialog() const;

signals:
    void signal_sendUdp(const QString &json, const QString &tag);

public slots:
    /// Re-reads the registry: devices, their flows and channel names changed.
    void slot_refresh();
    void on_pb_create_clicked();
    void on_pb_delete_clicked();
    void on_pb_details_clicked();
    void on_pb_addSdp_clicked();
    void on_pb_removePasted_clicked();

protected:
    void changeEvent(QEvent *event) override;

private:
    QWidget *buildDevicePanel();
    QWidget *buildFlowPanel();
    QWidget *buildCreatePanel();
    QWidget *buildPastedPanel();
    void showPasted();
    void showDevices();
    void showFlows();
    void showChannels();
    void followAddressMode();
    void followFlowSelection();
    void openDetails(int row);
    void retranslate();

    DevManager &m_registry;
    QString m_devId;
    std::function<int()> m_random;
    QPointer<McastWidget> m_details;
    QPointer<SdpPasteDialog> m_paste;

    QLabel *m_devicesCaption;
    QListWidget *m_devices;
    QLabel *m_flowsCaption;
    QListWidget *m_flows;
    QPushButton *m_detailsButton;
    QPushButton *m_delete;
    QLabel *m_createCaption;
    QLabel *m_nameCaption;
    QLineEdit *m_name;
    QLabel *m_channelsCaption;
    QListWidget *m_channels;
    QLabel *m_offsetCaption;
    QLineEdit *m_offset;
    QButtonGroup *m_modes;
    QRadioButton *m_auto;
    QRadioButton *m_manual;
    QLabel *m_addressCaption;
    QLineEdit *m_octets[4];
    QLabel *m_portCaption;
    QLineEdit *m_port;
    QPushButton *m_create;
    QLabel *m_pastedCaption;
    QListWidget *m_pasted;
    QPushButton *m_addSdp;
    QPushButton *m_removePasted;
    PlanRunner *m_runner = nullptr;
    /// The flow asked for and the groups the device had then: the form is
    /// emptied once the device lists it, and kept as typed if it never does.
    struct Pending
    {
        QString devId;
        QString name;
        QStringList knownAddresses;
    };
    Pending m_pending;
    void clearCreateForm();
};
