#include "core/devices/tablemerge.h"
#include "core/protocol/ipv4.h"

#include <QJsonArray>
#include <QtTest>

#include <climits>

namespace {

QJsonObject page(const QJsonValue &idStart, const QJsonValue &idNext, const QJsonArray &items = {})
{
    QJsonObject o{{"arr", items}};
    if (!idStart.isUndefined())
        o.insert("idStart", idStart);
    if (!idNext.isUndefined())
        o.insert("idNext", idNext);
    return o;
}

} // namespace

class TestTableMerge : public QObject
{
    Q_OBJECT
private slots:
    void targetOfAnOperation();
    void pagesMoveTheFetchedCount_data();
    void pagesMoveTheFetchedCount();
    void itemsLandInsideTheTable();
    void storedItemsReadBack();
    void namesAndRefetch();
};

void TestTableMerge::targetOfAnOperation()
{
    QCOMPARE(TableMerge::targetOf("getAllRxCh").table, int(DeviceTables::RxCh));
    QCOMPARE(TableMerge::targetOf("getAllActiveMcastId").table, int(DeviceTables::ActiveMcastId));
    QCOMPARE(TableMerge::targetOf("getAllChNameTx").nameTable, int(DeviceTables::NameTx));
    QCOMPARE(TableMerge::targetOf("getAllChNameTx").table, -1);
    QVERIFY(!TableMerge::targetOf("getAllRxChX").isValid());
    QVERIFY(!TableMerge::targetOf("getVersion").isValid());
}

void TestTableMerge::pagesMoveTheFetchedCount_data()
{
    QTest::addColumn<int>("fetched");
    QTest::addColumn<QJsonObject>("reply");
    QTest::addColumn<bool>("moved");
    QTest::addColumn<int>("after");
    QTest::newRow("first page") << 0 << page("0", 16) << true << 16;
    QTest::newRow("last page") << 16 << page("16", "20") << true << 20;
    QTest::newRow("idStart left out: the page asked for") << 16 << page(QJsonValue::Undefined, 20) << true << 20;
    // A late repeat must not move the count back, nor a page past what was asked move it on.
    QTest::newRow("repeat of the first page") << 16 << page("0", 16) << false << 16;
    QTest::newRow("page past the one asked") << 16 << page("18", 20) << false << 16;
    QTest::newRow("no idNext") << 0 << page("0", QJsonValue::Undefined) << false << 0;
    QTest::newRow("idNext not a number") << 0 << page("0", "x") << false << 0;
}

void TestTableMerge::pagesMoveTheFetchedCount()
{
    QFETCH(int, fetched);
    QFETCH(QJsonObject, reply);
    DeviceTables t;
    t.fetched[DeviceTables::RxCh] = fetched;
    QTEST(TableMerge::mergePage(t, DeviceTables::RxCh, 20, reply), "moved");
    QTEST(t.fetched[DeviceTables::RxCh], "after");
}

void TestTableMerge::itemsLandInsideTheTable()
{
    DeviceTables t;
    // Items without an "id" sit at idStart plus their place; ids outside the table are dropped, and a page
    // claiming a start near INT_MAX must not overflow into it.
    t.fetched[DeviceTables::RxCh] = 2;
    QVERIFY(TableMerge::mergePage(t, DeviceTables::RxCh, 4, page("2", 4, {QJsonObject{{"rtpChId", "7"}},
                                                                         QJsonObject{{"rtpChId", "8"}},
                                                                         QJsonObject{{"rtpChId", "9"}}})));
    QCOMPARE(t.rxCh, (QVector<qint32>{0, 0, 7, 8}));
    t.fetched[DeviceTables::RtpCh] = INT_MAX - 1;
    QVERIFY(TableMerge::mergePage(t, DeviceTables::RtpCh, 4, page(QString::number(INT_MAX - 1), INT_MAX,
        {QJsonObject{}, QJsonObject{}, QJsonObject{}, QJsonObject{{"id", "4"}}, QJsonObject{{"id", "-1"}}})));
    QVERIFY(t.rtpCh.isEmpty());
}

