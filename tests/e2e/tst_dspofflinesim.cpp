// A program edited with no device, then stored on one of corvane-sim's devices, inside a private network
// namespace (tests/netns-run).
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspexchange.h"
#include "core/dsp/dspofflinefile.h"
#include "core/dsp/programs/programcommands.h"
#include "gui/dsp/dspofflinedialog.h"

#include "../support/dspdocs.h"
#include "../support/noticeanswers.h"
#include "../support/simulator.h"

#include <QJsonDocument>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

namespace {

/// SIM-0007 of the default network: RK0404D at 96 kHz.
const DspOfflineDialog::Target kPanel{QStringLiteral("SIM-0007"), QStringLiteral("Wall Panel 4"),
                                      QStringLiteral("127.0.0.8"), QStringLiteral("RK0404D"), 96000};

QJsonObject ask(const QString &address, const QString &request)
{
    const DspExchange::Result r = DspExchange::run(address, request);
    return r.ok ? QJsonDocument::fromJson(r.reply.toUtf8()).object() : QJsonObject();
}

} // namespace

class TestDspOfflineSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void sendToDeviceStoresTheEditedProgram();

private:
    Simulator m_sim;
    QTemporaryDir m_dir;
};

void TestDspOfflineSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start(), m_sim.why());
}

void TestDspOfflineSim::sendToDeviceStoresTheEditedProgram()
{
    const QString path = m_dir.filePath(QStringLiteral("panel.dt"));
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(DspOfflineFile::write(QStringLiteral("panel"), DspDocs::make(4, 4, {DspDefaults::block(0)}, {}, 96000)));
    f.close();

    DspOfflineDialog *w = DspOfflineDialog::openFile(path, nullptr, QStringLiteral("RK0404D"), 96000);
    QVERIFY(w);
    QTRY_VERIFY(w->controller()->isLoaded());
    QVERIFY(w->controller()->setChannelGain(DspSide::In, 3, -9.5).isEmpty());
    w->setTargets([] { return QVector<DspOfflineDialog::Target>{kPanel}; });

    // A name the device would refuse is stopped in the dialog; the corrected one goes.
    QString refusal, outcome;
    NoticeAnswers::onNextModal([&](QWidget *ask) {
        auto *name = ask->findChild<QLineEdit *>(QStringLiteral("le_programName"));
        name->setText(QStringLiteral("from desk"));
        NoticeAnswers::answerNextBox("pb_ok", &refusal);
        QTest::mouseClick(ask->findChild<QPushButton *>(QStringLiteral("pb_ok")), Qt::LeftButton);
        name->setText(QStringLiteral("from_desk"));
        NoticeAnswers::answerNextBox("pb_ok", &outcome);
        QTest::mouseClick(ask->findChild<QPushButton *>(QStringLiteral("pb_ok")), Qt::LeftButton);
    });
    QTest::mouseClick(w->findChild<QPushButton *>(QStringLiteral("pb_sendToDevice")), Qt::LeftButton);
    QCOMPARE(refusal, tx(Tx::ProgNameBadChars));
    QCOMPARE(outcome, tx(Tx::OfflineSent).arg(kPanel.name, QStringLiteral("from_desk")));

    const QJsonObject names = ask(kPanel.address, ProgramCommands::getConfigNameArr());
    QVERIFY(ProgramCommands::nameArrOf(names, QStringLiteral("nameArr")).contains(QStringLiteral("from_desk")));
    const QJsonObject stored =
        ask(kPanel.address, ProgramCommands::getConfigByName(QStringLiteral("from_desk"), QStringLiteral("check")));
    QCOMPARE(stored.value("result").toString(), QStringLiteral("succ"));
    CDeviceDspData doc;
    QVERIFY(doc.loadConfig(stored.value("config").toObject()).ok());
    QCOMPARE(doc.toJson(), w->controller()->document().toJson());
    QCOMPARE(doc.nodeArr[0].portArr[3].gainDb, -9.5);
    delete w;
}

QTEST_MAIN(TestDspOfflineSim)
#include "tst_dspofflinesim.moc"
