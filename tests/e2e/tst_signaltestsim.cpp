// The signal test against corvane-sim inside a private network namespace (tests/netns-run): SIM-0007 on a bench
// with nothing plugged into its inputs and input 3 broken. Input 3 fails, the others pass, and a fresh
// "getConfig" afterwards shows every generator as it was before the test.
#include "core/dsp/dspexchange.h"
#include "core/protocol/ipv4.h"
#include "gui/factory/signaltestdialog.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPushButton>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QtTest>

class TestSignalTestSim : public QObject
{
    Q_OBJECT
private slots:
    void brokenInputFailsAndGeneratorsComeBack();

private:
    /// The input generators of the device's configuration, in channel order.
    QJsonArray generators(const QString &address)
    {
        const DspExchange::Result r = DspExchange::run(address, QStringLiteral(R"({"ops":"getConfig","uiTag":"dspUiTag"})"));
        if (!r.ok)
            return {};
        const QJsonObject config = QJsonDocument::fromJson(r.reply.toUtf8()).object().value("config").toObject();
        QJsonArray out;
        for (const QJsonValue &port : config.value("nodeArr")[0].toObject().value("portArr").toArray())
            for (const QJsonValue &block : port.toObject().value("procArr").toArray())
                if (block.toObject().value("type").toString() == QLatin1String("9"))
                    out.append(block);
        return out;
    }

    Simulator m_sim;
    ProgramWindow m_window;
    QTemporaryDir m_dir;
};

void TestSignalTestSim::brokenInputFailsAndGeneratorsComeBack()
{
    constexpr int kWaitMs = 15000;
    const QString device = QStringLiteral("SIM-0007");
    REQUIRE_PRIVATE_NETWORK();

    // The factory bench: no programme material on any input of the device under test.
    QProcess print;
    print.start(Simulator::binary("corvane-sim"), {"--print-scenario"});
    QVERIFY(print.waitForFinished(10000));
    QJsonObject scenario = QJsonDocument::fromJson(print.readAllStandardOutput()).object();
    QJsonArray devices = scenario.value("devices").toArray();
    for (int i = 0; i < devices.size(); ++i) {
        QJsonObject d = devices[i].toObject();
        if (d.value("devId").toString() == device) {
            d.insert("silentInputs", QJsonArray{0, 1, 2, 3});
            devices[i] = d;
        }
    }
    scenario.insert("devices", devices);
    const QString file = m_dir.filePath("bench.json");
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write(QJsonDocument(scenario).toJson());
    out.close();
    QVERIFY2(m_sim.start({"--scenario", file, "--dead-input", device + ":3"}), m_sim.why());
    QVERIFY(m_window.open(MainWindow::Devices));
    QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId(device).has_value(), kWaitMs);
    const QString address = Ipv4::toText(m_window.registry().findByDevId(device)->rec.ip);
    const QJsonArray before = generators(address);
    QCOMPARE(before.size(), 4);

    QTest::mouseClick(m_window->findChild<QPushButton *>("pb_signalTest"), Qt::LeftButton);
    auto *dialog = m_window->findChild<SignalTestDialog *>();
    QVERIFY(dialog && dialog->isVisible());
    auto *devicesBox = dialog->findChild<QComboBox *>("com_device");
    QTRY_VERIFY(devicesBox->findData(device) >= 0);
    // Only DSP devices are offered.
    QCOMPARE(devicesBox->count(), 2);
    devicesBox->setCurrentIndex(devicesBox->findData(device));
    // Settings other than the generators' own, so putting them back is seen.
    dialog->findChild<QDoubleSpinBox *>("sb_level")->setValue(-18);
    dialog->findChild<QSpinBox *>("sb_freq")->setValue(440);
    QSignalSpy finished(dialog, &SignalTestDialog::signal_finished);
    QTest::mouseClick(dialog->findChild<QPushButton *>("pb_start"), Qt::LeftButton);
    QVERIFY(finished.wait(30000));

    const QVector<SignalTest::Result> results = dialog->test()->results();
    QCOMPARE(results.size(), 4);
    for (int c : {0, 1, 3}) {
        QCOMPARE(int(results[c].state), int(SignalTest::State::Passed));
        QVERIFY(qAbs(results[c].levelDb + 18) < 0.5);
    }
    QCOMPARE(int(results[2].state), int(SignalTest::State::Failed));
    QCOMPARE(int(results[2].reason), int(SignalTest::Reason::WrongLevel));

    QTRY_COMPARE_WITH_TIMEOUT(dialog->owedRestorations(), 0, kWaitMs);
    QCOMPARE(generators(address), before);

    const QString report = m_dir.filePath("report.txt");
    QVERIFY(dialog->saveReport(report));
    QFile saved(report);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(saved.readAll()).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 4 + 4);
    QVERIFY(lines[1].contains(device));
}

QTEST_MAIN(TestSignalTestSim)
#include "tst_signaltestsim.moc"
