#include "gui/routing/snapshotdiffdialog.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/protocol/ipv4.h"
#include "core/routing/routelabels.h"
#include "gui/routing/routebatchdialog.h"
#include "gui/widgets/elidedlabel.h"
#include "gui/widgets/style.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace RouteDialogParts;
using NetSnapshot::Subscription;

namespace {

QString subscriptionText(const Subscription &s)
{
    if (!s.flowIp)
        return QStringLiteral("—");
    return tx(Tx::SnapSubscriptionText)
        .arg(s.name.isEmpty() ? Ipv4::toText(s.flowIp) : s.name)
        .arg(s.chNum)
        .arg(Ipv4::toText(s.srcIp))
        .arg(s.port);
}

// before is the live side and after the snapshot's: what the network gained
// since the snapshot has no after, what it lost has no before.
QString kindText(bool live, bool snapshot)
{
    return !snapshot ? tx(Tx::SnapAdded) : !live ? tx(Tx::SnapRemoved) : tx(Tx::SnapChanged);
}

QString countText(int n, Tx one, Tx many)
{
    return n == 1 ? tx(one) : tx(many).arg(n);
}

// A device or a section: one bold line across the list, with its count.
QTreeWidgetItem *sectionRow(QTreeWidget *tree, const QString &text, const QString &count, const QColor &color)
{
    auto *top = new QTreeWidgetItem(tree);
    top->setFirstColumnSpanned(true);
    setCell(top, 0, QStringLiteral("%1  ·  %2").arg(text, count));
    QFont bold = tree->font();
    bold.setBold(true);
    top->setFont(0, bold);
    top->setForeground(0, color);
    return top;
}

} // namespace

