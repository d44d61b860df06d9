#pragma once

#include "core/devices/devicerecord.h"

#include <QJsonObject>

/// How a device's tables are asked for page by page and how one reply is
/// merged into them: values in, values out, no registry, no sockets.
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

    /// The request for the page of table t from idStart, written into out
    /// (kRequestSize bytes); returns its length. It carries the table's
    /// generation as "cookie": "t" and the number, never the "0" that would
    /// send the reply past the registry to the pages.
    static constexpr int kRequestSize = 96;
    static int writeRequest(char *out, DeviceTables::Table t, qint32 idStart, quint32 generation);

    /// Merges one page ("idStart", "idNext", "arr") of table t, whose size the
    /// device announced as count, and moves the fetched count to "idNext".
    /// False, with nothing stored, when the page moves nothing: a repeat of a
    /// page already stored, one past what was asked for, or the answer to a
    /// request of an earlier generation (asked for before the table was reset;
    /// it shows the table as it was). A reply without "cookie" is taken as it
    /// stands, so a device that does not copy it back still gets its tables.
    static bool mergePage(DeviceTables &tables, DeviceTables::Table t, qint32 count, const QJsonObject &reply);
    static bool mergeNamePage(DeviceTables &tables, DeviceTables::NameTable t, qint32 count,
                              const QJsonObject &reply);

    /// "updateRoute": the route tables are fetched again from the start, in a
    /// new generation, so no answer to an earlier request counts any more.
    static void refetchRoutes(DeviceTables &tables);
    /// "updateActive": the active flow ids are fetched again, the same way.
    static void refetchActive(DeviceTables &tables);
    static bool isRouteTable(DeviceTables::Table t)
    {
        return t != DeviceTables::ActiveUcastId && t != DeviceTables::ActiveMcastId;
    }
};
