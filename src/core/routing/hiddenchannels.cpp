#include "core/routing/hiddenchannels.h"

namespace {

// The large frames carry a second, mirrored block of channels in their upper
// half that is not routed by hand: the grid hides it.
struct Family
{
    const char *prefix;
    int hidden;
};

const Family kFamilies[] = {
    {"RK1536-", 768},
    {"RK1024-", 512},
    {"RK0256-", 128},
    {"RK0128-", 64},
};

int g_displayFlag = 0;

} // namespace

namespace HiddenChannels {

int hiddenBy(const QString &model)
{
    for (const Family &f : kFamilies)
        if (model.contains(QLatin1String(f.prefix)))
            return f.hidden;
    return 0;
}

int shownCount(const QString &model, int count)
{
    if (count <= 0)
        return 0;
    if (g_displayFlag == 1)
        return count;
    return qMax(0, count - hiddenBy(model));
}

int displayFlag()
{
    return g_displayFlag;
}

void setDisplayFlag(int flag)
{
    g_displayFlag = flag;
}

} // namespace HiddenChannels
