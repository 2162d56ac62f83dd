// SPDX-License-Identifier: LGPL-2.1-or-later
// Tells the caller how much of a file is read.
#include "ktReadProgress.h"

#include <utility>

static thread_local ktReadProgress* innermost = nullptr;

ktReadProgress::ktReadProgress(std::function<void(double)> told_)
    : told(std::move(told_)), outer(std::exchange(innermost, this)) {}

ktReadProgress::~ktReadProgress() {
    innermost = outer;
}

void ktReadProgress::beginStage(double begin, double end) {
    if (!innermost)
        return;
    innermost->stageBegin = begin;
    innermost->stageEnd = end;
    tell(0, 1);
}

void ktReadProgress::tell(std::size_t done, std::size_t all) {
    if (!innermost || !innermost->told || all == 0)
        return;
    const double share = innermost->stageBegin + (innermost->stageEnd - innermost->stageBegin) *
                                                     static_cast<double>(done) / static_cast<double>(all);
    if (share <= innermost->last)
        return;
    innermost->last = share;
    innermost->told(share);
}
