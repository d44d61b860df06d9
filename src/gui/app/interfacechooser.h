#pragma once

#include "core/app/netscan.h"

#include <QObject>
#include <functional>

class QTimer;
class SelectNetDialog;

/// Picks the network interface at start-up and watches the host's addresses
/// for the whole run: automatic with one candidate, the dialog otherwise.
class InterfaceChooser : public QObject
{
    Q_OBJECT
public:
    using Scanner = std::function<QVector<NetScan::Entry>()>;

    explicit InterfaceChooser(QWidget *dialogParent, Scanner scanner = &NetScan::allIpv4);

    /// Starts the 300 ms start-up check and the 5000 ms watch.
    void start();
    QString currentIp() const { return m_currentIp; }
    SelectNetDialog *dialog() const { return m_dialog; }
    bool startupPending() const { return m_startup != nullptr; }

    /// One tick of each timer, callable by tests.
    void startupTick();
    void watchTick();

signals:
    /// A choice was made, by itself or by the user; currentIp() holds it.
    void updateNetInterafceSignal();

private:
    QStringList scan();
    void showDialog();
    void choose(const QString &address);

    Scanner m_scanner;
    SelectNetDialog *m_dialog;
    QTimer *m_startup;
    QTimer *m_watch;
    QStringList m_candidates;
    QStringList m_adapters;
    QString m_currentIp;
};
