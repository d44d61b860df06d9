// The DSP controller against a recording sink: what it sends, when the document changes, and undo.
#include "core/app/texts.h"
#include "core/dsp/dspcommands.h"
#include "core/dsp/dspcontroller.h"

#include "../support/dspdocs.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

double delayOf(const DspController &c, quint64 id)
{
    return c.block(id)->as<DspDelay>()->delayNum;
}

DspBlock withDelay(const DspController &c, quint64 id, int samples)
{
    DspBlock b = *c.block(id);
    b.as<DspDelay>()->delayNum = samples;
    return b;
}

} // namespace

class TstDspController : public QObject
{
    Q_OBJECT

    DspDocs::RecordingSink sink;
    DspController *c = nullptr;

    /// Answers the request waiting on the link as the device would.
    void answer(bool ok = true)
    {
        QVERIFY(!sink.tcp.isEmpty());
        c->handleTcpReply(DspDocs::answer(sink.tcp.last(), ok));
    }

private slots:
    void init()
    {
        sink = DspDocs::RecordingSink();
        c = new DspController(&sink, this);
        c->setDevice(QStringLiteral("DEV-1"), QStringLiteral("RK1616D"));
        c->requestConfig();
        QCOMPARE(sink.tcp, QStringList{DspCommands::getConfig()});
        c->handleTcpReply(DspDocs::reply(DspDocs::make(4, 4, DspDefaults::inputChain(), DspDefaults::outputChain())));
        QVERIFY(c->isLoaded());
        QVERIFY(c->isIdle());
        sink.tcp.clear();
    }
    void cleanup() { delete c; }

    void unusableConfigKeepsTheDocument()
    {
        QSignalSpy refused(c, &DspController::signal_configRefused);
        c->requestConfig();
        CDeviceDspData two = DspDocs::make(2, 2);
        two.nodeArr.removeLast();
        c->handleTcpReply(DspDocs::reply(two));
        c->requestConfig();
        c->handleTcpReply(QStringLiteral("{\"ops\":\"getConf"));
        QCOMPARE(refused.count(), 2);
        QCOMPARE(c->channelCount(DspSide::In), 4);
    }

    void changeEntersTheDocumentOnSuccess()
    {
        const quint64 id = c->blockId(DspSide::In, 1, 3); // the input chain's delay
        QSignalSpy changed(c, &DspController::signal_blockChanged);
        c->setBlockParams(id, withDelay(*c, id, 480));
        const DspBlockAddress at{0, 1, 3};
        QCOMPARE(sink.tcp, QStringList{DspCommands::setBorderProc(QStringLiteral("bf_in_ch_1_3"), at,
                                                                  withDelay(*c, id, 480))});
        QCOMPARE(delayOf(*c, id), 0.0); // not before the device said so
        answer();
        QCOMPARE(delayOf(*c, id), 480.0);
        QCOMPARE(changed.count(), 1);

        // A refusal leaves the document, says so, and leaves nothing to undo.
        QSignalSpy notices(c, &DspController::signal_notice);
        c->setBypass(id, false);
        answer(false);
        QVERIFY(c->block(id)->bypass);
        QCOMPARE(notices.last().at(0).toString(), tx(Tx::DspSetBypassFailed));
        c->undo();
        QCOMPARE(sink.tcp.last().contains(QLatin1String("\"delayNum\":\"0\"")), true);
    }

    void oneRequestAtATimeAndTheNewestWins()
    {
        const quint64 id = c->blockId(DspSide::Out, 0, 0);
        c->beginGesture();
        for (int v = 1; v <= 50; ++v)
            c->setBlockParams(id, withDelay(*c, id, v * 10));
        c->endGesture();
        QCOMPARE(sink.tcp.size(), 1); // the first, then nothing until it is answered
        answer();
        QCOMPARE(sink.tcp.size(), 2); // the waiting ones became one: the newest
        QVERIFY(sink.tcp.last().contains(QLatin1String("\"delayNum\":\"500\"")));
        answer();
        QVERIFY(c->isIdle());
        QCOMPARE(delayOf(*c, id), 500.0);

        // The drag is one step; undoing it sends the value from before the drag.
        c->undo();
        QVERIFY(sink.tcp.last().contains(QLatin1String("\"delayNum\":\"0\"")));
        answer();
        QCOMPARE(delayOf(*c, id), 0.0);
        QVERIFY(!c->canUndo());
        c->redo();
        answer();
        QCOMPARE(delayOf(*c, id), 500.0);
    }

