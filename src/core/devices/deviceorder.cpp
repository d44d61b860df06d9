#include "core/devices/deviceorder.h"

#include "core/devices/devicerecord.h"

#include <algorithm>
#include <numeric>

namespace {

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

// Only ASCII digits count as numbers: a full-width digit sorts as the
// character it is, as it does on a device's own display.
int compareNatural(const QString &a, const QString &b)
{
    int i = 0;
    int j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a.at(i)) && isDigit(b.at(j))) {
            int ai = i;
            int bj = j;
            while (ai < a.size() && a.at(ai) == QLatin1Char('0'))
                ++ai;
            while (bj < b.size() && b.at(bj) == QLatin1Char('0'))
                ++bj;
            int aEnd = ai;
            int bEnd = bj;
            while (aEnd < a.size() && isDigit(a.at(aEnd)))
                ++aEnd;
            while (bEnd < b.size() && isDigit(b.at(bEnd)))
                ++bEnd;
            // Any length of number: longer without its leading zeros is larger.
            if (aEnd - ai != bEnd - bj)
                return (aEnd - ai) - (bEnd - bj);
            for (int k = 0; k < aEnd - ai; ++k)
                if (a.at(ai + k) != b.at(bj + k))
                    return a.at(ai + k).unicode() - b.at(bj + k).unicode();
            i = aEnd;
            j = bEnd;
            continue;
        }
        const QChar ca = a.at(i).toCaseFolded();
        const QChar cb = b.at(j).toCaseFolded();
        if (ca != cb)
            return ca.unicode() - cb.unicode();
        ++i;
        ++j;
    }
    return (a.size() - i) - (b.size() - j);
}

} // namespace

namespace DeviceOrder {

int compareNames(const QString &a, const QString &b)
{
    const int c = compareNatural(a, b);
    return c != 0 ? c : a.compare(b);
}

int compare(const QString &nameA, const QString &idA, const QString &nameB, const QString &idB)
{
    const int c = compareNames(nameA, nameB);
    return c != 0 ? c : compareNames(idA, idB);
}

bool less(const DevRecord &a, const DevRecord &b)
{
    return compare(a.name.str(), a.devId.str(), b.name.str(), b.devId.str()) < 0;
}

bool less(const Device &a, const Device &b)
{
    return less(a.rec, b.rec);
}

bool lessFlow(const FlowRecord &a, const FlowRecord &b)
{
    const int c = compareNames(a.name, b.name);
    return c != 0 ? c < 0 : a.dstIp < b.dstIp;
}

void sort(QVector<Device> &devices)
{
    std::sort(devices.begin(), devices.end(), [](const Device &a, const Device &b) { return less(a, b); });
}

QVector<Device> sorted(QVector<Device> devices)
{
    sort(devices);
    return devices;
}

void sort(QVector<FlowRecord> &flows)
{
    std::sort(flows.begin(), flows.end(), lessFlow);
}

QVector<int> indexOrder(const QVector<Device> &devices)
{
    QVector<int> order(devices.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](int a, int b) { return less(devices.at(a), devices.at(b)); });
    return order;
}

QVector<int> indexOrder(const QVector<FlowRecord> &flows)
{
    QVector<int> order(flows.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](int a, int b) { return lessFlow(flows.at(a), flows.at(b)); });
    return order;
}

} // namespace DeviceOrder
