#pragma once

#include <QJsonObject>
#include <QString>
#include <QVector>

#include <optional>

/// The microphone settings of a device's analog inputs: input gain of the preamplifier and phantom power.
/// They stand outside the DSP document, so they are read and written with requests of their own
/// ("getMicConfig", "setMicConfig"; docs/protocol.md, "The DSP link") that go through
/// DspController::request.
class DspMicConfig
{
public:
    /// The preamplifier's range; it switches in whole dB.
    static constexpr int kMinGainDb = 0;
    static constexpr int kMaxGainDb = 60;

    struct Input
    {
        int gainDb = 0;
        bool phantom = false;
        bool operator==(const Input &o) const { return gainDb == o.gainDb && phantom == o.phantom; }
    };

    static QString getRequest();
    /// Both members of one input; a gain outside the range is brought into it.
    static QString setRequest(int portIndex, const Input &input);
    /// The queue key of an input's writes: a newer write of the same input replaces one not yet sent.
    static QString setKey(int portIndex);

    /// The inputs of a "getMicConfig" reply; none unless it succeeded and every element reads.
    static std::optional<QVector<Input>> readInputs(const QJsonObject &reply);
    /// The input as the device has it after a "setMicConfig" reply; none when the write failed.
    static std::optional<Input> readSet(const QJsonObject &reply);
};
