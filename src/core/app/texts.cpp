#include "core/app/texts.h"

#include "core/app/language.h"

namespace {
struct Entry
{
    const char *en;
    const char *zh;
};

constexpr Entry kTexts[] = {
#define TX(id, en, zh) {en, zh},
#include "core/app/texts.def"
#undef TX
};
static_assert(sizeof(kTexts) / sizeof(kTexts[0]) == size_t(Tx::Count), "catalogue out of step");
} // namespace

QString tx(Tx id, bool chinese)
{
    const int i = int(id);
    if (i < 0 || i >= int(Tx::Count))
        return QString();
    return QString::fromUtf8(chinese ? kTexts[i].zh : kTexts[i].en);
}

QString tx(Tx id)
{
    return tx(id, Language::isChinese());
}
