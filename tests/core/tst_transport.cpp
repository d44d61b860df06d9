// Runs inside a private network namespace (see tests/netns-run): real sockets
// on loopback, multicast included, and nothing reaches the host's networks.
#include "core/protocol/devicelink.h"
#include "core/protocol/ipv4.h"

#include "../support/packets.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkInterface>
#include <QProcess>
#include <QSignalSpy>
#include <QUdpSocket>
#include <QtTest>

namespace {

// A device as the program meets it: its own address, a control port, and a
// socket that sends to the groups through loopback.
struct Peer
{
    QUdpSocket control;
    QUdpSocket group;
    QString address;

    explicit Peer(const QString &addr, quint16 port = 9990)
        : address(addr)
    {
        QVERIFY(control.bind(QHostAddress(addr), port));
        QVERIFY(group.bind(QHostAddress(addr), 0));
        group.setMulticastInterface(loopback());
        group.setSocketOption(QAbstractSocket::MulticastLoopbackOption, 1);
    }
    static QNetworkInterface loopback()
    {
        for (const QNetworkInterface &i : QNetworkInterface::allInterfaces())
            if (i.flags() & QNetworkInterface::IsLoopBack)
                return i;
        return {};
    }
    void toGroup(const QByteArray &data, const char *groupAddress, quint16 port)
    {
        group.writeDatagram(data, QHostAddress(QLatin1String(groupAddress)), port);
    }
    QByteArray next(int timeoutMs = 3000, QHostAddress *from = nullptr, quint16 *fromPort = nullptr)
    {
        if (!control.hasPendingDatagrams() && !control.waitForReadyRead(timeoutMs))
            return {};
        QByteArray data(int(control.pendingDatagramSize()), '\0');
        control.readDatagram(data.data(), data.size(), from, fromPort);
        return data;
    }
};

bool waitFor(const std::function<bool()> &done, int ms = 3000)
{
    return QTest::qWaitFor(done, ms);
}

} // namespace

class TestTransport : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void noInterfaceWithThatAddress();
    void replySizeLimitAndDispatch();
    void eventsBlinksAndSap();
    void tickSignals();
    void restartMovesToTheNewAddress();
};

void TestTransport::initTestCase()
{
    if (qEnvironmentVariable("CORVANE_IN_NETNS") != QLatin1String("1"))
        QSKIP("needs the private network namespace of tests/netns-run");
}

void TestTransport::noInterfaceWithThatAddress()
{
    DeviceLink link;
    QCOMPARE(link.thread().sendDatagram("x", Ipv4::fromText("127.0.0.1"), 9), -1); // before any start
    QVERIFY(!link.startOn("not an address"));
    // Emitted on the receive thread: a spy must not be filled there, so it hears it queued.
    QObject here;
    bool gone = false;
    connect(&link.thread(), &MyThread::signal_noInterface, &here, [&gone] { gone = true; }, Qt::QueuedConnection);
    QVERIFY(link.startOn("10.123.45.67"));
    QTRY_VERIFY_WITH_TIMEOUT(gone, 3000);
    QVERIFY(link.thread().wait(3000));
    QCOMPARE(link.thread().currentAddress(), 0u);
    QVERIFY(link.thread().stopFlag());
    QCOMPARE(link.thread().sendDatagram("x", Ipv4::fromText("127.0.0.1"), 9), -1);
}

void TestTransport::replySizeLimitAndDispatch()
{
    DeviceLink link;
    QSignalSpy messages(&link, &DeviceLink::signal_recv_message);
    QSignalSpy tips(&link, &DeviceLink::signal_showTips);
    QVERIFY(link.startOn("127.0.0.1"));
    QVERIFY(waitFor([&] { return link.thread().unicastPort() != 0; }));
    Peer dev("127.0.0.6");
    const QHostAddress program(QStringLiteral("127.0.0.1"));
    const quint16 port = link.thread().unicastPort();

    auto padded = [](int size) {
        QByteArray head = "{\"ops\":\"getVersion\",\"result\":\"succ\",\"pad\":\"";
        QByteArray out = head + QByteArray(size - head.size() - 2, 'x') + "\"}";
        Q_ASSERT(out.size() == size);
        return out;
    };
    dev.control.writeDatagram(padded(1500), program, port);
    dev.control.writeDatagram(padded(1499), program, port);
    QVERIFY(messages.wait(3000));
    QCOMPARE(messages.count(), 1);
    QCOMPARE(messages.first().first().toString().size(), 1499);

    dev.control.writeDatagram("{\"ops\":\"setUcastRx\",\"result\":\"fail\",\"reason\":\"LOCK_UCAST_MCAST\"}", program, port);
    QVERIFY(tips.wait(3000));
    QCOMPARE(tips.first().at(0).toString(), QStringLiteral("设备已加锁 (the device is locked)"));
    QCOMPARE(tips.first().at(1).toBool(), false);
}

