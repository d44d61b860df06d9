// The DSP diagram against a controller whose requests are recorded: real clicks on its channels, blocks, menus
// and buttons, and what reaches the device because of them.

#include "core/app/texts.h"
#include "core/dsp/dspbudget.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dsprules.h"
#include "core/dsp/dspsink.h"
#include "gui/dsp/cbasechannel.h"
#include "gui/dsp/cbaseitem.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspdiagramform.h"
#include "gui/dsp/blocks/dspdynamicsform.h"
#include "gui/dsp/blocks/dspeqhlpblockform.h"
#include "../support/dspdocgen.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QGraphicsView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTimer>
#include <QtTest>

namespace {

const QString kDevId = QStringLiteral("SIM-T");

/// What the controller would send over the link, in order; every change of the document goes there.
class RecordingDspSink : public DspSink
{
public:
    void sendTcp(const QString &request) override { sent.append(QJsonDocument::fromJson(request.toUtf8()).object()); }
    void sendUdp(const QString &, quint16) override {}

    /// The last request of this operation; an empty one when none.
    QJsonObject last(const QString &ops) const
    {
        for (int i = sent.size() - 1; i >= 0; --i)
            if (sent[i].value("ops").toString() == ops)
                return sent[i];
        return {};
    }

    QVector<QJsonObject> sent;
};

} // namespace

class TstDspDiagram : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_sink = new RecordingDspSink;
        m_ctl = new DspController(m_sink);
        m_ctl->setDevice(kDevId, QStringLiteral("RK0404D"));
        m_form = new DspDiagramForm(m_ctl);
        m_tips = new QSignalSpy(m_form, &DspDiagramForm::signal_showTips);
        m_form->resize(1800, 900);
        m_form->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_form));

        m_ctl->requestConfig();
        QVERIFY(!m_sink->last("getConfig").isEmpty());
        m_ctl->handleTcpReply(QString::fromUtf8(DspDocGen::reply(DspDocGen::config({4, 4, false, false, 8}))));
        QVERIFY(m_ctl->isLoaded() && m_ctl->isIdle());
        m_sink->sent.clear();
    }

    void cleanup()
    {
        delete m_tips;
        delete m_form;
        delete m_ctl;
        delete m_sink;
    }

    void addBlockByButton();
    void refusedAddLeavesSceneUnchanged();
    void bypassByContextMenu();
    void copyPasteAndDeleteBlocks();
    void channelMenuAndFolding();
    void saveSendsTheChains();
    void echoCancellationChannelsByMenu();
    void clickOpensParametersAndMetersMove();
    void windowNamesChannelsAndPacesQueries();

private:
    /// Answers the request as the device would.
    void answer(const QJsonObject &request)
    {
        QJsonObject reply{{"ops", request.value("ops")}, {"uiTag", "dspUiTag"}, {"result", "succ"}};
        for (const char *echo : {"blockFlag", "val"})
            if (request.contains(echo))
                reply.insert(echo, request.value(echo));
        m_ctl->handleTcpReply(QString::fromUtf8(QJsonDocument(reply).toJson(QJsonDocument::Compact)));
    }
    QPoint centre(DspSide side, QGraphicsItem *item) const
    {
        QGraphicsView *view = m_form->view(side);
        view->ensureVisible(item, 4, 4);
        return view->mapFromScene(item->sceneBoundingRect().center());
    }
    void click(DspSide side, QGraphicsItem *item)
    {
        QTest::mouseClick(m_form->view(side)->viewport(), Qt::LeftButton, {}, centre(side, item));
    }
    /// Right-clicks the item and triggers the named entry of the menu it opens.
    void menuEntry(DspSide side, QGraphicsItem *item, const char *menuName, const char *actionName)
    {
        QWidget *viewport = m_form->view(side)->viewport();
        const QPoint at = centre(side, item);
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, viewport->mapToGlobal(at));
        QApplication::sendEvent(viewport, &event);
        auto *menu = m_form->findChild<QMenu *>(QLatin1String(menuName));
        QTRY_VERIFY(menu && menu->isVisible());
        auto *action = menu->findChild<QAction *>(QLatin1String(actionName));
        QVERIFY2(action && action->isEnabled(), actionName);
        action->trigger();
        menu->close();
    }
    quint64 uidAt(DspSide side, int channel, int index) const { return m_ctl->blockId(side, channel, index); }
    QStringList tips() const
    {
        QStringList out;
        for (const QList<QVariant> &args : *m_tips)
            out.append(args.first().toString());
        return out;
    }

    RecordingDspSink *m_sink = nullptr;
    DspController *m_ctl = nullptr;
    DspDiagramForm *m_form = nullptr;
    QSignalSpy *m_tips = nullptr;
};

