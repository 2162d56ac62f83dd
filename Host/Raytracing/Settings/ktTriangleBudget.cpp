// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads and keeps the number of triangles that a scene may have after refinement.
#include "ktTriangleBudget.h"

#include <charconv>
#include <mutex>

namespace {

std::mutex lock;
ktTriangleBudget current;

} // namespace

bool ktParseTriangleBudget(const std::string& text, ktTriangleBudget& budget) noexcept {
    constexpr double largest = 1e9;
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    const bool isFactor = rest != end && *rest == 'x' && rest + 1 == end;
    if (error != std::errc() || (rest != end && !isFactor) || !(number >= 1) || !(number <= largest) ||
        (!isFactor && text.find('.') != std::string::npos))
        return false;
    budget = {number, isFactor};
    return true;
}

void ktSetTriangleBudget(ktTriangleBudget budget) noexcept {
    const std::lock_guard<std::mutex> guard(lock);
    current = budget;
}

ktTriangleBudget ktGetTriangleBudget() noexcept {
    const std::lock_guard<std::mutex> guard(lock);
    return current;
}
