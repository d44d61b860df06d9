#pragma once

#include <QJsonObject>

/// The one way text from the network becomes a JSON object.
///
/// Qt 5.15's parser never frees a value that a later duplicate key replaces: a crafted datagram of about a
/// kilobyte leaks some 30 KB on every parse. Devices never repeat a key, so text that repeats one in any
/// object is refused before Qt sees it.
namespace JsonIntake {

/// True when some object in the text has the same key twice (compared after unescaping, as Qt compares them).
/// Text too deeply nested to check counts as having one.
bool hasDuplicateKey(const char *data, int length);

/// The object, or false when the text is not a JSON object or repeats a key.
bool parseObject(const char *data, int length, QJsonObject *out);

} // namespace JsonIntake