void TstDspDiagram::addBlockByButton()
{
    // Nothing to add to before a channel is chosen.
    auto *compress = m_form->findChild<QPushButton *>(DspKinds::buttonName(DspKind::Compress));
    QVERIFY(compress && !compress->isEnabled());

    CBaseChannel *row = m_form->channelItem(DspSide::In, 2);
    QVERIFY(qgraphicsitem_cast<CInputChannel *>(row));
    int chosen = -1;
    connect(m_form, &DspDiagramForm::signal_channelSelected, this, [&](DspSide side, int ch) {
        chosen = side == DspSide::In ? ch : -1;
    });
    click(DspSide::In, row);
    QCOMPARE(chosen, 2);
    QVERIFY(row->isCurrent() && compress->isEnabled());
    QTest::mouseClick(compress, Qt::LeftButton);
    // Added to the document and the row at once; the device learns of it when the configuration is saved.
    QCOMPARE(m_sink->sent.size(), 0);
    QCOMPARE(row->items().size(), 9);
    auto *item = qgraphicsitem_cast<CCompressItem *>(row->items().last());
    QVERIFY(item);
    QCOMPARE(item->uid(), uidAt(DspSide::In, 2, 8));
    QCOMPARE(m_form->blockItem(item->uid()), item);
    QCOMPARE(item->title(), m_form->channelName(DspSide::In, 2) + DspKinds::titleSuffix(*m_ctl->block(item->uid())));
    // The other rows were not rebuilt.
    QCOMPARE(m_form->channelItem(DspSide::In, 1)->items().size(), 8);
    QCOMPARE(m_form->findChild<QLabel *>("lb_cpu")->text(), DspBudget::cpuText(m_ctl->shownUsage()));
    QVERIFY(!m_form->findChild<QLabel *>("lb_unsaved")->text().isEmpty());
}

void TstDspDiagram::refusedAddLeavesSceneUnchanged()
{
    // Every input chain already holds a high-pass filter: the kind's own rule refuses a second one.
    const QString rule = DspRules::checkAdd(m_ctl->document(), DspSide::In, 0, DspKinds::newBlock(DspKind::Hpf),
                                            m_ctl->budget().familyFactor, false);
    QVERIFY(!rule.isEmpty());
    CBaseChannel *row = m_form->channelItem(DspSide::In, 0);
    click(DspSide::In, row);
    const QVector<CBaseItem *> items = row->items();
    const int sceneItems = m_form->view(DspSide::In)->scene()->items().size();

    QTest::mouseClick(m_form->findChild<QPushButton *>(DspKinds::buttonName(DspKind::Hpf)), Qt::LeftButton);
    QCOMPARE(tips(), QStringList{rule});
    QCOMPARE(row->items(), items);
    QCOMPARE(m_form->view(DspSide::In)->scene()->items().size(), sceneItems);
}

void TstDspDiagram::bypassByContextMenu()
{
    // The equaliser of input 1 is active; the menu bypasses it.
    const quint64 eq = uidAt(DspSide::In, 1, 4);
    CBaseItem *item = m_form->blockItem(eq);
    QVERIFY(qgraphicsitem_cast<CEqBlockItem *>(item));
    QVERIFY(!item->isBypassed());
    menuEntry(DspSide::In, item, "menu_block", "act_bypass");

    const QJsonObject s = m_sink->last("setBorderProcBypass");
    for (auto [member, value] : {std::pair{"blockFlag", "bf_in_ch_1_4"}, {"nodeId", "0"}, {"portIndex", "1"},
                                 {"procIndex", "4"}, {"val", "1"}})
        QCOMPARE(s.value(member).toString(), QString(value));
    answer(s);
    QVERIFY(item->isBypassed());
    QCOMPARE(m_form->blockItem(eq), item); // repainted, not rebuilt
}

