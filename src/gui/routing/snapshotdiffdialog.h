#pragma once

#include "core/routing/netsnapshot.h"
#include "gui/widgets/framelessdialog.h"

class QPushButton;
class QTreeWidget;

/// A snapshot against the live network before it is recalled: per device what
/// differs (tw_diff), the snapshot's devices that are not on the network and
/// are skipped, and the routes the recall would refuse with the reason.
/// exec() returns Accepted when the operator chose to recall (pb_recall).
class SnapshotDiffDialog : public FramelessDialog
{
    Q_OBJECT
public:
    SnapshotDiffDialog(const QString &fileName, const NetSnapshot::Snapshot &snapshot, const NetSnapshot::Diff &diff,
                       const RouteBatch &recall, const RouteNetwork &live, QWidget *parent = nullptr);

private:
    QTreeWidget *m_tree = nullptr;
    QPushButton *m_recall;
};
