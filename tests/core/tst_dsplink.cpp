// The DSP link: framing, the threaded transport and the blocking exchange.
// Every socket here is on 127.0.0.0/8, and the suite runs inside a private
// network namespace (tests/netns-run).
#include "core/app/language.h"
#include "core/app/log.h"
#include "core/app/texts.h"
#include "core/dsp/devdsptcpsocketthread.h"
#include "core/dsp/dspexchange.h"
#include "core/dsp/dspframeassembler.h"
#include "core/dsp/dsplink.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryFile>
#include <QThread>
#include <QtTest>

#include <cstdio>
#include <functional>
#include <memory>

namespace {

constexpr uint32_t kLoopback = 0x7f000001;
constexpr uint32_t kLoopback2 = 0x7f000002;

using Status = DspFrameAssembler::Status;

QByteArray prefix(quint32 n)
{
    QByteArray b(4, '\0');
    for (int i = 0; i < 4; ++i)
        b[i] = char((n >> (8 * i)) & 0xff);
    return b;
}

// Everything the program logs while a case runs, written by whatever thread
// logs and read back through a second handle.
class LogCapture
{
public:
    LogCapture()
    {
        file.open();
        out = std::fopen(file.fileName().toLocal8Bit().constData(), "a");
        Log::setOutput(out);
    }
    ~LogCapture()
    {
        Log::setOutput(nullptr);
        std::fclose(out);
    }
    QString text() const
    {
        QFile f(file.fileName());
        f.open(QIODevice::ReadOnly);
        return QString::fromUtf8(f.readAll());
    }
    QStringList lines() const { return text().split(QLatin1Char('\n'), Qt::SkipEmptyParts); }
    bool has(const QString &line) const { return lines().contains(line); }
    int count(const QString &start) const
    {
        int n = 0;
        for (const QString &l : lines())
            n += l.startsWith(start) ? 1 : 0;
        return n;
    }

private:
    QTemporaryFile file;
    std::FILE *out = nullptr;
};

// A device's DSP port as the tests need it: frames are cut out of the stream
// by hand, independently of the assembler under test.
class FakeDsp : public QObject
{
public:
    explicit FakeDsp(const QHostAddress &address = QHostAddress(QStringLiteral("127.0.0.1")), quint16 port = 0)
    {
        QVERIFY(server.listen(address, port));
        connect(&server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *s = server.nextPendingConnection()) {
                peers.append(s);
                connect(s, &QTcpSocket::readyRead, this, [this, s] { take(s); });
                connect(s, &QTcpSocket::disconnected, this, [this] { ++closed; });
            }
        });
    }
    quint16 port() const { return server.serverPort(); }
    QTcpSocket *last() const { return peers.isEmpty() ? nullptr : peers.last(); }

    QTcpServer server;
    QList<QTcpSocket *> peers;
    QStringList frames;
    int closed = 0;
    std::function<void(QTcpSocket *, const QString &)> onFrame;

private:
    void take(QTcpSocket *s)
    {
        QByteArray &buf = inbox[s];
        buf += s->readAll();
        while (buf.size() >= 4) {
            const quint32 n = quint8(buf[0]) | quint8(buf[1]) << 8 | quint8(buf[2]) << 16 | quint32(quint8(buf[3])) << 24;
            if (buf.size() < int(4 + n))
                break;
            const QString frame = QString::fromUtf8(buf.mid(4, int(n)));
            buf.remove(0, int(4 + n));
            frames.append(frame);
            if (onFrame)
                onFrame(s, frame);
        }
    }
    QHash<QTcpSocket *, QByteArray> inbox;
};

// A port on which nothing listens.
quint16 closedPort()
{
    QTcpServer s;
    s.listen(QHostAddress(QStringLiteral("127.0.0.1")), 0);
    const quint16 p = s.serverPort();
    s.close();
    return p;
}

