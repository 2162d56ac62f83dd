// SPDX-License-Identifier: LGPL-2.1-or-later
// Collects warnings and notes about a file, and merges warnings that have the same reason.
#include "ktFileMessages.h"

#include <algorithm>

std::string ktFileWarning::text() const {
    std::string line = object + ": " + reason;
    if (!detail.empty())
        line += " (" + detail + ")";
    if (count > 1)
        line += " (and " + std::to_string(count - 1) + " more)";
    return line;
}

void ktFileMessages::warn(const std::string& object, const std::string& reason, const std::string& detail) {
    const auto known = std::find_if(entries.begin(), entries.end(),
                                    [&](const ktFileWarning& entry) { return entry.reason == reason; });
    if (known != entries.end())
        ++known->count;
    else
        entries.push_back({object, reason, detail, 1});
}
