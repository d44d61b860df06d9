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

namespace {

/// The input generators of the device's configuration, in channel order.
QJsonArray generators(const QString &address)
{
    const DspExchange::Result r =
        DspExchange::run(address, QStringLiteral(R"({"ops":"getConfig","uiTag":"dspUiTag"})"));
    const QJsonObject config = QJsonDocument::fromJson(r.reply.toUtf8()).object().value("config").toObject();
    QJsonArray out;
    for (const QJsonValue &port : config.value("nodeArr")[0].toObject().value("portArr").toArray())
        for (const QJsonValue &block : port.toObject().value("procArr").toArray())
            if (block.toObject().value("type").toString() == QLatin1String("9"))
                out.append(block);
    return out;
}

} // namespace

class TestSignalTestSim : public QObject
{
    Q_OBJECT
    Simulator m_sim;
    ProgramWindow m_window;
    QTemporaryDir m_dir;

private slots:
    void brokenInputFailsAndGeneratorsComeBack()
    {
        const QString device = QStringLiteral("SIM-0007");
        REQUIRE_PRIVATE_NETWORK();
        // The factory bench: no programme material on any input of the device under test.
        QProcess print;
        print.start(Simulator::binary("corvane-sim"), {"--print-scenario"});
        QVERIFY(print.waitForFinished(10000));
        QJsonObject scenario = QJsonDocument::fromJson(print.readAllStandardOutput()).object();
        QJsonArray devices = scenario.value("devices").toArray();
        QJsonObject bench = devices[6].toObject();
        QCOMPARE(bench.value("devId").toString(), device);
        bench.insert("silentInputs", QJsonArray{0, 1, 2, 3});
        devices[6] = bench;
        scenario.insert("devices", devices);
        QFile file(m_dir.filePath("bench.json"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(scenario).toJson()) > 0 && file.flush());
        QVERIFY2(m_sim.start({"--scenario", file.fileName(), "--dead-input", device + ":3"}), m_sim.why());
        QVERIFY(m_window.open(MainWindow::Devices));
        QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId(device).has_value(), 15000);
        const QString address = Ipv4::toText(m_window.registry().findByDevId(device)->rec.ip);
        const QJsonArray before = generators(address);
        QCOMPARE(before.size(), 4);

        QTest::mouseClick(m_window->findChild<QPushButton *>("pb_signalTest"), Qt::LeftButton);
        auto *dialog = m_window->findChild<SignalTestDialog *>();
        QVERIFY(dialog && dialog->isVisible());
        QTRY_VERIFY(dialog->selectDevice(device));
        QCOMPARE(dialog->findChild<QComboBox *>("com_device")->count(), 2); // only the DSP devices
        // Settings other than the generators' own, so putting them back is seen.
        dialog->findChild<QDoubleSpinBox *>("sb_level")->setValue(-18);
        dialog->findChild<QSpinBox *>("sb_freq")->setValue(440);
        QSignalSpy finished(dialog, &SignalTestDialog::signal_finished);
        QTest::mouseClick(dialog->findChild<QPushButton *>("pb_start"), Qt::LeftButton);
        QVERIFY(finished.wait(30000));
        const QVector<SignalTest::Result> results = dialog->test()->results();
        QCOMPARE(results.size(), 4);
        for (int c : {0, 1, 3})
            QVERIFY(results[c].state == SignalTest::State::Passed && qAbs(results[c].levelDb + 18) < 0.5);
        QCOMPARE(int(results[2].reason), int(SignalTest::Reason::WrongLevel));
        QTRY_COMPARE_WITH_TIMEOUT(dialog->owedRestorations(), 0, 15000);
        QCOMPARE(generators(address), before);

        // The report: title, device, date, settings, a line per input.
        QFile report(m_dir.filePath("report.txt"));
        QVERIFY(dialog->saveReport(report.fileName()) && report.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(report.readAll()).split('\n', Qt::SkipEmptyParts);
        QVERIFY(lines.size() == 4 + 4 && lines[1].contains(device) && lines[3].contains("-18.0") &&
                lines[6].contains("silence"));
    }
};

QTEST_MAIN(TestSignalTestSim)
#include "tst_signaltestsim.moc"
