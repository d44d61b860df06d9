#include "core/app/netscan.h"
#include "core/app/netselection.h"

#include <QtTest>

class TestNetSelection : public QObject
{
    Q_OBJECT
private slots:
    void virtualAdaptersAndLoopbackAreLeftOut();
    void autoSelectOnlyWithOneCandidate();
    void rescanActions();
};

void TestNetSelection::virtualAdaptersAndLoopbackAreLeftOut()
{
    const QVector<NetScan::Entry> entries{{"lo", "127.0.0.1"},
                                          {"eth0", "192.168.1.10"},
                                          {"VMware Network Adapter VMnet8", "192.168.56.1"},
                                          {"vEthernet (Default Switch)", "172.20.0.1"},
                                          {"lo", "127.0.0.2"},
                                          {"wlan0", "10.0.0.5"}};
    // Only 127.0.0.1 is left out of the loopback range; the rest of the list keeps its order.
    QCOMPARE(NetScan::candidatesFrom(entries), (QStringList{"192.168.1.10", "127.0.0.2", "10.0.0.5"}));
}

void TestNetSelection::autoSelectOnlyWithOneCandidate()
{
    QString chosen;
    QVERIFY(NetSelection::autoSelect({"192.168.1.10"}, &chosen));
    QCOMPARE(chosen, QStringLiteral("192.168.1.10"));
    chosen.clear();
    QVERIFY(!NetSelection::autoSelect({}, &chosen));
    QVERIFY(!NetSelection::autoSelect({"a", "b"}, &chosen));
    QVERIFY(chosen.isEmpty());
}

void TestNetSelection::rescanActions()
{
    QCOMPARE(NetSelection::onRescan({"a"}, {"a"}), NetSelection::Nothing);
    // The cable is pulled: the choice stays, nothing is asked.
    QCOMPARE(NetSelection::onRescan({"a"}, {}), NetSelection::Nothing);
    QCOMPARE(NetSelection::onRescan({}, {"b"}), NetSelection::Choose);
    QCOMPARE(NetSelection::onRescan({"a"}, {"b"}), NetSelection::Choose);
    // A second adapter appears: ask, the traffic stays until the user confirms.
    QCOMPARE(NetSelection::onRescan({"a"}, {"a", "b"}), NetSelection::AskUser);
    QCOMPARE(NetSelection::onRescan({"a", "b"}, {"b", "a"}), NetSelection::AskUser);
}

QTEST_GUILESS_MAIN(TestNetSelection)
#include "tst_netselection.moc"
