#include "core/protocol/jsonintake.h"

#include <cstring>

#include <QJsonDocument>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

// Qt refuses deeper documents anyway.
constexpr size_t kMaxDepth = 1024;

struct Frame
{
    bool isObject = false;
    bool expectKey = false;
    std::vector<std::string_view> keys;
};

void appendUtf8(std::string &out, uint code)
{
    if (code < 0x80) {
        out += char(code);
    } else if (code < 0x800) {
        out += char(0xC0 | (code >> 6));
        out += char(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += char(0xE0 | (code >> 12));
        out += char(0x80 | ((code >> 6) & 0x3F));
        out += char(0x80 | (code & 0x3F));
    } else {
        out += char(0xF0 | (code >> 18));
        out += char(0x80 | ((code >> 12) & 0x3F));
        out += char(0x80 | ((code >> 6) & 0x3F));
        out += char(0x80 | (code & 0x3F));
    }
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Reads four hex digits at p; -1 when they are not.
int readHex4(const char *p, const char *end)
{
    if (end - p < 4)
        return -1;
    int v = 0;
    for (int i = 0; i < 4; ++i) {
        const int d = hexValue(p[i]);
        if (d < 0)
            return -1;
        v = v * 16 + d;
    }
    return v;
}

// Reads the string whose opening quote is at *p, leaving *p past its closing quote, and sets *escaped when it
// holds a backslash. False when the string never ends.
bool skipString(const char **p, const char *end, bool *escaped)
{
    const char *s = *p + 1;
    *escaped = false;
    while (s < end && *s != '"') {
        if (*s == '\\') {
            *escaped = true;
            ++s;
        }
        ++s;
    }
    if (s >= end)
        return false;
    *p = s + 1;
    return true;
}

// The text between the quotes, unescaped: "\u0061" and "a" are the same key to Qt.
std::string unescape(const char *s, const char *end)
{
    std::string out;
    while (s < end) {
        if (*s != '\\' || end - s < 2) {
            out += *s++;
            continue;
        }
        const char e = s[1];
        s += 2;
        switch (e) {
        case 'b': out += '\b'; break;
        case 'f': out += '\f'; break;
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'u': {
            int code = readHex4(s, end);
            if (code < 0)
                break;
            s += 4;
            if (code >= 0xD800 && code < 0xDC00 && end - s >= 6 && s[0] == '\\' && s[1] == 'u') {
                const int low = readHex4(s + 2, end);
                if (low >= 0xDC00 && low < 0xE000) {
                    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                    s += 6;
                }
            }
            appendUtf8(out, uint(code));
            break;
        }
        default: out += e; break;
        }
    }
    return out;
}

bool repeats(std::vector<std::string_view> &keys)
{
    if (keys.size() < 2)
        return false;
    std::sort(keys.begin(), keys.end());
    return std::adjacent_find(keys.begin(), keys.end()) != keys.end();
}

} // namespace

namespace JsonIntake {

bool hasDuplicateKey(const char *data, int length)
{
    // Frames are reused from one object to the next so that a datagram allocates little; keys are views of the
    // text, or of their unescaped copies when they hold a backslash.
    static thread_local std::vector<Frame> stack;
    static thread_local std::vector<std::unique_ptr<std::string>> unescaped;
    unescaped.clear();
    size_t depth = 0;
    const char *p = data;
    const char *const end = data + length;
    while (p < end) {
        const char c = *p;
        if (c == '{' || c == '[') {
            if (depth == kMaxDepth)
                return true;
            if (stack.size() <= depth)
                stack.emplace_back();
            Frame &f = stack[depth++];
            f.isObject = c == '{';
            f.expectKey = f.isObject;
            f.keys.clear();
            ++p;
        } else if (c == '}' || c == ']') {
            if (depth > 0 && stack[depth - 1].isObject && repeats(stack[depth - 1].keys))
                return true;
            if (depth > 0)
                --depth;
            ++p;
        } else if (c == ',') {
            if (depth > 0 && stack[depth - 1].isObject)
                stack[depth - 1].expectKey = true;
            ++p;
        } else if (c == '"') {
            Frame *f = depth > 0 ? &stack[depth - 1] : nullptr;
            const char *const start = p + 1;
            bool escaped = false;
            // Malformed text is Qt's to refuse; it leaks nothing.
            if (!skipString(&p, end, &escaped))
                return false;
            if (f && f->isObject && f->expectKey) {
                if (escaped) {
                    unescaped.push_back(std::make_unique<std::string>(unescape(start, p - 1)));
                    f->keys.emplace_back(*unescaped.back());
                } else {
                    f->keys.emplace_back(start, size_t(p - 1 - start));
                }
                f->expectKey = false;
            }
        } else {
            ++p;
        }
    }
    // Objects the text never closes are checked too: what Qt does with them is its own affair.
    for (size_t d = 0; d < depth; ++d)
        if (stack[d].isObject && repeats(stack[d].keys))
            return true;
    return false;
}

bool parseObject(const char *data, int length, QJsonObject *out)
{
    // Qt compares member names only up to a NUL byte, so "a\0b" and "a\0c"
    // pass the repeated-name check yet collide (and leak) inside the parser.
    // No message of the protocol carries one.
    if (length > 0 && std::memchr(data, 0, size_t(length)))
        return false;
    if (hasDuplicateKey(data, length))
        return false;
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(QByteArray::fromRawData(data, length), &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        return false;
    *out = doc.object();
    return true;
}

} // namespace JsonIntake
