// SPDX-License-Identifier: LGPL-2.1-or-later
// Asks the caller from time to time whether the reading or writing of a file is to end.
#include "ktReadInterrupt.h"

#include <utility>

static thread_local ktReadInterrupt* innermost = nullptr;

ktReadInterrupt::ktReadInterrupt(std::function<bool()> isInterrupted_, const char* what_)
    : isInterrupted(std::move(isInterrupted_)), what(what_), outer(std::exchange(innermost, this)) {}

ktReadInterrupt::~ktReadInterrupt() {
    innermost = outer;
}

bool ktReadInterrupt::isPossible() {
    return innermost && innermost->isInterrupted;
}

bool ktReadInterrupt::isRequested() {
    return isPossible() && innermost->isInterrupted();
}

void ktReadInterrupt::check() {
    if (isRequested())
        throw Interrupted(innermost->what);
}
