#pragma once

#include <QHash>
#include <QObject>
#include <QStringList>

/// What the pages know of a device beyond its announcement: what it answered
/// to "getVersion", "getIp", "getLock" and "getDebugInfo", and its latest
/// clock events. Fed from the main window's messages; lives on the interface
/// thread.
struct DeviceUiData
{
    bool versionKnown = false;
    QString version;
    QString oemCode;
    int ptpPriority = -1;
    int ptpDomain = -1;
    int ptpDscp = -1;
    QStringList sampleRates;
    QStringList packetTimeDivs;
    QStringList sampleByteNums;
    QStringList delayUsList;

    bool ipKnown = false;
    bool fixedIp = false;
    QString ipWithPrefix;
    QString gateway;
    QString dns;

    bool lockKnown = false;
    int devLock = 0;  // device levels 0-3
    int routeLock = 0;
    int dspLock = 0;

    int ptpState = -1;  // from "masterOffset" events; -1 until one arrives
    QString masterOffset;
    QString adjustFreq;

    bool debugKnown = false;
    QString temp;    // thousandths of a degree
    QString uptime;  // seconds

    bool locked() const { return lockKnown && (devLock || routeLock || dspLock); }
};

class DeviceUiStore : public QObject
{
    Q_OBJECT
public:
    explicit DeviceUiStore(QObject *parent = nullptr);

    DeviceUiData get(const QString &devId) const { return m_data.value(devId); }
    bool contains(const QString &devId) const { return m_data.contains(devId); }
    void remove(const QString &devId);

    /// Firmware versions compare as dotted numbers: "3.1.4.10" > "3.1.4.6".
    static int compareVersions(const QString &a, const QString &b);

public slots:
    /// One message of signal_recv_message; replies and events it does not
    /// know are ignored.
    void slot_message(const QString &json);

signals:
    void signal_changed(const QString &devId);

private:
    QHash<QString, DeviceUiData> m_data;
};