void TstDspDiagram::copyPasteAndDeleteBlocks()
{
    // An equaliser's parameters pasted onto another equaliser, then onto a filter: the rule's words there.
    const quint64 from = uidAt(DspSide::In, 0, 4);
    const quint64 to = uidAt(DspSide::In, 3, 4);
    menuEntry(DspSide::In, m_form->blockItem(from), "menu_block", "act_copyBlock");
    menuEntry(DspSide::In, m_form->blockItem(to), "menu_block", "act_pasteBlock");
    for (const QJsonObject &request : QVector<QJsonObject>(m_sink->sent))
        answer(request);
    QCOMPARE(m_ctl->block(to)->objToJson(), m_ctl->block(from)->objToJson());
    m_tips->clear();
    const quint64 hpf = uidAt(DspSide::In, 2, 5);
    const QByteArray hpfBefore = m_ctl->block(hpf)->objToJson();
    const QString rule = DspRules::checkPasteBlock(*m_ctl->block(from), *m_ctl->block(hpf));
    QVERIFY(!rule.isEmpty());
    menuEntry(DspSide::In, m_form->blockItem(hpf), "menu_block", "act_pasteBlock");
    QCOMPARE(tips(), QStringList{rule});
    QCOMPARE(m_ctl->block(hpf)->objToJson(), hpfBefore);

    // Deleting a block closes its open view and leaves the rest of the row standing.
    click(DspSide::In, m_form->blockItem(hpf));
    QPointer<DspEqHlpBlockForm> view = m_form->findChild<DspEqHlpBlockForm *>();
    QVERIFY(view && view->isVisible());
    QSignalSpy closed(m_form, &DspDiagramForm::signal_close);
    const quint64 lpf = uidAt(DspSide::In, 2, 6);
    CBaseItem *otherRow = m_form->blockItem(uidAt(DspSide::In, 1, 5));
    menuEntry(DspSide::In, m_form->blockItem(hpf), "menu_block", "act_deleteBlock");
    QVERIFY(!m_form->blockItem(hpf));
    QCOMPARE(m_form->channelItem(DspSide::In, 2)->items().size(), 7);
    QCOMPARE(m_form->channelItem(DspSide::In, 2)->items().at(5)->uid(), lpf);
    QCOMPARE(m_form->blockItem(uidAt(DspSide::In, 1, 5)), otherRow); // only the changed row is rebuilt
    QCOMPARE(closed.size(), 1);
    QCOMPARE(closed.first().first().toString(), QStringLiteral("bf_in_ch_2_5"));
    QTRY_VERIFY(!view);
}

void TstDspDiagram::channelMenuAndFolding()
{
    CBaseChannel *in0 = m_form->channelItem(DspSide::In, 0);
    CBaseChannel *out0 = m_form->channelItem(DspSide::Out, 0);
    QVERIFY(qgraphicsitem_cast<COutputChannel *>(out0));
    menuEntry(DspSide::In, in0, "menu_channel", "act_copyChannel");
    const QString rule = DspRules::checkPasteChannel(m_ctl->document(), DspSide::In, 0, m_ctl->chain(DspSide::In, 0),
                                                     DspSide::Out, 0, m_ctl->budget().familyFactor, false);
    QVERIFY(!rule.isEmpty());
    menuEntry(DspSide::Out, out0, "menu_channel", "act_pasteChannel");
    QCOMPARE(tips(), QStringList{rule});
    QCOMPARE(out0->items().size(), 8);

    menuEntry(DspSide::Out, out0, "menu_channel", "act_deleteChannel");
    QVERIFY(m_ctl->chain(DspSide::Out, 0).isEmpty() && out0->items().isEmpty());
    // The output headers stay in one column at the right of the longest chain.
    QCOMPARE(out0->scenePos().x(), m_form->channelItem(DspSide::Out, 1)->scenePos().x());

    m_form->findChild<QAction *>("act_foldAll")->trigger();
    CBaseItem *block = in0->items().first();
    QVERIFY(in0->isFolded() && !block->isVisible() && in0->isVisible());
    m_form->findChild<QAction *>("act_expandAll")->trigger();
    QVERIFY(block->isVisible());

    m_form->jumpTo(DspSide::Out, 3);
    QCOMPARE(m_form->currentChannel(), 3);
}

