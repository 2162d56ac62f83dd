// SPDX-License-Identifier: LGPL-2.1-or-later
// Names of the modes of compression.
#include "ktCompressionMode.h"

#include <algorithm>

const std::vector<std::string>& ktCompressionNames() {
    static const std::vector<std::string> names = {"as-input", "draco", "meshopt", "none"};
    return names;
}

std::optional<ktCompressionMode> ktParseCompressionMode(const std::string& text) {
    const std::vector<std::string>& names = ktCompressionNames();
    const auto found = std::find(names.begin(), names.end(), text);
    if (found == names.end())
        return std::nullopt;
    return static_cast<ktCompressionMode>(found - names.begin());
}

const char* ktNameOf(ktCompressionMode mode) {
    return ktCompressionNames()[static_cast<std::size_t>(mode)].c_str();
}