// A link started against a fake device, with spies on all it reports.
struct LinkedDsp
{
    FakeDsp dsp;
    DspLink link;
    QSignalSpy connected{&link, &DspLink::signal_connected};
    QSignalSpy disconnected{&link, &DspLink::signal_disconnected};
    QSignalSpy state{&link, &DspLink::signal_stateChanged};
    QSignalSpy received{&link, &DspLink::signal_recvMsg};

    /// Starts the link and waits for its connect to go through (reported twice: trying, then done).
    bool start()
    {
        link.start(kLoopback, dsp.port());
        return QTest::qWaitFor([this] { return connected.count() == 2; }, 3000);
    }
};

// The exchange blocks its thread, so it runs on one of its own while this
// thread serves the fake device.
DspExchange::Result exchange(quint16 port, const QString &request, int readWaitMs = DspExchange::kReadWaitMs,
                             int limitMs = DspExchange::kLimitMs, qint64 *elapsedMs = nullptr)
{
    DspExchange::Result result;
    QElapsedTimer clock;
    clock.start();
    std::unique_ptr<QThread> t(QThread::create(
        [&] { result = DspExchange::run(QStringLiteral("127.0.0.1"), request, port, readWaitMs, limitMs); }));
    t->start();
    while (!t->wait(5))
        QCoreApplication::processEvents();
    if (elapsedMs)
        *elapsedMs = clock.elapsed();
    return result;
}

} // namespace

class TestDspLink : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void frameCountsBytes();
    void replyInChunksEmittedOnce_data();
    void replyInChunksEmittedOnce();
    void oddStreams_data();
    void oddStreams();

    void linkConnectsAndSendsFramed();
    void splitReplyGivesOneMessage();
    void sendBeforeConnectedIsDropped();
    void peerCloseAndBrokenStream();
    void reconnectionKeepsStoredAddress();
    void stopDestroysCleanly();

    void exchangeSucceeds();
    void exchangeFailures();
};

void TestDspLink::init()
{
    Language::setChinese(false);
}

void TestDspLink::cleanup()
{
    Language::setChinese(false);
}

void TestDspLink::frameCountsBytes()
{
    const QString msg = QStringLiteral("{\"name\":\"输入通道\"}"); // 11 ASCII + four characters of three bytes
    QCOMPARE(DspFrameAssembler::frame(msg), prefix(23) + msg.toUtf8());
    QCOMPARE(DspFrameAssembler::frame(QString()), prefix(0));
}

void TestDspLink::replyInChunksEmittedOnce_data()
{
    QTest::addColumn<QList<int>>("cuts");
    QTest::newRow("whole") << QList<int>{};
    QTest::newRow("header alone, payload in three") << QList<int>{4, 10, 30};
    QTest::newRow("header and a bit, then the rest") << QList<int>{7};
    QTest::newRow("one byte at the end") << QList<int>{46};
}

void TestDspLink::replyInChunksEmittedOnce()
{
    QFETCH(QList<int>, cuts);
    const QString msg = QStringLiteral("{\"ops\":\"getConfig\",\"result\":\"succ\",\"x\":\"1\"}");
    const QByteArray f = DspFrameAssembler::frame(msg);
    QCOMPARE(f.size(), 47);
    DspFrameAssembler a;
    QString out;
    int from = 0;
    for (int cut : cuts) {
        QCOMPARE(a.feed(f.mid(from, cut - from), &out), Status::Pending);
        QVERIFY(!a.expectingHeader());
        QCOMPARE(a.remainingBytes(), 47 - cut);
        from = cut;
    }
    QCOMPARE(a.feed(f.mid(from), &out), Status::Complete);
    QCOMPARE(out, msg);
    QVERIFY(a.expectingHeader());

    // The next message starts from nothing.
    QCOMPARE(a.feed(DspFrameAssembler::frame(QStringLiteral("{}")), &out), Status::Complete);
    QCOMPARE(out, QStringLiteral("{}"));
}

