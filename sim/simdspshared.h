#pragma once

// What the virtual DSP's document and its live figures share: the block types, the
// document's number forms and the level arithmetic. Included by simdspdocument.cpp and
// simdsplive.cpp only.

#include <QJsonObject>
#include <QString>

#include <cmath>
#include <limits>

namespace SimDspShared {

inline const QString badParam = QStringLiteral("bad param");
inline const double silence = std::numeric_limits<double>::quiet_NaN();
inline const int linkGroups = 64;     ///< block link groups are numbered 0 to 63
inline const int groupCount = 8;      ///< channel groups of the default document
inline const int maxChainLength = 32; ///< blocks a channel can hold

enum BlockType { Eq, Delay, Compressor, Feedback, Crossover, Fir, Limiter, Gate, Expander, Generator, ChAec, Ducker };
inline const int blockTypes = 12;

inline QString text(qint64 v)
{
    return QString::number(v);
}

// Reals as the document writes them: up to six significant digits, shortest form.
inline QString real(double v)
{
    if (v == 0)
        v = 0; // no "-0"
    return QString::number(v, 'g', 6);
}

inline double num(const QJsonObject &o, const char *key)
{
    return o.value(QLatin1String(key)).toString().toDouble();
}

inline bool on(const QJsonObject &o, const char *key)
{
    return o.value(QLatin1String(key)).toString() == QLatin1String("1");
}

inline double powerSum(double a, double b)
{
    if (std::isnan(a))
        return b;
    if (std::isnan(b))
        return a;
    return 10.0 * std::log10(std::pow(10.0, a / 10.0) + std::pow(10.0, b / 10.0));
}

inline QString flagText(int v)
{
    return v ? QStringLiteral("1") : QStringLiteral("0");
}

} // namespace SimDspShared