void TstDspDiagram::saveSendsTheChains()
{
    click(DspSide::In, m_form->channelItem(DspSide::In, 1));
    QTest::mouseClick(m_form->findChild<QPushButton *>(DspKinds::buttonName(DspKind::Limit)), Qt::LeftButton);
    QTest::mouseClick(m_form->findChild<QPushButton *>("pb_save"), Qt::LeftButton);

    const QJsonObject s = m_sink->last("setConfig");
    QCOMPARE(s.value("outArr").toArray().size(), 4);
    const QJsonArray inArr = s.value("inArr").toArray();
    QCOMPARE(inArr.size(), 4);
    const QJsonArray chain = inArr.at(1).toObject().value("procArr").toArray();
    QCOMPARE(chain.size(), 9);
    QCOMPARE(chain.last().toObject().value("type").toString(), QStringLiteral("6"));
    answer(s);
    QCOMPARE(tips(), QStringList{tx(Tx::DspSaved)});
    QVERIFY(m_form->findChild<QLabel *>("lb_unsaved")->text().isEmpty());

    // A failed save keeps the edited document and its mark.
    QTest::mouseClick(m_form->findChild<QPushButton *>(DspKinds::buttonName(DspKind::Delay)), Qt::LeftButton);
    QTest::mouseClick(m_form->findChild<QPushButton *>("pb_save"), Qt::LeftButton);
    m_ctl->handleTcpReply(R"({"ops":"setConfig","uiTag":"dspUiTag","result":"fail","reason":"bad param"})");
    QVERIFY(tips().contains(tx(Tx::DspSaveFailed)));
    QCOMPARE(m_ctl->chain(DspSide::In, 1).size(), 10);
    QVERIFY(!m_form->findChild<QLabel *>("lb_unsaved")->text().isEmpty());
}

void TstDspDiagram::echoCancellationChannelsByMenu()
{
    const QString before = m_form->findChild<QLabel *>("lb_cpu")->text();
    QTimer::singleShot(0, this, [] {
        QWidget *ask = QApplication::activeModalWidget();
        QVERIFY(ask && ask->objectName() == QLatin1String("dlg_nodeChannels"));
        ask->findChild<QSpinBox *>("sb_channels")->setValue(2);
        QTest::mouseClick(ask->findChild<QPushButton *>("pb_ok"), Qt::LeftButton);
    });
    m_form->findChild<QAction *>("act_addAec")->trigger();
    QCOMPARE(m_ctl->document().node(m_ctl->aecNodeId())->portNum(), 2);
    QVERIFY(m_form->findChild<QLabel *>("lb_cpu")->text() != before); // the echo canceller's share
    QTest::mouseClick(m_form->findChild<QPushButton *>("pb_save"), Qt::LeftButton);
    QCOMPARE(m_sink->last("setConfig").value("aecChNum").toString(), QStringLiteral("2"));
}

void TstDspDiagram::clickOpensParametersAndMetersMove()
{
    const quint64 gate = uidAt(DspSide::In, 3, 1);
    click(DspSide::In, m_form->blockItem(gate));
    auto *view = m_form->findChild<DspNoisegateForm *>();
    QVERIFY(view && view->isVisible() && view->uid() == gate);
    QCOMPARE(view->tag(), QStringLiteral("bf_in_ch_3_1"));
    QCOMPARE(view->findChild<QDoubleSpinBox *>("ds_threshold")->value(),
             m_ctl->block(gate)->as<DspGate>()->trigDb);
    // A second click raises the same view.
    click(DspSide::In, m_form->blockItem(gate));
    QCOMPARE(m_form->findChildren<DspNoisegateForm *>().size(), 1);

    // A new document closes every view.
    QSignalSpy closeAll(m_form, &DspDiagramForm::signal_closeall);
    m_ctl->revokeAll();
    m_ctl->handleTcpReply(QString::fromUtf8(DspDocGen::reply(DspDocGen::config({2, 2}))));
    QCOMPARE(closeAll.size(), 1);
    QTRY_VERIFY(m_form->findChildren<DspNoisegateForm *>().isEmpty());
    QVERIFY(!m_form->channelItem(DspSide::In, 2));

    emit m_ctl->signal_levels(DspSide::Out, {-12.5, -INFINITY});
    QCOMPARE(m_form->channelItem(DspSide::Out, 0)->level(), -12.5);
}