void TestDspLink::oddStreams_data()
{
    QTest::addColumn<QList<QByteArray>>("chunks");
    QTest::addColumn<QList<int>>("statuses"); // one per chunk
    QTest::addColumn<QStringList>("messages"); // one per Complete
    QTest::addColumn<int>("remaining"); // after the first chunk; -1: not looked at
    QTest::addColumn<QString>("logged");
    const auto st = [](std::initializer_list<Status> l) {
        QList<int> out;
        for (Status s : l)
            out << int(s);
        return out;
    };
    const auto f = [](const QString &m) { return DspFrameAssembler::frame(m); };
    const QString utf = QStringLiteral("{\"name\":\"输入通道\"}");
    const QString first = QStringLiteral("{\"ops\":\"a\"}");
    const QString third = QStringLiteral("{\"ops\":\"c\"}");
    constexpr quint32 kMax = DspFrameAssembler::kMaxPayload;
    QTest::newRow("character split between reads") << QList<QByteArray>{f(utf).left(12), f(utf).mid(12)}
        << st({Status::Pending, Status::Complete}) << QStringList{utf} << 15 << QString();
    QTest::newRow("too short for a prefix: dropped") << QList<QByteArray>{QByteArray("\x05\x00\x00", 3), f("abc")}
        << st({Status::ShortHeader, Status::Complete}) << QStringList{"abc"} << -1 << "tcp 读取数据长度错误 3";
    QTest::newRow("zero length: what follows is the message")
        << QList<QByteArray>{prefix(0) + "xyz", prefix(0), "q"} << st({Status::Complete, Status::Pending, Status::Complete})
        << QStringList{"xyz", "q"} << -1 << "tcp 读取数据，解析长度错误 0";
    QTest::newRow("zero byte ends the text, every byte counts")
        << QList<QByteArray>{prefix(6) + QByteArray("ab\0cd", 5), "e"} << st({Status::Pending, Status::Complete})
        << QStringList{"abe"} << 1 << QString();
    // The second's prefix is 12 0 0 0: its bytes up to the first zero end up behind the first reply, the rest is gone.
    QTest::newRow("two replies in one chunk") << QList<QByteArray>{f(first) + f("{\"ops\":\"bb\"}"), f(third)}
        << st({Status::Complete, Status::Complete}) << QStringList{first + QChar(12), third} << -1 << QString();
    QTest::newRow("longest allowed") << QList<QByteArray>{prefix(kMax) + "{"} << st({Status::Pending}) << QStringList()
                                     << int(kMax - 1) << QString();
    // A prefix that reads negative as a signed count is out of range too.
    QTest::newRow("too long") << QList<QByteArray>{prefix(kMax + 1) + "{", prefix(0xffffffffu)}
        << st({Status::Broken, Status::Broken}) << QStringList() << -1 << "tcp frame length out of range";
}

void TestDspLink::oddStreams()
{
    QFETCH(QList<QByteArray>, chunks);
    QFETCH(QList<int>, statuses);
    QFETCH(QString, logged);
    QFETCH(int, remaining);
    LogCapture log;
    DspFrameAssembler a;
    QStringList messages;
    for (int i = 0; i < chunks.size(); ++i) {
        QString out;
        QCOMPARE(int(a.feed(chunks[i], &out)), statuses[i]);
        if (Status(statuses[i]) == Status::Complete)
            messages << out;
        if (i == 0 && remaining >= 0)
            QCOMPARE(a.remainingBytes(), remaining);
    }
    QTEST(messages, "messages");
    if (!logged.isEmpty())
        QVERIFY(log.count(logged) > 0);
    if (Status(statuses.last()) != Status::Pending) {
        QVERIFY(a.expectingHeader());
        QVERIFY(a.pendingText().isEmpty());
    }
}

