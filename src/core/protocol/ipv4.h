#pragma once

#include <QString>
#include <QtGlobal>

/// Dotted-quad text and host-order IPv4 numbers, as every message writes them.
namespace Ipv4 {
/// "%u.%u.%u.%u"
QString toText(quint32 ip);
/// Strict dotted quad (four decimal octets 0-255); 0 when the text is not one.
quint32 fromText(const QString &text);
quint32 fromText(const char *text, const char **end = nullptr);
} // namespace Ipv4
