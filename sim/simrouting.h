#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QVector>
#include <functional>
#include <vector>

class SimDevice;
struct SimDeviceProfile;

/// A device's routing tables: per receive channel the stream it takes, the
/// unicast streams it receives and sends, its multicast subscriptions, and
/// whether each carries audio. A receiver opens and closes the streams on
/// its transmitter through the transmitter's own tables.
class SimRouting
{
public:
    SimRouting(SimDevice &device, const SimDeviceProfile &profile);

    /// Finds or opens a stream to \a rxDevId carrying \a srcChId: its slot, or -1 when none is free.
    int attachUcastTx(const QString &rxDevId, quint32 rxIp, int srcChId);
    void releaseUcastTx(int stream, int srcChId);
    /// Channels the unicast stream in \a stream sends.
    int ucastTxChannelCount(int stream) const { return m_ucastTx.value(stream).channels.size(); }
    /// What receive channel \a ch hears: false when its route carries nothing.
    bool source(int ch, const SimDevice **tx, int *txChannel) const;
    /// Notes which receive streams carry audio now; true when that differs
    /// from the last time (an "updateActive"). Allocates nothing: it runs on
    /// every tick of every device.
    bool activityChanged();

    /// The routing tables "getAll..." pages through.
    bool page(const QString &ops, int *size, std::function<QJsonValue(int)> *item) const;
    QString opSetUcastRx(const QJsonObject &req, QJsonObject &r);
    QString opSetMcastRx(const QJsonObject &req, QJsonObject &r);
    QString opClrRxCh(const QJsonObject &req, QJsonObject &r);
    /// Packet and delay statistics of a receive stream, read and cleared.
    QString opStats(const QJsonObject &req, QJsonObject &r);

private:
    struct RouteEntry
    {
        enum Kind { None, Unicast, Multicast } kind = None;
        int stream = -1;
        int srcChId = -1;
    };
    struct UcastRx
    {
        QString srcDevId;
        QString srcName;
        quint32 srcIp = 0;
        int txStream = -1;
        QVector<int> rtp;
        qint64 statsSince = 0;
        qint64 delaySince = 0;
    };
    struct UcastTx
    {
        QString dstDevId;
        quint32 dstIp = 0;
        QVector<int> channels;
    };
    struct McastRx
    {
        QString name;
        quint32 srcIp = 0;
        quint32 dstIp = 0;
        int dstPort = 0;
        int chNum = 0;
        int sampleByteNum = 3;
        quint32 rtpTsOffset = 0;
        QVector<int> rtp;
        qint64 statsSince = 0;
        qint64 delaySince = 0;
    };

    bool ucastRxActive(int k) const;
    bool mcastRxActive(int k) const;
    bool routeActive(int ch) const;
    void clearRoute(int ch, bool *changed);

    SimDevice &m_device;
    std::vector<bool> m_active; ///< per receive stream, unicast then multicast, as last noted
    QVector<int> m_rxRoute;     ///< per receive channel: its route entry, or -1
    QVector<RouteEntry> m_rtp;
    QVector<UcastRx> m_ucastRx;
    QVector<UcastTx> m_ucastTx;
    QVector<McastRx> m_mcastRx;
};