SnapshotDiffDialog::SnapshotDiffDialog(const QString &fileName, const NetSnapshot::Snapshot &snapshot,
                                       const NetSnapshot::Diff &diff, const RouteBatch &recall,
                                       const RouteNetwork &live, QWidget *parent)
    : FramelessDialog(parent)
{
    setObjectName(QStringLiteral("SnapshotDiffDialog"));
    setTitle(tx(Tx::SnapTitle));
    QVBoxLayout *l = contentLayout();

    // The file's own name tells snapshots apart; the folder is in the tool tip.
    auto *file = new ElidedLabel(this);
    file->setObjectName(QStringLiteral("lb_file"));
    file->setFullText(tx(Tx::SnapFile).arg(QFileInfo(fileName).fileName()));
    file->setToolTip(QDir::toNativeSeparators(QFileInfo(fileName).absoluteFilePath()));
    file->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kTextBright)));
    file->setMinimumWidth(scaled(200));
    l->addWidget(file);
    const QString saved = snapshot.saved.isValid()
                              ? snapshot.saved.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                              : QStringLiteral("—");
    auto *savedLabel = new QLabel(tx(Tx::SnapSaved).arg(saved), this);
    savedLabel->setObjectName(QStringLiteral("lb_saved"));
    l->addWidget(savedLabel);

    if (diff.isEmpty()) {
        l->addWidget(heading(this, QStringLiteral("lb_noDifferences"), tx(Tx::SnapNoDifferences)));
    } else {
        m_tree = list(this, QStringLiteral("tw_diff"),
                      {tx(Tx::SnapColItem), tx(Tx::SnapColDifference), tx(Tx::BatchColNow), tx(Tx::SnapColSnapshot)},
                      false);
        for (const NetSnapshot::DeviceDiff &d : diff.devices) {
            const Device *device = live.device(d.devId);
            const QString name = device && !device->rec.name.isEmpty() ? device->rec.name.str() : d.name;
            QTreeWidgetItem *top = sectionRow(m_tree, deviceLabel(name, d.devId),
                                              countText(d.routes.size() + d.subscriptions.size(),
                                                        Tx::SnapDifferencesOne, Tx::SnapDifferencesMany),
                                              Style::kTextBright);
            for (const RouteChange &c : d.routes) {
                auto *item = new QTreeWidgetItem(top);
                QString channel = tx(Tx::SnapReceive).arg(c.rxCh);
                const QString channelName = device ? device->channelName(DeviceTables::NameRx, c.rxCh - 1) : QString();
                if (!channelName.isEmpty())
                    channel += QStringLiteral(" · ") + channelName;
                setCell(item, 0, channel);
                setCell(item, 1, kindText(!c.before.isNone(), !c.after.isNone()));
                setCell(item, 2, routeSourceLabel(live, c.before));
                setCell(item, 3, routeSourceLabel(live, c.after));
            }
            for (const NetSnapshot::SubscriptionChange &c : d.subscriptions) {
                auto *item = new QTreeWidgetItem(top);
                setCell(item, 0, tx(Tx::SnapSubscription).arg(Ipv4::toText(c.live.flowIp ? c.live.flowIp : c.snapshot.flowIp)));
                setCell(item, 1, kindText(c.live.flowIp != 0, c.snapshot.flowIp != 0));
                setCell(item, 2, subscriptionText(c.live));
                setCell(item, 3, subscriptionText(c.snapshot));
            }
        }
        if (!diff.missing.isEmpty()) {
            QTreeWidgetItem *top = sectionRow(m_tree, tx(Tx::SnapMissing),
                                              countText(diff.missing.size(), Tx::SnapDevicesOne, Tx::SnapDevicesMany),
                                              Style::kWarning);
            for (const NetSnapshot::DeviceState &d : diff.missing) {
                auto *item = new QTreeWidgetItem(top);
                item->setFirstColumnSpanned(true);
                setCell(item, 0, QStringLiteral("%1  ·  %2").arg(deviceLabel(d.name, d.devId),
                                                                 tx(Tx::SnapMissingCounts).arg(d.routes.size()).arg(d.subscriptions.size())));
            }
        }
        if (!recall.refused.isEmpty()) {
            QTreeWidgetItem *top = sectionRow(m_tree, tx(Tx::SnapRefused),
                                              countText(recall.refused.size(), Tx::SnapRoutesOne, Tx::SnapRoutesMany),
                                              Style::kError);
            for (const RouteRefusal &r : recall.refused) {
                auto *item = new QTreeWidgetItem(top);
                setCell(item, 0, receiveChannelLabel(live, r.change.rxDevId, r.change.rxCh));
                setCell(item, 2, routeSourceLabel(live, r.change.before));
                setCell(item, 3, routeSourceLabel(live, r.change.after));
                // The reason is one sentence: a row of its own, as wide as the list.
                auto *reason = new QTreeWidgetItem(item);
                reason->setFirstColumnSpanned(true);
                setCell(reason, 0, r.reason);
                reason->setForeground(0, Style::kError);
            }
        }
        m_tree->expandAll();
        fitColumns(m_tree, scaled(480), 18);
        l->addWidget(m_tree, 1);
    }

    const int n = recall.changes.size();
    m_recall = new QPushButton(n == 0 ? tx(Tx::SnapNothingToRecall)
                                      : countText(n, Tx::SnapRecallOne, Tx::SnapRecallMany),
                               this);
    m_recall->setObjectName(QStringLiteral("pb_recall"));
    m_recall->setEnabled(n > 0);
    // The primary colour would outweigh the style's disabled look: only a recall that can happen gets it.
    if (n > 0)
        m_recall->setProperty("role", QStringLiteral("primary"));
    auto *close = new QPushButton(tx(Tx::BatchClose), this);
    close->setObjectName(QStringLiteral("pb_close"));
    (n > 0 ? m_recall : close)->setDefault(true);
    connect(m_recall, &QPushButton::clicked, this, &QDialog::accept);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    l->addLayout(buttonRow(this, {close, m_recall}));
    resizeToContents(this);
}
