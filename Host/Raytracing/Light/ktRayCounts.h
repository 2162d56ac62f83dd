// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

/// Numbers of rays for direct and for indirect light.
struct ktRayCounts {
    std::uint64_t direct = 0;
    std::uint64_t indirect = 0;

    ktRayCounts& operator+=(const ktRayCounts& other) {
        direct += other.direct;
        indirect += other.indirect;
        return *this;
    }
};
