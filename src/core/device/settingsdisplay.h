#pragma once

#include "core/device/addressplan.h"

#include <QStringList>

/// How the settings window shows device values: units, the entries of its
/// choice lists and the octets of the address page.
class SettingsDisplay
{
public:
    /// "45.5 °C" from thousandths of a degree; empty when not a number.
    static QString temperature(const QString &thousandths);
    /// "48 kHz", "44.1 kHz".
    static QString sampleRate(int hz);
    /// The packet time of a divider of one millisecond: "1 ms", "250 µs".
    static QString packetTime(int div);
    /// "24-bit (L24)" for 3 bytes per sample.
    static QString sampleBytes(int bytes);
    /// "2 ms", "1.5 ms", "250 µs".
    static QString latency(int microseconds);

    /// The divider of one millisecond that an announcement's frames per
    /// packet stand for (frames count whole kHz: 44 at 44.1 kHz and 1 ms).
    static int packetTimeDiv(int sampleRate, int framesPerPacket);

    /// The entries of a choice list: the values the device offers, in
    /// ascending order, with the current value added when the device did not
    /// list it, so the list never claims a value the device does not have.
    struct Choices
    {
        QStringList values;
        int current = -1;
    };
    static Choices choices(const QStringList &offered, int current);

    /// The page's fields for what the device reported ("getIp"): the mask
    /// comes from the prefix length; missing parts stay empty.
    static AddressPlan::Input addressFields(const AddressPlan::Current &current);
    /// "255.255.255.0" for 24; empty outside 0-32.
    static QString maskOfPrefix(int prefix);
};
