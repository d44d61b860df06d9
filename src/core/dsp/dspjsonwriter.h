#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QVarLengthArray>

#include <utility>
#include <vector>

/// Compact JSON text as the DSP document and its commands are written: every number a string, members of each
/// object in ascending order of their names, text escaped exactly as Qt's compact output escapes it. Text
/// written here and the same document passed through QJsonDocument are therefore equal byte for byte, which is
/// what lets a stored configuration be compared with a fetched one as plain text.
///
/// Written by hand rather than through QJsonObject because building Qt's JSON values for a large document costs
/// several times more than the text itself.
class DspJsonWriter
{
public:
    explicit DspJsonWriter(QByteArray *out)
        : out(*out)
    {}

    /// Opens an object. Members in extra (those this program does not know) are merged in name order with the
    /// ones written through key(); extra must stay alive until endObject().
    void beginObject(const QJsonObject *extra = nullptr);
    void endObject();
    void beginArray();
    void endArray();

    /// Starts a member of the open object; names must come in ascending order and need no escaping.
    void key(const char *name);

    void text(const QString &value);
    void text(const char *latin1);
    void integer(qint64 value);
    void real(double value);
    void flag(bool on) { text(on ? "1" : "0"); }
    /// Any JSON value, as Qt's compact output writes it: object members in name order, numbers, true, false
    /// and null as Qt writes them.
    void value(const QJsonValue &value);

    /// The real written as on the wire: at most 6 significant digits in their shortest form, "-0" as "0".
    static QByteArray formatReal(double value);
    static void appendReal(QByteArray &out, double value);
    static void appendInteger(QByteArray &out, qint64 value);
    /// The quoted and escaped form of s.
    static void appendString(QByteArray &out, const QString &s);

private:
    using Member = std::pair<QString, QJsonValue>;

    struct Level
    {
        bool inObject = false;
        bool first = true;
        // Unknown members still to write, sorted by name. Sorted here rather than taken in QJsonObject's order,
        // which Qt 5.15 gets wrong for names holding NUL characters.
        std::vector<Member> extra;
        size_t next = 0;
    };

    static std::vector<Member> sortedMembers(const QJsonObject &o);
    void separate();
    void beforeValue();
    // Writes the unknown members that sort before name (all when name is null).
    void flushExtra(const char *name);

    QByteArray &out;
    QVarLengthArray<Level, 16> levels;
};
