#include "core/devices/announcementparser.h"
#include "core/devices/commandtargets.h"

#include "../support/packets.h"

#include <QtTest>

namespace {

// A device whose tables are complete unless told otherwise.
Device device(const QString &devId, const QString &name, bool complete = true)
{
    Device d;
    AnnouncementParser::readDevice(QJsonDocument::fromJson(Packets::announcement(devId, "10.0.0.2", {{"name", name}}))
                                       .object(),
                                   &d.rec);
    for (int t = 0; t < DeviceTables::TableCount; ++t)
        d.tables.fetched[t] = complete ? DeviceTables::announcedCount(d.rec, DeviceTables::Table(t)) : 0;
    return d;
}

FlowRecord flow(const QString &name)
{
    FlowRecord f;
    f.name = name;
    f.dstIp = 0xEF450101;
    return f;
}

} // namespace

class TestCommandTargets : public QObject
{
    Q_OBJECT
private slots:
    void devicesByIdOrName();
    void settledTables();
    void aNamedFlowIsWaitedFor();
};

void TestCommandTargets::devicesByIdOrName()
{
    const QVector<Device> devices{device("A", "Stage"), device("Stage", "Other")};
    QCOMPARE(CommandTargets::resolveDevice(devices, "A"), QStringLiteral("A"));
    QCOMPARE(CommandTargets::resolveDevice(devices, "Other"), QStringLiteral("Stage"));
    // An id wins over another device's name.
    QCOMPARE(CommandTargets::resolveDevice(devices, "Stage"), QStringLiteral("Stage"));
    QCOMPARE(CommandTargets::resolveDevice(devices, "nobody"), QString());
}

void TestCommandTargets::settledTables()
{
    const qint64 quiet = CommandTargets::kQuietMs;
    QVERIFY(CommandTargets::settled({device("A", "a")}, quiet));
    QVERIFY(!CommandTargets::settled({device("A", "a")}, quiet - 1));
    QVERIFY(!CommandTargets::settled({device("A", "a"), device("B", "b", false)}, quiet * 10));
    QVERIFY(!CommandTargets::settled({}, quiet * 10));
}

void TestCommandTargets::aNamedFlowIsWaitedFor()
{
    // Settled tables, but the flow created a moment ago has not been announced yet: not ready.
    const QVector<Device> devices{device("TX", "Sender"), device("RX", "Receiver")};
    CommandTargets route;
    route.devices = QStringList{"Receiver"};
    route.flows = QStringList{"New Flow"};
    QVERIFY(!route.ready(devices, {flow("Old Flow")}, 60000));
    QVERIFY(route.ready(devices, {flow("Old Flow"), flow("New Flow")}, CommandTargets::kQuietMs));
    QVERIFY(!route.ready(devices.mid(0, 1), {flow("New Flow")}, 60000));

    // A device's own flow is known once its table lists it with an address.
    CommandTargets remove;
    remove.sentFlows.append(qMakePair(QStringLiteral("Sender"), QStringLiteral("Mix")));
    QVERIFY(!remove.known(devices, {}));
    QVector<Device> listed = devices;
    McastTxItem item;
    item.name = "Mix";
    listed[0].tables.mcastTx = {item};
    QVERIFY(!remove.known(listed, {}));
    listed[0].tables.mcastTx[0].dstIp = 0xEF450101;
    QVERIFY(remove.known(listed, {}));
    QVERIFY(CommandTargets().known({}, {}));
}

QTEST_GUILESS_MAIN(TestCommandTargets)
#include "tst_commandtargets.moc"
