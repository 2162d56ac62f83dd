// SPDX-License-Identifier: LGPL-2.1-or-later
// Counts how often the process ran out of memory, and tells the application at once.
#include "ktMemoryShortage.h"

#include <atomic>

namespace {

std::atomic<void (*)()> shortageListener{nullptr};
std::atomic<std::uint64_t> shortageCount{0};

} // namespace

void ktMemoryShortage::setListener(void (*listener)()) noexcept {
    shortageListener = listener;
}

void ktMemoryShortage::report() noexcept {
    ++shortageCount;
    if (void (*const listener)() = shortageListener)
        listener();
}

std::uint64_t ktMemoryShortage::count() noexcept {
    return shortageCount;
}