void TstDspDiagram::windowNamesChannelsAndPacesQueries()
{
    // Channels beyond the physical ones are the USB channels; a physical channel without a name gets one.
    const QStringList names{QStringLiteral("Vox"), QString()};
    QCOMPARE(DevDspDialog::channelName(names, DspSide::In, 0), QStringLiteral("Vox"));
    QCOMPARE(DevDspDialog::channelName(names, DspSide::In, 1), tx(Tx::DspChannelIn).arg(2));
    QCOMPARE(DevDspDialog::channelName(names, DspSide::Out, 2), QStringLiteral("USBOut"));

    // The watchdog asks for the processor load each tick, levels every second tick, status every fifth.
    QVector<QPair<QString, quint16>> datagrams;
    DevDspDialog::Device device;
    device.devId = kDevId;
    device.name = QStringLiteral("Stage");
    device.model = QStringLiteral("RK0404D");
    device.inputNames = names;
    DevDspDialog dialog(device, [&](const QString &request, quint16 port) {
        datagrams.append({QJsonDocument::fromJson(request.toUtf8()).object().value("ops").toString(), port});
    });
    dialog.show();
    dialog.controller()->requestConfig();
    dialog.handle_recvTcpMsg(QString::fromUtf8(DspDocGen::reply(DspDocGen::config({3, 2}))));
    QCOMPARE(dialog.diagram()->channelItem(DspSide::In, 2)->name(), QStringLiteral("USBIn"));
    QVERIFY(dialog.title().startsWith(QStringLiteral("Stage | ")));
    auto count = [&](const QString &ops) {
        return int(std::count_if(datagrams.begin(), datagrams.end(), [&](const auto &d) { return d.first == ops; }));
    };
    QTRY_VERIFY_WITH_TIMEOUT(count("getCpuUsage") >= 5, 5000);
    QVERIFY(count("getVolumeDbBatchIn") >= 2 && count("getVolumeDbBatchIn") <= 3);
    QCOMPARE(count("getDspStatus"), 1);
    for (const auto &d : datagrams)
        QCOMPARE(d.second, quint16(d.first.startsWith("getDsp") ? 12001 : 8999));

    // Ctrl+Z on the window takes the last change back; the menu entry names what it undoes.
    QApplication::setActiveWindow(&dialog);
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    DspDiagramForm *form = dialog.diagram();
    QGraphicsView *inputs = form->view(DspSide::In);
    QTest::mouseClick(inputs->viewport(), Qt::LeftButton, {},
                      inputs->mapFromScene(form->channelItem(DspSide::In, 0)->sceneBoundingRect().center()));
    QTest::mouseClick(form->findChild<QPushButton *>(DspKinds::buttonName(DspKind::Compress)), Qt::LeftButton);
    QCOMPARE(dialog.controller()->chain(DspSide::In, 0).size(), 9);
    QCOMPARE(dialog.findChild<QAction *>("act_undo")->text(), dialog.controller()->undoText());
    QTest::keyClick(&dialog, Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(dialog.controller()->chain(DspSide::In, 0).size(), 8);
    QTest::keyClick(&dialog, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(dialog.controller()->chain(DspSide::In, 0).size(), 9);

    // The link going down says so at once.
    dialog.tcpStateChanged(0);
    QCOMPARE(dialog.statusText(), tx(Tx::DspLinkLostText));
    QVERIFY(dialog.title().endsWith(tx(Tx::DspLinkLostText)));
}

QTEST_MAIN(TstDspDiagram)
#include "tst_dspdiagram.moc"
