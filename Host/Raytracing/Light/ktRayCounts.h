// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

/// Rays along the directions of a pattern, by the light that they look for.
struct ktRayCounts {
    std::uint64_t direct = 0;
    std::uint64_t indirect = 0;

    ktRayCounts& operator+=(const ktRayCounts& other) {
        direct += other.direct;
        indirect += other.indirect;
        return *this;
    }
};
