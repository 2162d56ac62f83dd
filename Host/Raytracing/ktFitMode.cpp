// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps the chosen fit mode of the process.
#include "ktFitMode.h"

#include <atomic>

namespace {

std::atomic<ktFitMode> chosen{ktFitMode::Vertices};

} // namespace

void ktSetFitMode(ktFitMode mode) noexcept {
    chosen = mode;
}

ktFitMode ktGetFitMode() noexcept {
    return chosen;
}
