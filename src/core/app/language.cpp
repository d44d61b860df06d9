#include "core/app/language.h"

#include <atomic>

namespace {
std::atomic<bool> g_chinese{false};
}

Language *Language::instance()
{
    static Language *self = new Language;
    return self;
}

bool Language::isChinese()
{
    return g_chinese.load(std::memory_order_relaxed);
}

void Language::setChinese(bool chinese)
{
    if (g_chinese.exchange(chinese) != chinese)
        emit instance()->changed(chinese);
}
