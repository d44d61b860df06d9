#include "core/app/language.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/routing/netsnapshot.h"
#include "gui/routing/routebatchdialog.h"
#include "gui/routing/snapshotdiffdialog.h"
#include "gui/widgets/style.h"

#include "../support/routenetworks.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

#include <memory>

using namespace RouteNetworks;

namespace {

const QString kLongName = QStringLiteral("DSP Matrix 16 — Main Hall Left Front Fill Processor");

// The console and the matrix are on different networks, so every route asks the same question.
RouteNetwork showNetwork()
{
    Device console = device("SIM-0003", "Console 64", "172.16.1.3");
    console.tables.names[DeviceTables::NameTx] = {"Vocal L", "Vocal R", "Guitar", "Keys", "Bass DI", "Kick"};
    Device matrix = device("SIM-0006", kLongName, "172.17.2.6");
    const Device box = device("SIM-0009", "Stage Box 32", "172.16.1.9", {{"sampleRate", "96000"}});
    route(matrix, 2, box, 1);
    route(matrix, 4, console, 4);
    route(matrix, 6, console, 6);
    return RouteNetwork({console, matrix, box}, {});
}

// Three routes (one replacing a route), one clear, one refused, one already as asked.
RouteBatch showBatch(const RouteNetwork &net)
{
    QString error;
    RouteBatch batch = BulkRoute::plan(net, {"SIM-0003", "SIM-0006", 1, 4}, &error);
    batch.add(net, {"SIM-0006", 6, {}, {}});
    batch.add(net, {"SIM-0006", 5, {}, RouteSource::unicast("SIM-0009", 1)});
    return batch;
}

QStringList column(const QTreeWidgetItem *parent, int c)
{
    QStringList out;
    for (int i = 0; i < parent->childCount(); ++i)
        out << parent->child(i)->text(c);
    return out;
}

// Clicks a button of the modal dialog once it is up; a missing button closes it, so nothing hangs.
void clickInModal(const QString &button)
{
    auto *poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, [poll, button] {
        auto *modal = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!modal || !modal->isVisible())
            return;
        poll->deleteLater();
        if (auto *b = modal->findChild<QPushButton *>(button))
            QTest::mouseClick(b, Qt::LeftButton);
        else
            modal->reject();
    });
    poll->start(10);
}

} // namespace

class TestRouteDialogs : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void confirmListsChangesQuestionsOnceAndRefusals();
    void applyAcceptsCancelRefuses();
    void batchWithoutChangesOnlyCloses();
    void snapshotDiffShowsKindsMissingAndRefusals();
    void emptyRecallCannotBeChosen();
};

void TestRouteDialogs::initTestCase()
{
    applyScaleFactors(computeScaleFactors(ScreenMetrics{1920, 1080, 1920, 1080, 96}));
    qApp->setStyleSheet(Style::applicationStyleSheet());
    Language::setChinese(false);
}

void TestRouteDialogs::confirmListsChangesQuestionsOnceAndRefusals()
{
    const RouteNetwork net = showNetwork();
    const RouteBatch batch = showBatch(net);
    RouteBatchDialog d("Bulk route", batch, net);
    auto *changes = d.findChild<QTreeWidget *>("tw_changes");
    QVERIFY(changes);
    QCOMPARE(column(changes->invisibleRootItem(), 2),
             (QStringList{"Console 64 · Vocal L", "Console 64 · Vocal R", "Console 64 · Guitar", tx(Tx::BatchCleared)}));
    QCOMPARE(column(changes->invisibleRootItem(), 1),
             (QStringList{"—", "Stage Box 32 · 1", "—", "Console 64 · Kick"}));
    // A long name is cut in the cell, whole in its tool tip, and the dialog stays on the screen.
    QCOMPARE(changes->topLevelItem(0)->toolTip(0), kLongName + " · In 1");
    QVERIFY(d.width() <= d.screen()->availableGeometry().width());

    // Every route asks whether to cross networks: the dialog asks it once.
    QStringList questions;
    for (const QLabel *l : d.findChildren<QLabel *>("lb_question"))
        questions << l->text();
    QCOMPARE(questions.size(), batch.questions().size());
    QCOMPARE(questions.filter(tx(Tx::RouteNotSameNetwork)).size(), 1);

    auto *refused = d.findChild<QTreeWidget *>("tw_refused");
    QVERIFY(refused);
    QCOMPARE(refused->topLevelItemCount(), 1);
    QCOMPARE(refused->topLevelItem(0)->child(0)->text(0), tx(Tx::RouteRateDiffers));
    QCOMPARE(d.findChild<QLabel *>("lb_unchanged")->text(), tx(Tx::BatchUnchangedOne));
    // A clear among the changes: they are applied, not all routed.
    QCOMPARE(d.findChild<QPushButton *>("pb_apply")->text(), tx(Tx::BatchApplyMany).arg(4));
}

void TestRouteDialogs::applyAcceptsCancelRefuses()
{
    const RouteNetwork net = showNetwork();
    const RouteBatch batch = showBatch(net);
    clickInModal("pb_apply");
    QVERIFY(RouteBatchDialog::confirm(nullptr, "Bulk route", batch, net));
    clickInModal("pb_cancel");
    QVERIFY(!RouteBatchDialog::confirm(nullptr, "Bulk route", batch, net));
}

