#include "core/app/texts.h"
#include "core/dsp/dspcommands.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspofflinefile.h"
#include "core/dsp/dspofflinesink.h"
#include "core/dsp/programs/programfiles.h"

#include "../support/dspdocs.h"

#include <QJsonDocument>
#include <QSignalSpy>
#include <QtTest>

/// The stand-in device with the real controller, and the file it edits.
class TestDspOffline : public QObject
{
    Q_OBJECT
private slots:
    void editsUndoAndSaveReachTheFile();
    void answersComeLaterAndEchoTheRequest();
    void refusesWhatTheDocumentHasNoRoomFor();
    void setConfigReshapesTheEchoAndMixerNodes();
    void budgetFollowsTheChosenModel();
    void fileRefusalsAndFit();
};

namespace {

QJsonObject parsed(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

/// A controller on a stand-in device holding doc, loaded.
struct Offline
{
    DspOfflineSink sink;
    DspController controller{&sink};
    explicit Offline(const CDeviceDspData &doc, const QString &model = QStringLiteral("RK0404D"))
        : sink(doc)
    {
        QObject::connect(&sink, &DspOfflineSink::signal_reply, &controller, &DspController::handleTcpReply);
        controller.setDevice(QString(), model);
        controller.requestConfig();
    }
    bool idle()
    {
        return QTest::qWaitFor([this] { return controller.isLoaded() && controller.isIdle(); }, 3000);
    }
};

const DspEqBand &band0(const CDeviceDspData &doc)
{
    return doc.nodeArr[0].portArr[1].procArr[0].as<DspEq>()->bands[0];
}

} // namespace

void TestDspOffline::editsUndoAndSaveReachTheFile()
{
    Offline o(DspDocs::make(4, 4));
    QVERIFY(o.idle());
    QVERIFY(o.controller.addBlock(DspSide::In, 1, DspKind::Eq).isEmpty());
    QVERIFY(o.controller.hasUnsavedChanges());
    QSignalSpy saved(&o.controller, &DspController::signal_saved);
    o.controller.save();
    QVERIFY(saved.wait(3000));
    QCOMPARE(saved.first().first().toBool(), true);
    // The stand-in took the new chain, so changes of the block now go to it as to a device.
    QCOMPARE(o.sink.document().nodeArr[0].portArr[1].procArr.size(), 1);

    const quint64 id = o.controller.blockId(DspSide::In, 1, 0);
    DspEqBand band = o.controller.shownBlock(id).as<DspEq>()->bands[0];
    band.dbGain = -6.5f;
    band.freq0 = 250;
    QVERIFY(o.controller.setEqBand(id, 0, band).isEmpty());
    QVERIFY(o.idle());
    QCOMPARE(band0(o.controller.document()).dbGain, -6.5f);
    QCOMPARE(band0(o.sink.document()).dbGain, -6.5f);
    QCOMPARE(band0(o.sink.document()).freq0, 250.0);

    const QByteArray file = DspOfflineFile::write(QStringLiteral("hall"), o.controller.document());
    const DspOfflineFile::Opened back = DspOfflineFile::read(file);
    QVERIFY(back.ok());
    QCOMPARE(back.name, QStringLiteral("hall"));
    QCOMPARE(band0(back.doc).dbGain, -6.5f);
    QCOMPARE(back.doc.toJson(), o.controller.document().toJson());

    QVERIFY(o.controller.canUndo());
    o.controller.undo();
    QVERIFY(o.idle());
    QCOMPARE(band0(o.controller.document()).dbGain, 0.0f);
    QCOMPARE(band0(o.sink.document()).dbGain, 0.0f);
    // A block removed is gone from the file even before the stand-in is told.
    QVERIFY(o.controller.removeBlock(id).isEmpty());
    QVERIFY(DspOfflineFile::read(DspOfflineFile::write(QStringLiteral("hall"), o.controller.document()))
                .doc.nodeArr[0]
                .portArr[1]
                .procArr.isEmpty());
}

void TestDspOffline::answersComeLaterAndEchoTheRequest()
{
    DspOfflineSink sink(DspDocs::make(2, 2, {DspDefaults::block(0)}));
    QSignalSpy replies(&sink, &DspOfflineSink::signal_reply);
    const QString request = DspCommands::setBorderProcBypass(QStringLiteral("bf_in_ch_1_0"), {0, 1, 0}, false);
    sink.sendTcp(request);
    // Never inside the send: the controller marks a request as waiting only after sendTcp returns.
    QCOMPARE(replies.count(), 0);
    QVERIFY(replies.wait(1000));
    const QJsonObject r = parsed(replies.first().first().toString());
    QCOMPARE(r.value("ops").toString(), QStringLiteral("setBorderProcBypass"));
    QCOMPARE(r.value("uiTag").toString(), QStringLiteral("dspUiTag"));
    QCOMPARE(r.value("blockFlag").toString(), QStringLiteral("bf_in_ch_1_0"));
    QCOMPARE(r.value("val").toString(), QStringLiteral("0"));
    QCOMPARE(r.value("result").toString(), QStringLiteral("succ"));
    QCOMPARE(sink.document().nodeArr[0].portArr[1].procArr[0].bypass, false);

    // Live figures have nothing to measure: no answer at all.
    sink.sendUdp(DspCommands::getCpuUsage(), 0);
    QVERIFY(!replies.wait(100));
}

void TestDspOffline::refusesWhatTheDocumentHasNoRoomFor()
{
    CDeviceDspData doc = DspDocs::make(2, 2);
    const QByteArray before = doc.toJson();
    auto fails = [&doc](const QString &request, const char *reason) {
        const QJsonObject r = parsed(DspOfflineSink::answer(doc, request));
        return r.value("result").toString() == QLatin1String("fail") &&
               r.value("reason").toString() == QLatin1String(reason);
    };
    QVERIFY(fails(DspCommands::setGain(0, 5, -3), "bad param"));
    QVERIFY(fails(DspCommands::setMatrixCell(1, 0, 7, -3, false), "bad param"));
    QVERIFY(fails(DspCommands::setMatrixCell(1, 0, 1, 20, false), "bad param")); // above +12 dB
    QVERIFY(fails(DspCommands::setMatrixCell(0, 0, 1, -3, false), "bad param")); // not the matrix node
    QVERIFY(fails(DspCommands::setConfig({{}}, {{}, {}}), "bad param"));         // one input chain of two
    QVERIFY(fails(QStringLiteral("{\"ops\":\"getMicConfig\",\"uiTag\":\"dspUiTag\"}"), "unknown ops"));
    QCOMPARE(doc.toJson(), before);

    QCOMPARE(parsed(DspOfflineSink::answer(doc, DspCommands::setMatrixCell(1, 1, 0, -7.5, true))).value("result"),
             QJsonValue(QStringLiteral("succ")));
    QCOMPARE(doc.nodeArr[1].matrix.gainArr[1][0], -7.5);
    QCOMPARE(doc.nodeArr[1].matrix.muteArr[1][0], true);
    const QJsonObject gain = parsed(DspOfflineSink::answer(doc, DspCommands::setGain(2, 1, -4)));
    QCOMPARE(gain.value("val").toString(), QStringLiteral("-4"));
    QCOMPARE(doc.nodeArr[2].portArr[1].gainDb, -4.0);
}

void TestDspOffline::setConfigReshapesTheEchoAndMixerNodes()
{
    CDeviceDspData doc = DspDocs::make(4, 2);
    auto ok = [&doc](const QString &request) {
        return parsed(DspOfflineSink::answer(doc, request)).value("result").toString() == QLatin1String("succ");
    };
    QVERIFY(ok(DspCommands::setConfig(doc, 3, 2)));
    QCOMPARE(doc.nodeArr.size(), 5);
    QCOMPARE(doc.nodeArr[1].type, int(DspNode::EchoCancel));
    QCOMPARE(doc.nodeArr[1].portArr.size(), 3);
    QCOMPARE(doc.nodeArr[2].type, int(DspNode::Automixer));
    QCOMPARE(doc.nodeArr[2].automixer.maskArr, QVector<bool>({true, true}));
    // A channel set before a resize keeps its setting; the node goes with 0.
    doc.nodeArr[1].portArr[0].aecLevel = 7;
    QVERIFY(ok(DspCommands::setConfig(doc, 4, 0)));
    QCOMPARE(doc.nodeArr.size(), 4);
    QCOMPARE(doc.nodeArr[1].portArr.size(), 4);
    QCOMPARE(doc.nodeArr[1].portArr[0].aecLevel, 7);
    QCOMPARE(doc.nodeArr[2].type, int(DspNode::Matrix));
    QVERIFY(!ok(DspCommands::setConfig(doc, 5, 0))); // more than the inputs
}

void TestDspOffline::budgetFollowsTheChosenModel()
{
    const CDeviceDspData doc = DspDocs::make(2, 2, {DspDefaults::block(0), DspDefaults::block(2)}, {}, 96000);
    Offline small(doc, QStringLiteral("RK0202D"));
    Offline large(doc, QStringLiteral("RK1616D"));
    QVERIFY(small.idle() && large.idle());
    QCOMPARE(small.controller.budget().familyFactor, DspBudget::familyFactor(QStringLiteral("RK0202D"), 96000));
    QCOMPARE(large.controller.budget().familyFactor, 0.5);
    QVERIFY(small.controller.usage() > large.controller.usage());
    QCOMPARE(large.controller.usage(), DspBudget::usage(doc, 0.5));
}

void TestDspOffline::fileRefusalsAndFit()
{
    // An older version opens converted.
    const DspOfflineFile::Opened old =
        DspOfflineFile::read(*ProgramFiles::readFile(CORVANE_TEST_DATA "/programs/old.dt"));
    QVERIFY(old.ok() && old.converted);
    QCOMPARE(old.doc.version, QStringLiteral("4"));
    // The current version but no document this program can edit.
    QCOMPARE(DspOfflineFile::read("{\"config\":{\"version\":\"4\"},\"name\":\"a\"}").error,
             std::optional<Tx>(Tx::ProgFileNotProgram));

    const CDeviceDspData doc = DspDocs::make(4, 4);
    QCOMPARE(DspOfflineFile::modelFor(doc), QStringLiteral("RK0404D"));
    QVERIFY(DspOfflineFile::fitError(doc, QStringLiteral("RK0404D")).isEmpty());
    const QString misfit = DspOfflineFile::fitError(doc, QStringLiteral("RK0204D"));
    QVERIFY2(misfit.contains(QLatin1String("RK0204D")) && misfit.contains(QLatin1Char('4')), qPrintable(misfit));
    QVERIFY(!DspOfflineFile::fitError(doc, QStringLiteral("RK0404")).isEmpty());
    QVERIFY(!DspOfflineFile::model(QStringLiteral("RK0004D")));
    QCOMPARE(DspOfflineFile::model(QStringLiteral("RK1608D"))->inputs, 16);
    // Sending asks first when the device could not load it; an unknown rate or model is not held against it.
    QVERIFY(DspOfflineFile::sendWarning(doc, QStringLiteral("RK0404D"), 48000).isEmpty());
    QVERIFY(DspOfflineFile::sendWarning(doc, QString(), 0).isEmpty());
    QVERIFY(DspOfflineFile::sendWarning(doc, QStringLiteral("RK0404D"), 96000).contains(QLatin1String("96000")));
    QVERIFY(!DspOfflineFile::sendWarning(doc, QStringLiteral("RK0202D"), 48000).isEmpty());
}

QTEST_GUILESS_MAIN(TestDspOffline)
#include "tst_dspoffline.moc"
