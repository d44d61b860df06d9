#include "core/device/settingsdisplay.h"

#include "core/app/texts.h"

#include <algorithm>

namespace {

// "1.5" rather than "1.50", "48" rather than "48.0".
QString trimmed(double v, int decimals)
{
    QString s = QString::number(v, 'f', decimals);
    if (s.contains(QLatin1Char('.'))) {
        while (s.endsWith(QLatin1Char('0')))
            s.chop(1);
        if (s.endsWith(QLatin1Char('.')))
            s.chop(1);
    }
    return s;
}

void splitOctets(const QString &text, QString (&out)[4])
{
    const QStringList parts = text.split(QLatin1Char('.'));
    if (parts.size() != 4)
        return;
    for (int i = 0; i < 4; ++i)
        out[i] = parts.at(i).trimmed();
}

} // namespace

QString SettingsDisplay::temperature(const QString &thousandths)
{
    bool ok = false;
    const double v = thousandths.toDouble(&ok);
    if (!ok)
        return QString();
    return QString::number(v / 1000.0, 'f', 1) + QStringLiteral(" °C");
}

QString SettingsDisplay::sampleRate(int hz)
{
    return trimmed(hz / 1000.0, 3) + QStringLiteral(" kHz");
}

QString SettingsDisplay::packetTime(int div)
{
    if (div <= 0)
        return QString();
    if (div == 1)
        return QStringLiteral("1 ms");
    return trimmed(1000.0 / div, 1) + QStringLiteral(" µs");
}

QString SettingsDisplay::sampleBytes(int bytes)
{
    return tx(Tx::DsBits).arg(bytes * 8);
}

QString SettingsDisplay::latency(int microseconds)
{
    if (microseconds >= 1000)
        return trimmed(microseconds / 1000.0, 3) + QStringLiteral(" ms");
    return QString::number(microseconds) + QStringLiteral(" µs");
}

int SettingsDisplay::packetTimeDiv(int sampleRate, int framesPerPacket)
{
    const int khz = sampleRate / 1000;
    if (khz <= 0 || framesPerPacket <= 0)
        return 0;
    return qMax(1, qRound(double(khz) / framesPerPacket));
}

SettingsDisplay::Choices SettingsDisplay::choices(const QStringList &offered, int current)
{
    QVector<qint64> numbers;
    for (const QString &v : offered) {
        bool ok = false;
        const qint64 n = v.trimmed().toLongLong(&ok);
        if (ok && !numbers.contains(n))
            numbers.append(n);
    }
    if (current > 0 && !numbers.contains(current))
        numbers.append(current);
    std::sort(numbers.begin(), numbers.end());
    Choices out;
    for (qint64 n : numbers) {
        if (n == current)
            out.current = out.values.size();
        out.values.append(QString::number(n));
    }
    return out;
}

QString SettingsDisplay::maskOfPrefix(int prefix)
{
    if (prefix < 0 || prefix > 32)
        return QString();
    const quint32 mask = prefix == 0 ? 0u : 0xFFFFFFFFu << (32 - prefix);
    return QStringLiteral("%1.%2.%3.%4")
        .arg(mask >> 24)
        .arg((mask >> 16) & 0xff)
        .arg((mask >> 8) & 0xff)
        .arg(mask & 0xff);
}

AddressPlan::Input SettingsDisplay::addressFields(const AddressPlan::Current &current)
{
    AddressPlan::Input in;
    in.automatic = !current.fixed;
    const int slash = current.ipWithPrefix.indexOf(QLatin1Char('/'));
    splitOctets(slash < 0 ? current.ipWithPrefix : current.ipWithPrefix.left(slash), in.ip);
    if (slash >= 0) {
        bool ok = false;
        const int prefix = current.ipWithPrefix.mid(slash + 1).toInt(&ok);
        if (ok)
            splitOctets(maskOfPrefix(prefix), in.mask);
    }
    splitOctets(current.gateway, in.gateway);
    splitOctets(current.dns, in.dns);
    return in;
}