    void equaliserBandsGoAloneAndADragIsOneStep()
    {
        const quint64 id = c->blockId(DspSide::In, 2, 4); // the input chain's equaliser
        auto band = [&](int i) { return c->block(id)->as<DspEq>()->bands[i]; };
        const DspEqBand original = band(3);
        DspEqBand v = original;
        v.dbGain = -6.0f;
        v.freq0 = 500.0;
        v.qBwS = 1.5;
        v.type = 1;
        v.bypass = true; // not taken: a band's bypass has its own request
        c->setEqBand(id, 3, v);
        QCOMPARE(sink.tcp, QStringList{QStringLiteral(
                               R"({"blockFlag":"bf_in_ch_2_4","eqIndex":"3","nodeId":"0","obj":{"dbGain":"-6",)"
                               R"("freq0":"500","qBwS":"1.5","type":"1"},"ops":"setBorderEq","portIndex":"2",)"
                               R"("procIndex":"4","uiTag":"dspUiTag"})")});
        QCOMPARE(band(3).freq0, original.freq0); // not before the device said so
        answer();
        QCOMPARE(band(3).freq0, 500.0);
        QCOMPARE(band(3).type, 1);
        QVERIFY(!band(3).bypass);
        QCOMPARE(band(2).freq0, 254.0);

        // A refused band bypass says "Set Failed!" and leaves the band and nothing to undo.
        QSignalSpy notices(c, &DspController::signal_notice);
        c->setEqBandBypass(id, 3, true);
        QCOMPARE(sink.tcp.last(), QStringLiteral(R"({"blockFlag":"bf_in_ch_2_4","eqIndex":"3","nodeId":"0",)"
                                                 R"("ops":"setBorderEqBypass","portIndex":"2","procIndex":"4",)"
                                                 R"("uiTag":"dspUiTag","val":"1"})"));
        answer(false);
        QCOMPARE(notices.last().at(0).toString(), tx(Tx::DspSetFailed));
        QVERIFY(!band(3).bypass);

        // A gain dragged: the first value, then only the newest; one undo step back to before the drag.
        const int sent = sink.tcp.size();
        c->beginGesture();
        for (int g = 1; g <= 20; ++g) {
            v.dbGain = -0.5f * g;
            c->setEqBand(id, 3, v);
        }
        c->endGesture();
        QCOMPARE(sink.tcp.size(), sent + 1);
        answer();
        QCOMPARE(sink.tcp.size(), sent + 2);
        answer();
        QCOMPARE(band(3).dbGain, -10.0f);
        c->undo();
        QCOMPARE(sink.tcp.last(), DspCommands::setBorderEq(QStringLiteral("bf_in_ch_2_4"), {0, 2, 4}, 3,
                                                           [&] { DspEqBand b = v; b.dbGain = -6.0f; return b; }()));
        answer();
        QCOMPARE(band(3).dbGain, -6.0f);
        c->undo();
        answer();
        QCOMPARE(band(3).freq0, original.freq0);
        QVERIFY(!c->canUndo());

        // No such band, not an equaliser: refused, nothing sent. A block the device has not got yet changes here.
        QVERIFY(!c->setEqBand(id, 7, v).isEmpty());
        QVERIFY(!c->setEqBandBypass(c->blockId(DspSide::In, 2, 3), 0, true).isEmpty());
        QVERIFY(c->addBlock(DspSide::Out, 0, DspKind::Eq).isEmpty());
        const quint64 added = c->blockId(DspSide::Out, 0, 7);
        const int before = sink.tcp.size();
        QVERIFY(c->setEqBandBypass(added, 0, true).isEmpty());
        QCOMPARE(sink.tcp.size(), before);
        QVERIFY(c->block(added)->as<DspEq>()->bands[0].bypass);
    }