void TestDspLink::linkConnectsAndSendsFramed()
{
    LogCapture log;
    LinkedDsp t;
    QVERIFY(t.start());
    QCOMPARE(t.connected.at(0), (QVariantList{QStringLiteral("Connecting"), false}));
    QCOMPARE(t.connected.at(1), (QVariantList{QStringLiteral("Connecting"), true}));
    const QString msg = QStringLiteral("{\"ops\":\"getConfig\",\"name\":\"主机\"}");
    t.link.sendTcpRequest(msg);
    QTRY_COMPARE_WITH_TIMEOUT(t.dsp.frames, QStringList{msg}, 3000);
    QTRY_VERIFY_WITH_TIMEOUT(log.text().contains(QStringLiteral(" tcp send: 35 ") + msg), 3000);

    // The opening text follows the interface language.
    Language::setChinese(true);
    DspLink zh;
    QSignalSpy connected(&zh, &DspLink::signal_connected);
    zh.start(kLoopback, t.dsp.port());
    QTRY_COMPARE_WITH_TIMEOUT(connected.count(), 2, 3000);
    QCOMPARE(connected.at(0).at(0).toString(), QStringLiteral("连接中"));
}

void TestDspLink::splitReplyGivesOneMessage()
{
    LogCapture log;
    LinkedDsp t;
    const QString reply = QStringLiteral("{\"ops\":\"getConfig\",\"result\":\"succ\",\"config\":{\"customStr\":\"舞台\"}}");
    t.dsp.onFrame = [&](QTcpSocket *s, const QString &request) {
        if (request.contains(QStringLiteral("\"twice\""))) {
            s->write(DspFrameAssembler::frame(QStringLiteral("{\"ops\":\"twice\"}")));
            return;
        }
        // Three writes with a pause between, so the link reads three chunks,
        // the first of them the bare prefix.
        const QByteArray f = DspFrameAssembler::frame(reply);
        for (const QByteArray &part : {f.left(4), f.mid(4, 30), f.mid(34)}) {
            s->write(part);
            s->waitForBytesWritten(1000);
            QTest::qWait(30);
        }
    };
    QVERIFY(t.start());
    t.link.sendTcpRequest(QStringLiteral("{\"ops\":\"getConfig\"}"));
    QVERIFY(t.received.wait(3000));
    QCOMPARE(t.received.count(), 1);
    QCOMPARE(t.received.at(0).at(0).toString(), reply);

    // A second exchange gives exactly one more message: nothing was left over.
    t.link.sendTcpRequest(QStringLiteral("{\"ops\":\"twice\"}"));
    QVERIFY(t.received.wait(3000));
    QCOMPARE(t.received.count(), 2);
    QCOMPARE(t.received.at(1).at(0).toString(), QStringLiteral("{\"ops\":\"twice\"}"));
    QTRY_COMPARE_WITH_TIMEOUT(log.count(QStringLiteral("tcp ready all len ")), 2, 1000);
    QCOMPARE(log.count(QStringLiteral("tcp 读取数据长度错误")), 0);
}

void TestDspLink::sendBeforeConnectedIsDropped()
{
    LogCapture log;
    FakeDsp dsp;
    // Driven on this thread, so the early send certainly comes before the
    // link exists.
    DevDspTcpSocketThread transport;
    transport.setHost(kLoopback, dsp.port());
    QSignalSpy connected(&transport, &DevDspTcpSocketThread::signal_connected);
    transport.slot_sendMsg(QStringLiteral("{\"ops\":\"early\"}"));
    QVERIFY(log.has(QStringLiteral("tcpThread: tcp not ready")));

    transport.slot_runThread();
    QTRY_COMPARE_WITH_TIMEOUT(connected.count(), 2, 3000);
    transport.slot_sendMsg(QStringLiteral("{\"ops\":\"probe\"}"));
    QTRY_COMPARE_WITH_TIMEOUT(dsp.frames, QStringList{QStringLiteral("{\"ops\":\"probe\"}")}, 3000);

    // A second opening keeps the one socket.
    transport.slot_runThread();
    QCOMPARE(connected.count(), 2);
    QCOMPARE(dsp.peers.size(), 1);
}

