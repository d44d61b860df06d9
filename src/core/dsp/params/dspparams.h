#pragma once

#include "core/app/texts.h"
#include "core/dsp/dspkinds.h"
#include "core/dsp/dspnode.h"

#include <QVector>

#include <optional>

/// One member of a block (or of the automixer node, or of a channel of the echo-cancellation node) as its
/// editor shows it. The editors of the dynamics, delay, generator, feedback, ducker, echo-cancelling and
/// automixer blocks are loops over these tables; docs/dsp.md, "Block editors", says why each range is what it is.
struct DspParam
{
    enum class Kind {
        Number,  ///< a spin box, with a slider when sliderName is set
        Steps,   ///< a slider over a fixed list of values (the compressor's ratio) and a label
        Choice,  ///< a combo box; item i stores i
        Channel, ///< a combo box of the side's channel names; item i stores channel index i
        Toggle,  ///< a checkable button; stores 1 or 0
    };

    Kind kind = Kind::Number;
    const char *member = "";
    const char *controlName = ""; ///< the spin box, combo box or button
    const char *sliderName = "";  ///< empty: no slider
    Tx label = Tx::Ok;
    std::optional<Tx> unit;
    double min = 0.0;
    double max = 0.0;
    double step = 1.0;
    int decimals = 0;
    /// Slider position = round(value * sliderScale + sliderOffset).
    double sliderScale = 1.0;
    double sliderOffset = 0.0;
    QVector<double> steps; ///< Kind::Steps
    QVector<Tx> choices;   ///< Kind::Choice

    bool hasSlider() const { return *sliderName != '\0'; }
    int sliderMin() const;
    int sliderMax() const;
    /// Steps: the first value within 1e-6 of v, else position 0.
    int sliderPosition(double value) const;
    double fromSlider(int position) const;
    /// A value held to the control's range (and to its step for Steps); what is shown for a document value
    /// out of range, never sent back unless the user changes it.
    double shown(double value) const;
    /// A number the user entered is a change of the stored one: 1e-6 or more away.
    static bool isChange(double stored, double entered);
};

namespace DspParams {

/// The controls of a kind's editor, in the order shown; empty for the kinds with editors of their own
/// (equaliser and crossovers, FIR, delay).
const QVector<DspParam> &of(DspKind kind);
/// The automixer node's own members and the members of one channel of the echo-cancellation node.
const QVector<DspParam> &automixer();
const QVector<DspParam> &aecChannel();

/// A scalar member by its name (a flag reads 1 or 0); none when the record has no such member.
std::optional<double> value(const DspBlock &block, const char *member);
std::optional<double> value(const DspAutomixer &mixer, const char *member);
std::optional<double> value(const DspChannel &channel, int nodeType, const char *member);
/// Stores a scalar member (integers rounded, flags non-zero); false when the record has no such member.
bool setValue(DspBlock &block, const char *member, double v);
bool setValue(DspAutomixer &mixer, const char *member, double v);
bool setValue(DspChannel &channel, int nodeType, const char *member, double v);

} // namespace DspParams