    void staleRepliesAreIgnored()
    {
        const quint64 id = c->blockId(DspSide::In, 0, 3);
        c->setBlockParams(id, withDelay(*c, id, 100));
        // Another block's answer, and an answer nothing waits for, change nothing.
        c->handleTcpReply(QStringLiteral("{\"blockFlag\":\"bf_in_ch_2_3\",\"ops\":\"setBorderProc\",\"result\":\"succ\"}"));
        QCOMPARE(delayOf(*c, id), 0.0);
        QVERIFY(!c->isIdle());
        // The block goes before its answer arrives: the answer finds nothing to change.
        QVERIFY(c->removeBlock(id).isEmpty());
        answer();
        QVERIFY(!c->block(id));
        QVERIFY(c->isIdle());
        c->handleTcpReply(DspDocs::answer(sink.tcp.last()));
    }

    void identitySurvivesAndUndoRestoresTheChain()
    {
        const QVector<DspBlock> original = c->chain(DspSide::Out, 2);
        const quint64 fir = c->blockId(DspSide::Out, 2, 6);
        QVERIFY(c->removeBlock(c->blockId(DspSide::Out, 2, 0)).isEmpty());
        QVERIFY(c->addBlock(DspSide::Out, 2, DspKind::Ducker).isEmpty());
        QCOMPARE(c->place(fir)->procIndex, 5);
        QVERIFY(c->hasUnsavedChanges());
        QVERIFY(sink.tcp.isEmpty()); // structure reaches the device with a save

        // The blocks the device still has are changed at their device address; a new one only in memory.
        c->setBypass(fir, false);
        QVERIFY(sink.tcp.last().contains(QLatin1String("\"procIndex\":\"6\"")));
        answer();
        const quint64 ducker = c->blockId(DspSide::Out, 2, 6);
        c->setBypass(ducker, false);
        QCOMPARE(sink.tcp.size(), 1);
        QVERIFY(!c->block(ducker)->bypass);

        c->undo(); // ducker bypass
        c->undo(); // FIR bypass: sent back
        answer();
        c->undo(); // the ducker added
        c->undo(); // the delay removed
        QCOMPARE(c->chain(DspSide::Out, 2).size(), original.size());
        for (int i = 0; i < original.size(); ++i)
            QCOMPARE(c->chain(DspSide::Out, 2)[i].uid, original[i].uid);
        QVERIFY(c->block(fir)->bypass);
        QVERIFY(!c->hasUnsavedChanges());
        c->redo();
        QCOMPARE(c->chain(DspSide::Out, 2).size(), original.size() - 1);
    }

    void saveSendsTheChainsAndLaterChangesUseTheirNewPlace()
    {
        QVERIFY(c->addBlock(DspSide::In, 0, DspKind::Compress).isEmpty());
        // Saved while a change is on its way: the save carries it, or it would take it back on the device.
        const quint64 delay = c->blockId(DspSide::In, 0, 3);
        c->setBlockParams(delay, withDelay(*c, delay, 777));
        QSignalSpy saved(c, &DspController::signal_saved);
        c->save();
        answer();
        QVERIFY(sink.tcp.last().startsWith(QLatin1String("{\"inArr\":[{\"procArr\":[")));
        QVERIFY(sink.tcp.last().contains(QLatin1String("\"delayNum\":\"777\"")));
        answer();
        QCOMPARE(saved.last().at(0).toBool(), true);
        QVERIFY(!c->hasUnsavedChanges());
        const quint64 comp = c->blockId(DspSide::In, 0, 8);
        c->setBypass(comp, false);
        QVERIFY(sink.tcp.last().contains(QLatin1String("bf_in_ch_0_8")));

        // A refused save keeps the edits.
        answer();
        QVERIFY(c->removeBlock(comp).isEmpty());
        c->save();
        answer(false);
        QCOMPARE(saved.last().at(0).toBool(), false);
        QVERIFY(c->hasUnsavedChanges());
        QVERIFY(!c->block(comp));
    }

