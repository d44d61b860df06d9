#pragma once

#include "core/devices/devicerecord.h"

#include <QJsonObject>

/// How one paged table reply is merged into a device's tables: values in,
/// values out, no registry, no sockets.
class TableMerge
{
public:
    /// The table a reply's operation fills: at most one of the two is set.
    struct Target
    {
        int table = -1;     // DeviceTables::Table
        int nameTable = -1; // DeviceTables::NameTable
        bool isValid() const { return table >= 0 || nameTable >= 0; }
    };
    static Target targetOf(const QString &op);

    /// Merges one page ("idStart", "idNext", "arr") of table t, whose size the
    /// device announced as count, and moves the fetched count to "idNext".
    /// False, with nothing stored, when the page moves nothing: a repeat of a
    /// page already stored, or one past what was asked for.
    static bool mergePage(DeviceTables &tables, DeviceTables::Table t, qint32 count, const QJsonObject &reply);
    static bool mergeNamePage(DeviceTables &tables, DeviceTables::NameTable t, qint32 count,
                              const QJsonObject &reply);

    /// "updateRoute": the route tables are fetched again from the start.
    static void refetchRoutes(DeviceTables &tables);
    /// "updateActive": the active flow ids are fetched again.
    static void refetchActive(DeviceTables &tables);
    static bool isRouteTable(DeviceTables::Table t)
    {
        return t != DeviceTables::ActiveUcastId && t != DeviceTables::ActiveMcastId;
    }
};