void TestTableMerge::storedItemsReadBack()
{
    Device d;
    d.rec.chNumRx = 4;
    DeviceTables &t = d.tables;
    QVERIFY(TableMerge::mergePage(t, DeviceTables::RxCh, 4, page("0", 4,
        {QJsonObject{{"id", "0"}, {"rtpChId", "1"}}, QJsonObject{{"id", "1"}, {"rtpChId", "-1"}},
         QJsonObject{{"id", "2"}, {"rtpChId", "2"}}, QJsonObject{{"id", "3"}, {"rtpChId", "3"}}})));
    QVERIFY(TableMerge::mergePage(t, DeviceTables::RtpCh, 4, page("0", 4,
        {QJsonObject{{"id", "1"}, {"active", "1"}, {"srcDevId", "TX"}, {"name", "Stage"}, {"srcChId", "5"},
                     {"srcIp", "10.0.0.3"}, {"dstIp", "10.0.0.2"}, {"dstPort", "5004"}},
         QJsonObject{{"id", "2"}, {"active", "0"}, {"srcDevId", ""}, {"name", "Flow"}, {"srcChId", "1"},
                     {"srcIp", "10.0.0.3"}, {"dstIp", "239.1.2.3"}, {"dstPort", "5004"}},
         QJsonObject{{"id", "3"}, {"srcIp", "0.0.0.0"}, {"srcDevId", ""}, {"dstIp", "0.0.0.0"}}})));
    QVERIFY(TableMerge::mergePage(t, DeviceTables::UcastTx, 1, page("0", 1,
        {QJsonObject{{"dstDevId", "X"}, {"dstIp", "10.0.0.7"}, {"chNum", "1"},
                     {"srcChIdArr", QJsonArray{"3", "4294967295"}}}})));
    QVERIFY(TableMerge::mergePage(t, DeviceTables::McastTx, 2, page("0", 2,
        {QJsonObject{{"id", "1"}, {"sdpId", "3"}, {"name", "Mix"}, {"dstIp", "239.69.0.1"}, {"dstPort", "5004"},
                     {"chNum", "2"}, {"srcChIdArr", QJsonArray{"0", "1"}}}})));
    QVERIFY(TableMerge::mergePage(t, DeviceTables::ActiveMcastId, 2, page("0", 2,
        {QJsonObject{{"active", "1"}}, QJsonObject{{"active", 1}}})));

    QCOMPARE(d.routeOf(0)->srcDevId, QStringLiteral("TX"));
    QCOMPARE(d.routeOf(0)->srcChId, 5);
    QVERIFY(d.routeOf(0)->active);
    QVERIFY(!d.routeOf(0)->isMulticast());
    QVERIFY(!d.routeOf(1));
    QVERIFY(d.routeOf(2)->isMulticast());
    QCOMPARE(d.routeOf(2)->dstIp, Ipv4::fromText("239.1.2.3"));
    QVERIFY(!d.routeOf(3)); // an unused entry is no route
    QVERIFY(!d.routeOf(4));
    QCOMPARE(t.ucastTx.at(0).srcChIds, (QVector<quint32>{3, UcastTxItem::kEmptyPlace}));
    QCOMPARE(t.ucastTx.at(0).dstIp, Ipv4::fromText("10.0.0.7"));
    QCOMPARE(t.mcastTx.size(), 2);
    QCOMPARE(t.mcastTx.at(1).name, QStringLiteral("Mix"));
    QCOMPARE(t.mcastTx.at(1).srcChIds, (QVector<qint32>{0, 1}));
    // Flags are the text "1"; anything else is off.
    QCOMPARE(t.activeMcast, (QVector<bool>{true, false}));
}

void TestTableMerge::namesAndRefetch()
{
    DeviceTables t;
    QVERIFY(TableMerge::mergeNamePage(t, DeviceTables::NameRx, 3, page("0", 2, {QJsonObject{{"id", "1"}, {"name", "Gtr"}}})));
    QCOMPARE(t.names[DeviceTables::NameRx], (QVector<QString>{"", "Gtr", ""}));
    QVERIFY(!TableMerge::mergeNamePage(t, DeviceTables::NameRx, 3, page("0", 2)));
    QCOMPARE(t.namesFetched[DeviceTables::NameRx], 2);

    for (int i = 0; i < DeviceTables::TableCount; ++i)
        t.fetched[i] = 8;
    TableMerge::refetchRoutes(t);
    QCOMPARE(t.fetched[DeviceTables::RxCh], 0);
    QCOMPARE(t.fetched[DeviceTables::McastTx], 0);
    QCOMPARE(t.fetched[DeviceTables::ActiveUcastId], 8);
    TableMerge::refetchActive(t);
    QCOMPARE(t.fetched[DeviceTables::ActiveUcastId], 0);
    QCOMPARE(t.fetched[DeviceTables::ActiveMcastId], 0);
}

QTEST_GUILESS_MAIN(TestTableMerge)
#include "tst_tablemerge.moc"
