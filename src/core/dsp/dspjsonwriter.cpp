#include "core/dsp/dspjsonwriter.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <charconv>
#include <cmath>

void DspJsonWriter::separate()
{
    if (levels.isEmpty())
        return;
    Level &l = levels.last();
    if (!l.first)
        out += ',';
    l.first = false;
}

void DspJsonWriter::beforeValue()
{
    // Inside an object key() has already placed the separator.
    if (!levels.isEmpty() && !levels.last().inObject)
        separate();
}

std::vector<DspJsonWriter::Member> DspJsonWriter::sortedMembers(const QJsonObject &o)
{
    std::vector<Member> m;
    m.reserve(size_t(o.size()));
    for (auto it = o.constBegin(); it != o.constEnd(); ++it)
        m.emplace_back(it.key(), it.value());
    std::sort(m.begin(), m.end(), [](const Member &a, const Member &b) { return a.first < b.first; });
    return m;
}

void DspJsonWriter::beginObject(const QJsonObject *extra)
{
    beforeValue();
    out += '{';
    levels.append(Level());
    Level &l = levels.last();
    l.inObject = true;
    if (extra && !extra->isEmpty())
        l.extra = sortedMembers(*extra);
}

void DspJsonWriter::endObject()
{
    flushExtra(nullptr);
    levels.removeLast();
    out += '}';
}

void DspJsonWriter::beginArray()
{
    beforeValue();
    out += '[';
    levels.append(Level());
}

void DspJsonWriter::endArray()
{
    levels.removeLast();
    out += ']';
}

void DspJsonWriter::flushExtra(const char *name)
{
    // By index, not by reference: writing a value may grow the level stack and move it.
    const int at = levels.size() - 1;
    while (levels[at].next < levels[at].extra.size()) {
        const Member m = levels[at].extra[levels[at].next];
        if (name && !(m.first < QLatin1String(name)))
            break;
        ++levels[at].next;
        separate();
        appendString(out, m.first);
        out += ':';
        value(m.second);
    }
}

void DspJsonWriter::key(const char *name)
{
    flushExtra(name);
    separate();
    out += '"';
    out += name;
    out += "\":";
}

void DspJsonWriter::text(const QString &value)
{
    beforeValue();
    appendString(out, value);
}

void DspJsonWriter::text(const char *latin1)
{
    beforeValue();
    out += '"';
    out += latin1;
    out += '"';
}

void DspJsonWriter::integer(qint64 value)
{
    beforeValue();
    out += '"';
    appendInteger(out, value);
    out += '"';
}

void DspJsonWriter::real(double value)
{
    beforeValue();
    out += '"';
    appendReal(out, value);
    out += '"';
}

void DspJsonWriter::value(const QJsonValue &v)
{
    switch (v.type()) {
    case QJsonValue::String: text(v.toString()); return;
    case QJsonValue::Object: {
        // Written here, not by Qt, for the same reason as the unknown members: the order.
        beforeValue();
        out += '{';
        bool first = true;
        for (const Member &m : sortedMembers(v.toObject())) {
            if (!first)
                out += ',';
            first = false;
            appendString(out, m.first);
            out += ':';
            levels.append(Level());
            levels.last().inObject = true; // the value needs no separator of its own
            value(m.second);
            levels.removeLast();
        }
        out += '}';
        return;
    }
    case QJsonValue::Array: {
        beginArray();
        for (const QJsonValue &e : v.toArray())
            value(e);
        endArray();
        return;
    }
    default: {
        // Numbers, true, false and null only turn up in members this program does not know.
        beforeValue();
        const QByteArray t = QJsonDocument(QJsonArray{v}).toJson(QJsonDocument::Compact);
        out += t.mid(1, t.size() - 2);
    }
    }
}

void DspJsonWriter::appendInteger(QByteArray &out, qint64 value)
{
    char buf[24];
    const auto r = std::to_chars(buf, buf + sizeof buf, value);
    out.append(buf, int(r.ptr - buf));
}

void DspJsonWriter::appendReal(QByteArray &out, double value)
{
    if (!std::isfinite(value) || value == 0.0) {
        out += '0'; // also -0, which a device might read as a different setting
        return;
    }
    // Whole numbers below a million are the common case (frequencies, dB steps) and have no other form.
    if (std::fabs(value) < 1e6 && value == std::trunc(value)) {
        appendInteger(out, qint64(value));
        return;
    }
    // The same text as printf's "%.6g", without its dependence on the process locale.
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, 6);
    out.append(buf, int(r.ptr - buf));
}

QByteArray DspJsonWriter::formatReal(double value)
{
    QByteArray b;
    appendReal(b, value);
    return b;
}

void DspJsonWriter::appendString(QByteArray &out, const QString &s)
{
    static const char hex[] = "0123456789abcdef";
    out += '"';
    const ushort *p = reinterpret_cast<const ushort *>(s.constData());
    const ushort *const end = p + s.size();
    while (p < end) {
        const ushort u = *p++;
        if (u >= 0x20 && u < 0x80 && u != '"' && u != '\\') {
            out += char(u);
        } else if (u < 0x80) {
            out += '\\';
            switch (u) {
            case '"': out += '"'; break;
            case '\\': out += '\\'; break;
            case '\b': out += 'b'; break;
            case '\f': out += 'f'; break;
            case '\n': out += 'n'; break;
            case '\r': out += 'r'; break;
            case '\t': out += 't'; break;
            default:
                out += "u00";
                out += hex[u >> 4];
                out += hex[u & 0xF];
            }
        } else if (u < 0x800) {
            out += char(0xC0 | (u >> 6));
            out += char(0x80 | (u & 0x3F));
        } else if (u >= 0xD800 && u < 0xDC00 && p < end && *p >= 0xDC00 && *p < 0xE000) {
            const uint c = 0x10000u + ((uint(u) - 0xD800u) << 10) + (uint(*p++) - 0xDC00u);
            out += char(0xF0 | (c >> 18));
            out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        } else if (u >= 0xD800 && u < 0xE000) {
            // A lone surrogate has no UTF-8 form; Qt writes it as an escape, and so does this.
            out += "\\u";
            out += hex[u >> 12];
            out += hex[(u >> 8) & 0xF];
            out += hex[(u >> 4) & 0xF];
            out += hex[u & 0xF];
        } else {
            out += char(0xE0 | (u >> 12));
            out += char(0x80 | ((u >> 6) & 0x3F));
            out += char(0x80 | (u & 0x3F));
        }
    }
    out += '"';
}
