#include "gui/app/interfacechooser.h"

#include "gui/app/selectnetdialog.h"
#include "core/app/netselection.h"

#include <QDebug>
#include <QTimer>

InterfaceChooser::InterfaceChooser(QWidget *dialogParent, Scanner scanner)
    : QObject(dialogParent)
    , m_scanner(std::move(scanner))
    , m_dialog(new SelectNetDialog(dialogParent))
    , m_startup(new QTimer(this))
    , m_watch(new QTimer(this))
{
    m_startup->setInterval(300);
    m_watch->setInterval(5000);
    connect(m_startup, &QTimer::timeout, this, &InterfaceChooser::startupTick);
    connect(m_watch, &QTimer::timeout, this, &InterfaceChooser::watchTick);
    connect(m_dialog, &SelectNetDialog::updateNetInterafceSignal, this, [this] {
        m_currentIp = m_dialog->selectedAddress();
        // Once the user has chosen, the start-up check has done its work.
        if (m_startup) {
            m_startup->deleteLater();
            m_startup = nullptr;
        }
        emit updateNetInterafceSignal();
    });
}

void InterfaceChooser::start()
{
    m_candidates = scan();
    if (m_startup)
        m_startup->start();
    m_watch->start();
}

QStringList InterfaceChooser::scan()
{
    const QVector<NetScan::Entry> entries = m_scanner();
    const QStringList addresses = NetScan::candidatesFrom(entries);
    m_adapters.clear();
    for (const QString &a : addresses)
        for (const NetScan::Entry &e : entries)
            if (e.address == a) {
                m_adapters.append(e.interfaceName);
                break;
            }
    return addresses;
}

void InterfaceChooser::choose(const QString &address)
{
    m_currentIp = address;
    m_dialog->setSelectedAddress(address);
    qDebug().noquote() << QStringLiteral("netLen:%1, curIp:%2").arg(m_candidates.size()).arg(address);
    qDebug().noquote() << "auto set net";
}

void InterfaceChooser::showDialog()
{
    if (m_dialog->candidates() != m_candidates || !m_dialog->isVisible())
        m_dialog->setCandidates(m_candidates, m_adapters);
    m_dialog->show();
    m_dialog->raise();
    m_dialog->activateWindow();
}

void InterfaceChooser::startupTick()
{
    if (!m_startup)
        return;
    m_candidates = scan();
    QString only;
    if (!NetSelection::autoSelect(m_candidates, &only)) {
        showDialog();
        return;
    }
    choose(only);
    m_startup->stop();
    m_startup->deleteLater();
    m_startup = nullptr;
    emit updateNetInterafceSignal();
}

void InterfaceChooser::watchTick()
{
    const QStringList previous = m_candidates;
    m_candidates = scan();
    switch (NetSelection::onRescan(previous, m_candidates)) {
    case NetSelection::Choose:
        choose(m_candidates.first());
        emit updateNetInterafceSignal();
        break;
    case NetSelection::AskUser:
        showDialog();
        break;
    case NetSelection::Nothing:
        break;
    }
}
