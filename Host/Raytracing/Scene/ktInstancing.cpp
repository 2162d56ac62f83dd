// SPDX-License-Identifier: LGPL-2.1-or-later
// Decides which parts are traced as instances.
#include "ktInstancing.h"

#include <algorithm>
#include <atomic>

namespace {

constexpr std::uint64_t manyTriangles = 4000000, tooManyTriangles = 30000000; // these take about 2 GB to build
constexpr std::uint64_t minUses = 4, minPartTriangles = 32;

bool doesPay(std::uint64_t all, std::uint64_t left) {
    return (all >= manyTriangles && left <= all / 8) || (all >= tooManyTriangles && left <= all / 2);
}

std::atomic<ktInstancing> current{ktInstancing::ByCost};

bool mayPay(const ktPartUse& part) {
    return part.uses >= minUses && part.triangles >= minPartTriangles;
}

} // namespace

void ktSetInstancing(ktInstancing choice) noexcept {
    current = choice;
}

ktInstancing ktGetInstancing() noexcept {
    return current;
}

std::vector<bool> ktChooseInstances(const std::vector<ktPartUse>& parts, ktInstancing choice) {
    std::vector<bool> chosen(parts.size());
    std::uint64_t all = 0, left = 0;
    for (const ktPartUse& part : parts) {
        all += part.uses * part.triangles;
        left += (mayPay(part) ? 1 : part.uses) * part.triangles;
    }
    if (choice == ktInstancing::Never || (choice == ktInstancing::ByCost && !doesPay(all, left)))
        return chosen;
    std::transform(parts.begin(), parts.end(), chosen.begin(), [choice](const ktPartUse& part) {
        return choice == ktInstancing::Always ? part.uses > 1 : mayPay(part);
    });
    return chosen;
}