void TestTransport::eventsBlinksAndSap()
{
    DeviceLink link;
    QSignalSpy messages(&link, &DeviceLink::signal_recv_message);
    QSignalSpy blinks(&link, &DeviceLink::signal_blinkingDev);
    // Registry notices are emitted on the receive thread: the spy hears them through a queued hop.
    QObject hop;
    int flows = 0;
    connect(&link, &DeviceLink::signal_send_addMcast, &hop, [&flows] { ++flows; }, Qt::QueuedConnection);
    QVERIFY(link.startOn("127.0.0.1"));
    QVERIFY(waitFor([&] { return link.thread().unicastPort() != 0; }));
    Peer dev("127.0.0.7");
    dev.toGroup("{\"devId\":\"P7\",\"event\":\"masterOffset\",\"state\":\"2\",\"masterOffset\":\"-20\"}", "239.0.0.189", 9996);
    QVERIFY(messages.wait(3000));
    const QJsonObject event = QJsonDocument::fromJson(messages.first().first().toString().toUtf8()).object();
    QCOMPARE(event.value("ops").toString(), QStringLiteral("clockEvent"));
    QCOMPARE(event.value("remoteIp").toString(), QStringLiteral("127.0.0.7"));

    dev.toGroup("{\"ops\":\"devReqGuiBlink\",\"devId\":\"P7\"}", "239.0.0.188", 9996);
    QVERIFY(blinks.wait(3000));
    QCOMPARE(blinks.first().first().toString(), QStringLiteral("P7"));
    QVERIFY(link.thread().blinkTimeouts().contains("P7"));

    dev.toGroup(Packets::sap(Packets::sdp("Stage", "127.0.0.7", "239.69.0.7")), "239.255.255.255", 9875);
    QTRY_VERIFY_WITH_TIMEOUT(flows > 0, 3000);
    QVERIFY(link.registry().findFlow(Ipv4::fromText("239.69.0.7")));
}

void TestTransport::tickSignals()
{
    DeviceLink link;
    QSignalSpy refresh(&link, &DeviceLink::signal_refreshUi);
    QSignalSpy info(&link, &DeviceLink::signal_refreshDevInfoUi);
    QVERIFY(link.startOn("127.0.0.1"));
    // Nothing changed: no refresh; a change raises one on the next ~1 s tick.
    QVERIFY(!refresh.wait(1500));
    link.thread().setUiDirty();
    QVERIFY(refresh.wait(2000));
    QVERIFY(info.count() > 0 || info.wait(3000));
}

void TestTransport::restartMovesToTheNewAddress()
{
    QCOMPARE(QProcess::execute("ip", {"addr", "add", "10.200.0.1/24", "dev", "lo"}), 0);
    DeviceLink link;
    QVERIFY(link.startOn("127.0.0.1"));
    QVERIFY(waitFor([&] { return link.thread().unicastPort() != 0; }));
    QCOMPARE(link.currentAddress(), QStringLiteral("127.0.0.1"));

    QVERIFY(link.startOn("10.200.0.1"));
    QVERIFY(waitFor([&] { return link.thread().unicastPort() != 0; }));
    QCOMPARE(link.currentAddress(), QStringLiteral("10.200.0.1"));

    // Requests now leave from the new address.
    Peer dev("127.0.0.8");
    link.thread().sendDatagram("{\"ops\":\"ping\"}", Ipv4::fromText("127.0.0.8"), 9990);
    QHostAddress from;
    QCOMPARE(dev.next(3000, &from), QByteArray("{\"ops\":\"ping\"}"));
    QCOMPARE(from.toString(), QStringLiteral("10.200.0.1"));

    link.stop();
    QCOMPARE(link.thread().sendDatagram("x", Ipv4::fromText("127.0.0.8"), 9990), -1);
}

QTEST_GUILESS_MAIN(TestTransport)
#include "tst_transport.moc"