    void linkLostKeepsEditsInMemory()
    {
        const quint64 id = c->blockId(DspSide::In, 0, 3);
        c->setBlockParams(id, withDelay(*c, id, 42));
        QSignalSpy lost(c, &DspController::signal_linkLost);
        c->linkLost();
        QCOMPARE(lost.count(), 1);
        QCOMPARE(delayOf(*c, id), 42.0);
        QVERIFY(c->hasUnsavedChanges());
        c->setChannelMute(DspSide::Out, 1, true);
        QVERIFY(c->channel(DspSide::Out, 1)->mute);
        QCOMPARE(sink.tcp.size(), 1);
        QSignalSpy saved(c, &DspController::signal_saved);
        c->save();
        QCOMPARE(saved.last().at(0).toBool(), false);
    }

    void channelsGroupsAndMatrix()
    {
        // Two channels join group 0: the second's join links the blocks at every position where both hold one
        // kind, and from then on gain and block changes reach both.
        c->setChannelGroup(DspSide::Out, 0, 0);
        QCOMPARE(sink.tcp.last(), DspCommands::setGroupId(2, 0, 0));
        answer();
        c->setChannelGroup(DspSide::Out, 1, 0);
        answer();
        QCOMPARE(sink.tcp.last(), DspCommands::setBorderProcGroupIdBatch(2, 0, {0, 1}, 0));
        for (int p = 0; p < 7; ++p)
            answer();
        QVERIFY(c->isIdle());
        QCOMPARE(c->chain(DspSide::Out, 1)[6].groupId, 6);

        const int before = sink.tcp.size();
        c->setChannelGain(DspSide::Out, 1, -6.5);
        answer();
        answer();
        QCOMPARE(sink.tcp.mid(before), (QStringList{DspCommands::setGain(2, 0, -6.5), DspCommands::setGain(2, 1, -6.5)}));
        QCOMPARE(c->channel(DspSide::Out, 0)->gainDb, -6.5);
        c->setBypass(c->blockId(DspSide::Out, 0, 4), false);
        answer();
        answer();
        QVERIFY(!c->chain(DspSide::Out, 1)[4].bypass);

        c->setMatrixCell(3, 1, -12, false);
        QCOMPARE(sink.tcp.last(), DspCommands::setMatrixCell(1, 3, 1, -12, false));
        answer();
        QCOMPARE(c->document().nodeArr[1].matrix.gainArr[3][1], -12.0);
        QVERIFY(!c->document().nodeArr[1].matrix.muteArr[3][1]);
    }

