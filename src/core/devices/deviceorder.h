#pragma once

#include <QString>
#include <QVector>

struct Device;
struct DevRecord;
struct FlowRecord;

/// The one order of every list of devices: by name, then by device id, the
/// same on every page, from the first screen on and across launches, whatever
/// order the devices announced themselves in. Flows go by name, then by group
/// address.
///
/// Names compare as an operator reads them: letters without regard to case,
/// and a run of digits by its value, so "Stage Box 2" comes before
/// "Stage Box 10". Names that still tie (only case or leading zeros differ)
/// fall back to their exact text, so the order is total and never depends on
/// the computer's locale.
namespace DeviceOrder {

/// Negative, zero or positive as a sorts before, with or after b.
int compareNames(const QString &a, const QString &b);
/// By name, then by device id (compared the same way).
int compare(const QString &nameA, const QString &idA, const QString &nameB, const QString &idB);

bool less(const DevRecord &a, const DevRecord &b);
bool less(const Device &a, const Device &b);
bool lessFlow(const FlowRecord &a, const FlowRecord &b);

void sort(QVector<Device> &devices);
QVector<Device> sorted(QVector<Device> devices);
void sort(QVector<FlowRecord> &flows);
/// The indexes of the list in the order shown, for callers that keep
/// positions into the list as it came.
QVector<int> indexOrder(const QVector<Device> &devices);
QVector<int> indexOrder(const QVector<FlowRecord> &flows);

} // namespace DeviceOrder
