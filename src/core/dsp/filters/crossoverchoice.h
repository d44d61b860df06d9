#pragma once

#include <QStringList>

struct DspCrossover;

// The crossover type selector: item index <-> (family, order). The pair is computed from the index rather than
// looked up, so the last item, "ByPass", yields a Linkwitz-Riley of order 8 like the item before it; the
// device's editor has always behaved so and stored configurations rely on it.
namespace CrossoverChoice {

struct Choice
{
    int type = 0;
    int order = 1;
    bool operator==(const Choice &o) const { return type == o.type && order == o.order; }
};

/// The item texts, in selector order.
QStringList itemTexts();
Choice choice(int index);
/// The first item showing (type, order), or -1 when no item does.
int indexOf(int type, int order);
/// Whether picking the item would change the block; a pick that changes nothing sends nothing.
bool changes(const DspCrossover &block, int index);
/// Stores the item's pair in the block; false (and the block untouched) when it changes nothing.
bool apply(DspCrossover &block, int index);

} // namespace CrossoverChoice