void TestRouteDialogs::batchWithoutChangesOnlyCloses()
{
    const RouteNetwork net = showNetwork();
    RouteBatch batch;
    batch.add(net, {"SIM-0006", 4, {}, RouteSource::unicast("SIM-0003", 4)});
    batch.add(net, {"SIM-0006", 5, {}, RouteSource::unicast("SIM-0009", 1)});
    QVERIFY(batch.changes.isEmpty());
    {
        RouteBatchDialog d("Bulk route", batch, net);
        QVERIFY(!d.findChild<QPushButton *>("pb_apply"));
        QCOMPARE(d.findChild<QTreeWidget *>("tw_refused")->topLevelItemCount(), 1);
    }
    clickInModal("pb_close");
    QVERIFY(!RouteBatchDialog::confirm(nullptr, "Bulk route", batch, net));

    // The result lists what the devices refused, with their reasons.
    const QVector<RouteRefusal> refused{{{"SIM-0006", 3, {}, RouteSource::unicast("SIM-0003", 3)}, tx(Tx::DeviceLocked)}};
    RouteBatchDialog result("Bulk route", 2, 3, refused, net);
    QCOMPARE(result.findChild<QLabel *>("lb_done")->text(), tx(Tx::BatchResultDone).arg(2).arg(3));
    const QTreeWidgetItem *row = result.findChild<QTreeWidget *>("tw_refused")->topLevelItem(0);
    QCOMPARE(row->text(1), QStringLiteral("Console 64 · Guitar"));
    QCOMPARE(row->child(0)->text(0), QStringLiteral("设备已加锁 (the device is locked)"));
}

void TestRouteDialogs::snapshotDiffShowsKindsMissingAndRefusals()
{
    const RouteNetwork net = showNetwork();
    NetSnapshot::Snapshot snap;
    snap.saved = QDateTime(QDate(2025, 3, 1), QTime(20, 15), Qt::UTC);
    NetSnapshot::DeviceState matrix{"SIM-0006", kLongName, {}, {}};
    matrix.routes.insert(2, RouteSource::unicast("SIM-0003", 2));  // live: the stage box
    matrix.routes.insert(3, RouteSource::unicast("SIM-0003", 3));  // live: none
    matrix.routes.insert(4, RouteSource::unicast("SIM-0003", 4));  // the same
    matrix.routes.insert(5, RouteSource::multicast(ip("239.69.9.9"), 1));  // a flow gone since
    matrix.subscriptions.insert(ip("239.69.9.9"), {ip("239.69.9.9"), "Lobby Feed", ip("10.0.1.40"), 5004, 2});
    NetSnapshot::DeviceState amp{"SIM-0099", "Amp Rack 4", {}, {}};
    amp.routes.insert(1, RouteSource::unicast("SIM-0003", 1));
    snap.devices = {matrix, amp};
    const NetSnapshot::Diff diff = NetSnapshot::diff(snap, net);
    const RouteBatch recall = NetSnapshot::recall(diff, net);

    SnapshotDiffDialog d("/shows/gala.json", snap, diff, recall, net, nullptr);
    auto *tree = d.findChild<QTreeWidget *>("tw_diff");
    QVERIFY(tree);
    QCOMPARE(tree->topLevelItemCount(), 3);
    const QTreeWidgetItem *device = tree->topLevelItem(0);
    QVERIFY(device->toolTip(0).startsWith(kLongName + " (SIM-0006)"));
    QCOMPARE(column(device, 0), (QStringList{"Receive 2 · In 2", "Receive 3 · In 3", "Receive 5 · In 5",
                                             "Receive 6 · In 6", "Subscription 239.69.9.9"}));
    QCOMPARE(column(device, 1), (QStringList{tx(Tx::SnapChanged), tx(Tx::SnapRemoved), tx(Tx::SnapRemoved),
                                             tx(Tx::SnapAdded), tx(Tx::SnapRemoved)}));
    QCOMPARE(device->child(0)->text(2), QStringLiteral("Stage Box 32 · 1"));
    QCOMPARE(device->child(0)->text(3), QStringLiteral("Console 64 · Vocal R"));
    QVERIFY(tree->topLevelItem(1)->child(0)->text(0).startsWith("Amp Rack 4 (SIM-0099)"));
    const QTreeWidgetItem *refused = tree->topLevelItem(2)->child(0);
    QCOMPARE(refused->text(0), kLongName + " · In 5");
    QCOMPARE(refused->child(0)->text(0), tx(Tx::BulkFlowGone).arg("239.69.9.9"));

    auto *recallButton = d.findChild<QPushButton *>("pb_recall");
    QCOMPARE(recallButton->text(), tx(Tx::SnapRecallMany).arg(recall.changes.size()));
    d.show();
    QTest::mouseClick(recallButton, Qt::LeftButton);
    QCOMPARE(d.result(), int(QDialog::Accepted));
}

void TestRouteDialogs::emptyRecallCannotBeChosen()
{
    const RouteNetwork net = showNetwork();
    const NetSnapshot::Snapshot snap = NetSnapshot::capture(net.devices());
    const NetSnapshot::Diff diff = NetSnapshot::diff(snap, net);
    QVERIFY(diff.isEmpty());
    SnapshotDiffDialog d("gala.json", snap, diff, NetSnapshot::recall(diff, net), net, nullptr);
    QVERIFY(!d.findChild<QTreeWidget *>("tw_diff"));
    QCOMPARE(d.findChild<QLabel *>("lb_noDifferences")->text(), tx(Tx::SnapNoDifferences));
    auto *recallButton = d.findChild<QPushButton *>("pb_recall");
    QVERIFY(!recallButton->isEnabled());
    // The primary colour would hide that it cannot be pressed.
    QVERIFY(!recallButton->property("role").isValid());
}

QTEST_MAIN(TestRouteDialogs)
#include "tst_routedialogs.moc"