    void echoCancelAndAutomixerChannels()
    {
        c->requestConfig();
        c->handleTcpReply(DspDocs::reply(DspDocs::withNodes(DspDocs::make(4, 4), 2)));
        sink.tcp.clear();

        // Sent whole at once, shown at once, in the document only once the device took it; undo sends it back.
        DspChannel changed = c->document().nodeArr[1].portArr[1];
        changed.farArr = {0, 3};
        changed.hasAgc = true;
        QCOMPARE(c->setAecChannel(1, changed), QString());
        QCOMPARE(sink.tcp, QStringList{DspCommands::setAecChannel(1, 1, changed)});
        QVERIFY(c->document().nodeArr[1].portArr[1].farArr.isEmpty());
        QCOMPARE(c->shownNode(1)->portArr[1].farArr, (QVector<int>{0, 3}));
        answer();
        QCOMPARE(c->document().nodeArr[1].portArr[1].farArr, (QVector<int>{0, 3}));
        c->undo();
        QCOMPARE(sink.tcp.last(), DspCommands::setAecChannel(1, 1, DspDefaults::aecChannel(1)));
        answer();
        QVERIFY(!c->document().nodeArr[1].portArr[1].hasAgc);

        // A refusal leaves the document and says so; a list naming a missing input is never sent.
        QSignalSpy notices(c, &DspController::signal_notice);
        changed.aecLevel = 7;
        c->setAecChannel(0, changed);
        answer(false);
        QCOMPARE(c->document().nodeArr[1].portArr[0].aecLevel, 2);
        QCOMPARE(notices.last().at(0).toString(), tx(Tx::DspSetFailed));
        const int sent = sink.tcp.size();
        changed.nearArr = {4};
        QVERIFY(!c->setAecChannel(0, changed).isEmpty());
        QCOMPARE(sink.tcp.size(), sent);

        // The automixer's channel gain goes to its own node, not to the input of that number.
        c->setNodeChannelGain(2, 1, -4.5);
        QCOMPARE(sink.tcp.last(), DspCommands::setGain(2, 1, -4.5));
        answer();
        QCOMPARE(c->document().nodeArr[2].portArr[1].gainDb, -4.5);
        QCOMPARE(c->channel(DspSide::In, 1)->gainDb, 0.0);

        // A node given a new channel count starts from the device's defaults there: after the save, what was
        // set here while it was unsaved follows.
        QCOMPARE(c->setAecChannels(3), QString());
        changed = c->shownNode(1)->portArr[2];
        changed.hasAgc = true;
        c->setAecChannel(2, changed); // not on the device yet: kept here
        sink.tcp.clear();
        c->save();
        QCOMPARE(sink.tcp.size(), 1);
        while (!c->isIdle())
            answer(); // one at a time
        QCOMPARE(sink.tcp.size(), 4); // the three channels of the echo canceller; the mixer kept its shape
        QCOMPARE(sink.tcp[3], DspCommands::setAecChannel(1, 2, changed));
    }

    void datagramReplies()
    {
        QSignalSpy levels(c, &DspController::signal_levels);
        QSignalSpy cpu(c, &DspController::signal_cpuUsage);
        c->queryLevels();
        QCOMPARE(sink.udpPorts, (QVector<quint16>{8999, 8999}));
        c->handleUdpReply(QStringLiteral("{\"arr\":[\"-18.2\",\"-inf\"],\"devId\":\"DEV-1\",\"ops\":\"getVolumeDbBatchOut\","
                                         "\"result\":\"succ\",\"uiTag\":\"dspUiTag\"}"));
        c->handleUdpReply(QStringLiteral("{\"devId\":\"DEV-2\",\"ops\":\"getCpuUsage\",\"result\":\"succ\","
                                         "\"uiTag\":\"dspUiTag\",\"val\":\"40\"}"));
        QCOMPARE(levels.count(), 1);
        QCOMPARE(levels.last().at(0).value<DspSide>(), DspSide::Out);
        const QVector<double> v = levels.last().at(1).value<QVector<double>>();
        QCOMPARE(v.at(0), -18.2);
        QVERIFY(std::isinf(v.at(1)) && v.at(1) < 0);
        QCOMPARE(cpu.count(), 0);
        QVERIFY(c->msSinceLastMessage() >= 0);

        // Above 90% reported load a block may be bypassed but not taken out of bypass.
        auto load = [this](int percent) {
            c->handleUdpReply(QStringLiteral("{\"devId\":\"DEV-1\",\"ops\":\"getCpuUsage\",\"result\":\"succ\","
                                             "\"uiTag\":\"dspUiTag\",\"val\":\"%1\"}").arg(percent));
        };
        const quint64 id = c->blockId(DspSide::In, 1, 3);
        load(91);
        QCOMPARE(c->setBypass(id, false), tx(Tx::DspCpuUpLimit));
        QVERIFY(sink.tcp.isEmpty());
        load(90);
        QVERIFY(c->setBypass(id, false).isEmpty());
        QCOMPARE(sink.tcp.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TstDspController)
#include "tst_dspcontroller.moc"
