#pragma once

#include "gui/widgets/framelessdialog.h"

#include <QStringList>

class QCheckBox;
class QLabel;
class QVBoxLayout;

/// One address in the interface dialog: ticking it makes it the selection.
class NetItemForm : public QWidget
{
    Q_OBJECT
public:
    NetItemForm(const QString &address, const QString &adapter, QWidget *parent = nullptr);
    QString address() const { return m_address; }
    void setChecked(bool checked);
    bool isChecked() const;

signals:
    void netItemSelectedSignal(const QString &address);

private:
    QString m_address;
    QCheckBox *m_check;
};

/// Lists the host's usable IPv4 addresses and lets the user pick the one
/// that faces the audio network. Modeless and reused for the whole run.
class SelectNetDialog : public FramelessDialog
{
    Q_OBJECT
public:
    explicit SelectNetDialog(QWidget *parent = nullptr);

    /// Rebuilds the list; entries pairs an address with its adapter's name.
    void setCandidates(const QStringList &addresses, const QStringList &adapters);
    QStringList candidates() const { return m_candidates; }
    QString selectedAddress() const { return m_selected; }
    void setSelectedAddress(const QString &address);

signals:
    void updateNetInterafceSignal();

public slots:
    void on_check_changed(const QString &address);

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    QStringList m_candidates;
    QString m_selected;
    QLabel *m_hint;
    QVBoxLayout *m_list;
    QPushButton *m_ok;
    QPushButton *m_cancel;
    QList<NetItemForm *> m_items;
};
