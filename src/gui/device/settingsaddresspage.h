#pragma once

#include "core/app/commandplan.h"
#include "core/device/addressplan.h"
#include "core/devices/deviceuistore.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

/// The address page: automatic or fixed address, four octets per field.
/// Filled from "getIp" until the user edits it; Apply runs every check.
class SettingsAddressPage : public QWidget
{
    Q_OBJECT
public:
    explicit SettingsAddressPage(const QString &devId, QWidget *parent = nullptr);

    void refresh(const DeviceUiData &ui);
    /// Forgets the user's edits: the next refresh fills the page again.
    void resync();
    /// What the page holds now, as AddressPlan takes it.
    AddressPlan::Input input() const;

signals:
    void signal_run(const CommandPlan &plan);

protected:
    void changeEvent(QEvent *event) override;

private:
    void fill(const AddressPlan::Input &in);
    void apply();
    void syncEnabled();
    void retranslate();

    enum Field { Ip, Mask, Gateway, Dns, FieldCount };
    QString m_devId;
    DeviceUiData m_ui;
    bool m_edited = false;
    bool m_filled = false;
    QCheckBox *m_auto;
    QLabel *m_fieldLabels[FieldCount];
    QLineEdit *m_octets[FieldCount][4];
    QLabel *m_current;
    QLabel *m_hint;
    QPushButton *m_apply;
};
