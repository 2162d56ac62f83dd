// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstdint>
#include <vector>

/// When parts that are used several times are traced as instances. Results are the same.
enum class ktInstancing {
    ByCost, ///< where it saves much memory and time; see ktChooseInstances()
    Never,
    Always, ///< all parts that are used at least twice; for tests and benchmarks
};

/// Sets and tells the choice for the next builds of this process; ByCost by default. Any thread.
KT_HOST_EXPORT void ktSetInstancing(ktInstancing choice) noexcept;
KT_HOST_EXPORT ktInstancing ktGetInstancing() noexcept;

/// A part of a scene.
struct ktPartUse {
    std::uint64_t uses = 0, triangles = 0; ///< triangles: of one use
};

/// Chooses the parts to trace as instances. Instances take less memory and their structure is built faster, but rays
/// are slower in them (Docs/inside/tracing.md has figures). By cost, parts with at least 32 triangles and four uses may
/// become instances. They do if this leaves at most an eighth of at least four million triangles, which saves more time
/// than it costs; or at most half of at least thirty million, because of the memory.
/// @return one per part
std::vector<bool> ktChooseInstances(const std::vector<ktPartUse>& parts, ktInstancing choice);
