#include "core/devices/devicerecord.h"

#include <cstring>

template<int N>
void FixedText<N>::set(const QByteArray &utf8)
{
    int n = qMin(utf8.size(), N);
    // Never cut a multi-byte character in half.
    if (n < utf8.size())
        while (n > 0 && (uchar(utf8.at(n)) & 0xC0) == 0x80)
            --n;
    std::memcpy(data, utf8.constData(), size_t(n));
    data[n] = '\0';
}

template<int N>
bool FixedText<N>::operator==(const char *other) const
{
    return std::strcmp(data, other) == 0;
}

template struct FixedText<32>;
template struct FixedText<64>;

namespace {
// Tables are sized from the announcement before their pages arrive: a count beyond any device (a corrupt or
// hostile announcement) must not make the registry reserve gigabytes, nor the poller ask forever.
qint32 withinTable(qint32 announced)
{
    return qBound(0, announced, DeviceTables::kMaxItems);
}
} // namespace

bool DevRecord::hasClockIdentity() const
{
    for (int i = 0; i < 23 && myClkId.data[i]; ++i)
        if (myClkId.data[i] != '0' && myClkId.data[i] != '-')
            return true;
    return false;
}

bool DevRecord::sameDescription(const DevRecord &o) const
{
    return devId == o.devId.data && name == o.name.data && ip == o.ip && port == o.port && chNumRx == o.chNumRx
           && chNumTx == o.chNumTx && ucastNumRx == o.ucastNumRx && ucastNumTx == o.ucastNumTx
           && mcastNumRx == o.mcastNumRx && mcastNumTx == o.mcastNumTx && sampleRate == o.sampleRate
           && sampleByteNum == o.sampleByteNum && pFrameNum == o.pFrameNum && dscp == o.dscp
           && delayUs == o.delayUs && myClkId == o.myClkId.data && gmClkId == o.gmClkId.data
           && model == o.model.data && phyChNumRx == o.phyChNumRx && phyChNumTx == o.phyChNumTx
           && canWork == o.canWork;
}

const char *DeviceTables::operation(Table t)
{
    static const char *const ops[TableCount] = {"getAllRxCh",    "getAllRtpCh",   "getAllUcastRx",
                                                "getAllUcastTx", "getAllMcastRx", "getAllMcastTx",
                                                "getAllActiveUcastId", "getAllActiveMcastId"};
    return ops[t];
}

const char *DeviceTables::nameOperation(NameTable t)
{
    static const char *const ops[NameTableCount] = {"getAllChNameRx", "getAllChNameTx", "getAllPhyChNameRx",
                                                    "getAllPhyChNameTx"};
    return ops[t];
}

qint32 DeviceTables::announcedCount(const DevRecord &rec, Table t)
{
    switch (t) {
    case RxCh:
    case RtpCh: return withinTable(rec.chNumRx);
    case UcastRx:
    case ActiveUcastId: return withinTable(rec.ucastNumRx);
    case UcastTx: return withinTable(rec.ucastNumTx);
    case McastRx:
    case ActiveMcastId: return withinTable(rec.mcastNumRx);
    case McastTx: return withinTable(rec.mcastNumTx);
    default: return 0;
    }
}

qint32 DeviceTables::announcedNameCount(const DevRecord &rec, NameTable t)
{
    switch (t) {
    case NameRx: return withinTable(rec.chNumRx);
    case NameTx: return withinTable(rec.chNumTx);
    case PhyNameRx: return withinTable(rec.phyChNumRx);
    case PhyNameTx: return withinTable(rec.phyChNumTx);
    default: return 0;
    }
}

bool Device::tablesComplete() const
{
    for (int t = 0; t < DeviceTables::TableCount; ++t)
        if (tables.fetched[t] < DeviceTables::announcedCount(rec, DeviceTables::Table(t)))
            return false;
    return true;
}

bool Device::namesComplete() const
{
    for (int t = 0; t < DeviceTables::NameTableCount; ++t)
        if (tables.namesFetched[t] < DeviceTables::announcedNameCount(rec, DeviceTables::NameTable(t)))
            return false;
    return true;
}

const RtpChItem *Device::routeOf(int rxCh) const
{
    if (rxCh < 0 || rxCh >= tables.rxCh.size())
        return nullptr;
    const int entry = tables.rxCh.at(rxCh);
    if (entry < 0 || entry >= tables.rtpCh.size())
        return nullptr;
    const RtpChItem &item = tables.rtpCh.at(entry);
    return item.srcIp == 0 && item.srcDevId.isEmpty() ? nullptr : &item;
}

QString Device::channelName(DeviceTables::NameTable t, int ch) const
{
    const QVector<QString> &names = tables.names[t];
    return ch >= 0 && ch < names.size() ? names.at(ch) : QString();
}
