#include "core/dsp/filters/crossoverchoice.h"

#include "core/dsp/dspblock.h"

namespace CrossoverChoice {

QStringList itemTexts()
{
    return {QStringLiteral("Butwrth 6"),  QStringLiteral("Butwrth 12"), QStringLiteral("Bessel 12"),
            QStringLiteral("Lnk-Ril 12"), QStringLiteral("Butwrth 24"), QStringLiteral("Bessel 24"),
            QStringLiteral("Lnk-Ril 24"), QStringLiteral("Butwrth 36"), QStringLiteral("Bessel 36"),
            QStringLiteral("Lnk-Ril 36"), QStringLiteral("Butwrth 48"), QStringLiteral("Bessel 48"),
            QStringLiteral("Lnk-Ril 48"), QStringLiteral("ByPass")};
}

Choice choice(int index)
{
    Choice c;
    switch (index) {
    case 0: case 1: case 4: case 7: case 10:
        c.type = 0;
        break;
    case 2: case 5: case 8: case 11:
        c.type = 1;
        break;
    default:
        c.type = 2;
    }
    c.order = index <= 0 ? 1 : index <= 3 ? 2 : index <= 6 ? 4 : index <= 9 ? 6 : 8;
    return c;
}

int indexOf(int type, int order)
{
    const Choice wanted{type, order};
    for (int i = 0; i < itemTexts().size(); ++i)
        if (choice(i) == wanted)
            return i;
    return -1;
}

bool changes(const DspCrossover &block, int index)
{
    return !(choice(index) == Choice{block.type, block.order});
}

bool apply(DspCrossover &block, int index)
{
    if (!changes(block, index))
        return false;
    const Choice c = choice(index);
    block.type = c.type;
    block.order = c.order;
    return true;
}

} // namespace CrossoverChoice
