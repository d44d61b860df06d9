#pragma once

#include "core/devices/devicerecord.h"
#include "core/routing/routelist.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

/// How corvane-cli prints the registry: JSON objects whose members carry the
/// protocol's names, and plain aligned text.
namespace CliOutput {

QJsonObject deviceJson(const Device &d);
QJsonObject flowJson(const FlowRecord &f);
QJsonObject routeJson(const RouteEntry &r);

QStringList deviceLines(const QVector<Device> &devices);
QStringList flowLines(const QVector<FlowRecord> &flows);
QStringList routeLines(const QVector<RouteEntry> &routes);

/// Left-aligned columns, two spaces apart; the first row is the header.
QStringList columns(const QVector<QStringList> &rows);

} // namespace CliOutput
