#pragma once

#include "gui/widgets/framelessdialog.h"

#include <QJsonObject>

class QLabel;
class QLineEdit;

/// The small dialog that takes a new clock priority for one device. Ok (or
/// Enter) checks the text; a refused text leaves the dialog open with the
/// range message, a valid one closes it and hands over the command.
class DialogChangePriority : public FramelessDialog
{
    Q_OBJECT
public:
    /// deviceName names the device above the field, so the operator sees
    /// which device the change goes to.
    DialogChangePriority(const QString &devId, const QString &deviceName, int currentPriority,
                         QWidget *parent = nullptr);

    QString devId() const { return m_devId; }
    /// The "setPtpPriority" command once accepted; empty before.
    QJsonObject command() const { return m_command; }
    QString refusalText() const;

signals:
    void signal_confirmed(const QJsonObject &command);

public slots:
    void on_pb_ok_clicked();

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    QString m_devId;
    QString m_deviceName;
    QLabel *m_device;
    QJsonObject m_command;
    QLabel *m_hint;
    QLineEdit *m_value;
    QLabel *m_refusal;
    QPushButton *m_ok;
    QPushButton *m_cancel;
};
