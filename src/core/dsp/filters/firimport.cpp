#include "core/dsp/filters/firimport.h"

#include "core/app/texts.h"
#include "core/dsp/filters/coefficientfile.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

namespace FirImport {

namespace {

bool number(const QByteArray &token, double &out)
{
    // Locale-free on purpose: a file written on a computer set to a decimal comma still separates its
    // numbers by commas, and strtod's "inf", "nan" and hex forms are no coefficients.
    for (char ch : token) {
        const bool allowed = (ch >= '0' && ch <= '9') || ch == '.' || ch == '-' || ch == '+' || ch == 'e' || ch == 'E';
        if (!allowed)
            return false;
    }
    bool ok = false;
    const double v = token.toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return false;
    out = v;
    return true;
}

bool fromJson(const QJsonArray &array, QVector<double> &out)
{
    for (const QJsonValue &v : array) {
        double d = 0.0;
        if (v.isDouble())
            d = v.toDouble();
        else if (!v.isString() || !number(v.toString().trimmed().toUtf8(), d))
            return false;
        out.append(d);
    }
    return true;
}

bool separator(char ch)
{
    switch (ch) {
    case ',': case ';': case ' ': case '\t': case '\r': case '\n': case '\f': case '\v':
    case '(': case ')': case '[': case ']':
        return true;
    default:
        return false;
    }
}

bool fromText(const QByteArray &text, QVector<double> &out)
{
    QByteArray token;
    auto flush = [&]() {
        if (token.isEmpty())
            return true;
        double d = 0.0;
        if (!number(token, d))
            return false;
        out.append(d);
        token.clear();
        return true;
    };
    for (char ch : text) {
        if (separator(ch)) {
            if (!flush())
                return false;
        } else {
            token.append(ch);
        }
    }
    return flush();
}

// Spreadsheets put the column names on the first line ("tap;coefficient"). Only a first line without a single
// number is taken for one, so a word among the numbers further down still refuses the file.
QByteArray withoutHeader(const QByteArray &text)
{
    int start = 0;
    while (start < text.size()) {
        int end = text.indexOf('\n', start);
        if (end < 0)
            end = text.size();
        const QByteArray line = text.mid(start, end - start).trimmed();
        if (line.isEmpty()) {
            start = end + 1;
            continue;
        }
        QByteArray token;
        for (int i = 0; i <= line.size(); ++i) {
            if (i < line.size() && !separator(line.at(i))) {
                token.append(line.at(i));
                continue;
            }
            double d = 0.0;
            if (!token.isEmpty() && number(token, d))
                return text;
            token.clear();
        }
        return text.mid(end);
    }
    return text;
}

} // namespace

QString Result::message() const
{
    switch (status) {
    case Status::Ok:
        return QString();
    case Status::OpenFailed:
        return tx(Tx::FirOpenFailed);
    case Status::ParseFailed:
        return tx(Tx::FirParseFailed);
    case Status::TooMany:
        return tx(Tx::FirTapsTooMany).arg(maxTaps);
    }
    return QString();
}

Result parse(const QByteArray &text, int maxTaps)
{
    Result r;
    r.maxTaps = maxTaps;
    QByteArray body = text;
    if (body.startsWith("\xEF\xBB\xBF")) // a byte-order mark left by some editors
        body.remove(0, 3);
    QVector<double> values;
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(body, &error);
    bool read = false;
    if (error.error == QJsonParseError::NoError)
        read = doc.isArray() && fromJson(doc.array(), values);
    else
        read = fromText(withoutHeader(body), values);
    if (!read || values.isEmpty())
        return r;
    if (values.size() > maxTaps) {
        r.status = Status::TooMany;
        return r;
    }
    r.status = Status::Ok;
    r.values = std::move(values);
    return r;
}

Result readFile(const QString &path, int maxTaps)
{
    return CoefficientFile::read(path, maxTaps, Status::OpenFailed, &parse);
}

} // namespace FirImport
