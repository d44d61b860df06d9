#pragma once

#include "core/dsp/dsplinksink.h"
#include "core/dsp/dspblock.h"
#include "core/factory/signaltest.h"
#include "gui/widgets/framelessdialog.h"

#include <QElapsedTimer>
#include <QMap>
#include <QStringList>

#include <memory>

class DevManager;
class DspController;
class DspLink;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QSpinBox;
class QTableWidget;
class QTimer;

/// The production line's signal test: each input of a DSP device fed by its own generator in turn, and its
/// level read back (the decisions are SignalTest's). The dialog opens its own DSP link to the device, so an
/// open DSP window of the same device is not disturbed, and puts every generator it touched back as it found
/// it: after each channel, on Stop, on closing, and once the device answers again after a lost link.
class SignalTestDialog : public FramelessDialog
{
    Q_OBJECT
public:
    /// The levels are asked for this often.
    static constexpr int kPollMs = 500;
    /// After a lost link, a new one is tried this often while generators are still to be put back.
    static constexpr int kRetryMs = 3000;
    /// A run not begun this long after Start (no link, no configuration) is given up.
    static constexpr int kConnectTimeoutMs = 10000;

    /// sendUdp: how datagrams reach the device (the main window's device link).
    SignalTestDialog(const DevManager &registry, DspLinkSink::SendUdp sendUdp, QWidget *parent = nullptr);
    ~SignalTestDialog() override;

    /// Chooses the device in the list; false when it is not a DSP device the registry knows.
    bool selectDevice(const QString &devId);
    /// The run's verdicts; null before the first run.
    const SignalTest *test() const { return m_test.get(); }
    /// Generators switched on and not yet confirmed back as they were.
    int owedRestorations() const { return m_owed.size(); }
    /// The report as "Save report" writes it.
    QString reportText() const;
    bool saveReport(const QString &path);

signals:
    void signal_showTips(const QString &text, bool isSucc);
    /// A run ended (every channel judged, or stopped).
    void signal_finished();

public slots:
    /// Datagram replies from the main window; the controller ignores those of other devices.
    void slot_message(const QString &json);
    void slot_refreshDevices();
    void on_pb_start_clicked();
    void on_pb_stop_clicked();

protected:
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    /// A generator switched on, and how it was before.
    struct Saved
    {
        int procIndex;
        DspBlock block;
    };

    void connectTo(const QString &devId);
    void dropLink();
    void documentLoaded();
    void linkLost();
    void beginRun();
    void process();
    void switchOn(int channel);
    void restore(int channel);
    void checkBlock(quint64 uid);
    void finishRun();
    void showResults();
    QString resultText(const SignalTest::Result &r) const;
    QString levelText(double db) const;
    void setRunning(bool running);
    void retranslate();

    const DevManager &m_registry;
    DspLinkSink::SendUdp m_sendUdp;
    DspLink *m_link = nullptr;
    std::unique_ptr<DspLinkSink> m_sink;
    DspController *m_controller = nullptr;
    QString m_devId;
    QString m_devName;
    quint32 m_ip = 0;
    QStringList m_channelNames;
    bool m_startWanted = false;
    bool m_lost = false;
    bool m_connected = false;

    std::unique_ptr<SignalTest> m_test;
    QVector<int> m_generatorAt; ///< per input: the generator's position in the chain; -1 none
    QMap<int, Saved> m_owed;    ///< by input channel
    QElapsedTimer m_clock;
    QTimer *m_poll;
    QTimer *m_retry;
    QString m_reportDevice;
    QString m_reportDate;

    QLabel *m_deviceLabel;
    QComboBox *m_device;
    QLabel *m_levelLabel;
    QDoubleSpinBox *m_level;
    QLabel *m_freqLabel;
    QSpinBox *m_freq;
    QLabel *m_toleranceLabel;
    QDoubleSpinBox *m_tolerance;
    QLabel *m_hint;
    QTableWidget *m_table;
    QProgressBar *m_progress;
    QLabel *m_status;
    QPushButton *m_start;
    QPushButton *m_stop;
    QPushButton *m_save;
};