void TestDspLink::peerCloseAndBrokenStream()
{
    LogCapture log;
    LinkedDsp t;
    QVERIFY(t.start());
    t.dsp.last()->disconnectFromHost();
    QTRY_COMPARE_WITH_TIMEOUT(t.disconnected.count(), 1, 3000);
    QTRY_COMPARE_WITH_TIMEOUT(t.state.count(), 1, 3000);
    QCOMPARE(t.state.at(0).at(0).toInt(), 0);
    QVERIFY(log.has(QStringLiteral("slot_stateChanged 0")));

    // A prefix beyond any document: the link drops the connection itself and
    // reports it like a close.
    t.link.reconnect(kLoopback);
    QTRY_COMPARE_WITH_TIMEOUT(t.connected.count(), 3, 3000);
    QTRY_COMPARE_WITH_TIMEOUT(t.dsp.peers.size(), 2, 3000);
    t.dsp.last()->write(prefix(80u * 1024 * 1024) + "{\"ops\"");
    QTRY_COMPARE_WITH_TIMEOUT(t.disconnected.count(), 2, 3000);
    QTRY_COMPARE_WITH_TIMEOUT(t.state.count(), 2, 3000);
    QTRY_COMPARE_WITH_TIMEOUT(t.dsp.closed, 2, 3000);
    QCOMPARE(t.received.count(), 0);
    QCOMPARE(log.count(QStringLiteral("tcp frame length out of range")), 1);
}

void TestDspLink::reconnectionKeepsStoredAddress()
{
    LogCapture log;
    LinkedDsp t;
    FakeDsp second(QHostAddress(QStringLiteral("127.0.0.2")), t.dsp.port());
    second.onFrame = [](QTcpSocket *s, const QString &) { s->write(DspFrameAssembler::frame(QStringLiteral("{\"from\":\"2\"}"))); };
    QVERIFY(t.start());
    // Half a reply from the old connection must not prefix the new one's.
    t.dsp.last()->write(prefix(100) + "{\"stale\"");
    t.dsp.last()->flush();
    QTest::qWait(50); // a partial frame leaves no trace to wait on

    t.link.reconnect(kLoopback2);
    QTRY_COMPARE_WITH_TIMEOUT(second.peers.size(), 1, 3000);
    QTRY_COMPARE_WITH_TIMEOUT(t.connected.count(), 3, 3000);
    QCOMPARE(t.connected.at(2).at(1).toBool(), true);
    QTRY_COMPARE_WITH_TIMEOUT(t.dsp.closed, 1, 3000);
    // The drop of the old connection is not reported.
    QCOMPARE(t.disconnected.count(), 0);
    QCOMPARE(t.state.count(), 0);
    QVERIFY(log.has(QStringLiteral("reconnection")));
    QCOMPARE(t.link.transport()->hostIp(), kLoopback);
    QCOMPARE(t.link.transport()->hostPort(), uint32_t(t.dsp.port()));

    t.link.sendTcpRequest(QStringLiteral("{\"ops\":\"getConfig\"}"));
    QVERIFY(t.received.wait(3000));
    QCOMPARE(t.received.at(0).at(0).toString(), QStringLiteral("{\"from\":\"2\"}"));
}

void TestDspLink::stopDestroysCleanly()
{
    LogCapture log;
    LinkedDsp t;
    QVERIFY(t.start());
    QPointer<DevDspTcpSocketThread> transport = t.link.transport();
    QVERIFY(transport && t.link.isRunning());

    t.link.stop();
    QVERIFY(!transport && !t.link.transport() && !t.link.isRunning());
    const QStringList lines = log.lines();
    const int destructor = lines.indexOf(QStringLiteral("~DevDspTcpSocketThread"));
    QVERIFY(destructor >= 0);
    QVERIFY(lines.indexOf(QStringLiteral("~~~delete tcpSocket")) > destructor);
    QTRY_COMPARE_WITH_TIMEOUT(t.dsp.closed, 1, 3000);

    // Stopping twice is harmless; a link that never got through stops as well.
    t.link.stop();
    t.link.start(kLoopback, closedPort());
    QVERIFY(t.state.wait(3000));
    t.link.stop();
    QCOMPARE(log.count(QStringLiteral("~~~delete tcpSocket")), 2);

    // Stopped before its event loop ran: the transport still goes with the thread.
    t.link.start(kLoopback, t.dsp.port());
    transport = t.link.transport();
    t.link.stop();
    QVERIFY(!transport);
    QCOMPARE(log.count(QStringLiteral("~~~delete tcpSocket")), 3);

    // Sends after the stop go nowhere.
    t.link.sendTcpRequest(QStringLiteral("{}"));
}

