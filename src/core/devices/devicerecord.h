#pragma once

#include <QString>
#include <QVector>
#include <QtGlobal>

/// A bounded text field: announcements are cut to the field, never overflow.
template<int N>
struct FixedText
{
    char data[N + 1] = {};
    void set(const QByteArray &utf8);
    QString str() const { return QString::fromUtf8(data); }
    bool isEmpty() const { return data[0] == '\0'; }
    bool operator==(const char *other) const;
};

/// What a device says about itself in its "iAmCorvane" announcement.
struct DevRecord
{
    FixedText<64> devId;
    FixedText<64> name;
    quint32 ip = 0;
    qint32 port = 0;
    qint32 chNumRx = 0;
    qint32 chNumTx = 0;
    qint32 ucastNumRx = 0;
    qint32 ucastNumTx = 0;
    qint32 mcastNumRx = 0;
    qint32 mcastNumTx = 0;
    qint32 sampleRate = 0;
    qint32 sampleByteNum = 0;
    qint32 pFrameNum = 0;
    qint32 dscp = 0;
    qint32 delayUs = 0;
    FixedText<32> myClkId;
    FixedText<32> gmClkId;
    FixedText<64> model;
    qint32 phyChNumRx = 0;
    qint32 phyChNumTx = 0;
    qint32 canWork = 0;
    /// Milliseconds left before the device counts as gone.
    qint32 countdown = 0;

    /// A clock identity counts as set when any of its first 23 characters is
    /// neither '0' nor '-'.
    bool hasClockIdentity() const;
    /// Every member the device announced is the same (the countdown is not
    /// compared): false means some page shows something else now.
    bool sameDescription(const DevRecord &other) const;
};

/// One route entry of a receiver: where one receive channel takes its audio.
struct RtpChItem
{
    bool active = false;
    QString srcDevId;  // empty for a multicast route
    QString name;      // source device name, or the flow name
    qint32 srcChId = -1;
    quint32 srcIp = 0;
    quint32 dstIp = 0;
    quint16 dstPort = 0;
    bool isMulticast() const { return srcDevId.isEmpty() && dstIp != 0; }
};

struct UcastRxItem
{
    QString srcDevId;
    quint32 srcIp = 0;
    qint32 chNum = 0;
    QVector<qint32> rtpChIds;
};

/// A unicast stream the device sends; srcChIds has fixed places, with
/// kEmptyPlace for the unused ones.
struct UcastTxItem
{
    static constexpr quint32 kEmptyPlace = 0xFFFFFFFFu;
    QString dstDevId;
    quint32 dstIp = 0;
    qint32 chNum = 0;
    QVector<quint32> srcChIds;
};

struct McastRxItem
{
    QString name;
    quint32 srcIp = 0;
    quint32 dstIp = 0;
    quint16 dstPort = 0;
    qint32 chNum = 0;
    QVector<qint32> rtpChIds;
};

struct McastTxItem
{
    QString sdpId;
    QString name;
    quint32 dstIp = 0;
    quint16 dstPort = 0;
    qint32 chNum = 0;
    QVector<qint32> srcChIds;
};

/// The tables the poller fetches from a device, page by page.
struct DeviceTables
{
    enum Table { RxCh, RtpCh, UcastRx, UcastTx, McastRx, McastTx, ActiveUcastId, ActiveMcastId, TableCount };
    enum NameTable { NameRx, NameTx, PhyNameRx, PhyNameTx, NameTableCount };

    QVector<qint32> rxCh;  // route entry of each receive channel, -1 none
    QVector<RtpChItem> rtpCh;
    QVector<UcastRxItem> ucastRx;
    QVector<UcastTxItem> ucastTx;
    QVector<McastRxItem> mcastRx;
    QVector<McastTxItem> mcastTx;
    QVector<bool> activeUcast;
    QVector<bool> activeMcast;
    qint32 fetched[TableCount] = {};
    /// Moves on whenever a table is fetched afresh. Every request for a page carries it as its "cookie", which
    /// the device copies back: a page asked for before the device's change event and answered after it is told
    /// from the fresh fetch's first page, though both start at 0.
    quint32 generation[TableCount] = {};

    QVector<QString> names[NameTableCount];
    qint32 namesFetched[NameTableCount] = {};

    /// Largest table the registry keeps, whatever a device announces.
    static constexpr qint32 kMaxItems = 4096;

    /// The operation that fetches a table, and its announced size (0..kMaxItems).
    static const char *operation(Table t);
    static const char *nameOperation(NameTable t);
    static qint32 announcedCount(const DevRecord &rec, Table t);
    static qint32 announcedNameCount(const DevRecord &rec, NameTable t);
};

/// A device as the pages see it: its announcement and its fetched tables.
struct Device
{
    DevRecord rec;
    DeviceTables tables;

    QString devId() const { return rec.devId.str(); }
    bool tablesComplete() const;
    bool namesComplete() const;
    /// The route of one receive channel, or nullptr.
    const RtpChItem *routeOf(int rxCh) const;
    /// A channel's name, or "" when the device has not told it.
    QString channelName(DeviceTables::NameTable t, int ch) const;
};

/// A multicast flow learnt from SAP.
struct FlowRecord
{
    QString name;
    quint32 srcIp = 0;
    quint32 dstIp = 0;  // the key
    quint16 dstPort = 0;
    quint8 chNum = 0;
    quint8 sampleByteNum = 0;
    quint32 sampleRate = 0;
    quint32 pFrameNum = 0;
    char gmClkId[24] = {};
    quint32 rtpTsOffset = 0;
    /// Milliseconds left before the flow counts as gone.
    qint32 countdown = 0;
    /// Given by the operator as an SDP text: it does not age.
    bool pasted = false;
};