void TestDspLink::exchangeSucceeds()
{
    LogCapture log;
    FakeDsp dsp;
    const QString reply = QStringLiteral("{\"ops\":\"getConfig\",\"result\":\"succ\",\"config\":{\"customStr\":\"会议室\"}}");
    dsp.onFrame = [&](QTcpSocket *s, const QString &) {
        const QByteArray f = DspFrameAssembler::frame(reply);
        for (const QByteArray &part : {f.left(4), f.mid(4, 10), f.mid(14)}) {
            s->write(part);
            s->waitForBytesWritten(1000);
            QTest::qWait(30); // paced, so that the exchange reads three chunks
        }
    };
    const QString request = QStringLiteral("{\"ops\":\"getConfig\",\"uiTag\":\"dspUiTag\"}");
    const DspExchange::Result r = exchange(dsp.port(), request);
    QVERIFY(r.ok && r.message.isEmpty());
    QCOMPARE(r.reply, reply);
    QCOMPARE(dsp.frames, QStringList{request});
    QVERIFY(log.has(QStringLiteral("send msg ") + request));
    QVERIFY(log.count(QStringLiteral("read data ")) >= 2);
    QTRY_COMPARE_WITH_TIMEOUT(dsp.closed, 1, 3000);
}

void TestDspLink::exchangeFailures()
{
    LogCapture log;
    const QString request = QStringLiteral("{\"ops\":\"getConfig\"}");

    // Nobody listening.
    DspExchange::Result r = exchange(closedPort(), request);
    QVERIFY(!r.ok && r.reply.isEmpty());
    QCOMPARE(r.title + ": " + r.message, QStringLiteral("Notice: Connection failed. Please reopen the device window."));

    Language::setChinese(true);
    r = exchange(closedPort(), request);
    QCOMPARE(r.message, tx(Tx::DspConnectFailed, true));

    // Connected but silent: gives up after the limit, each wait logged.
    FakeDsp silent;
    qint64 took = 0;
    r = exchange(silent.port(), request, 300, 1200, &took);
    QVERIFY(!r.ok);
    QCOMPARE(r.title + ": " + r.message, QStringLiteral("提示: 通信失败"));
    QVERIFY2(took >= 1100 && took < 3000, qPrintable(QString::number(took)));
    QVERIFY(log.count(QStringLiteral("read no data")) >= 3);
    QTRY_COMPARE_WITH_TIMEOUT(silent.closed, 1, 3000);

    // A first read too short for a prefix ends the exchange at once.
    FakeDsp shortReply;
    shortReply.onFrame = [](QTcpSocket *s, const QString &) { s->write("{}", 2); };
    r = exchange(shortReply.port(), request, 300, 5000, &took);
    QVERIFY(!r.ok);
    QCOMPARE(r.message, QStringLiteral("通信失败"));
    QVERIFY(log.has(QStringLiteral("tcp 读取数据长度错误 2")));
    QVERIFY2(took < 2000, qPrintable(QString::number(took)));

    // The device hangs up halfway: no waiting out the limit.
    FakeDsp hangsUp;
    hangsUp.onFrame = [](QTcpSocket *s, const QString &) {
        s->write(prefix(50) + "{\"ops\"");
        s->disconnectFromHost();
    };
    r = exchange(hangsUp.port(), request, 1000, 5000, &took);
    QVERIFY(!r.ok);
    QCOMPARE(r.message, QStringLiteral("通信失败"));
    QVERIFY2(took < 2000, qPrintable(QString::number(took)));
}

QTEST_GUILESS_MAIN(TestDspLink)
#include "tst_dsplink.moc"
