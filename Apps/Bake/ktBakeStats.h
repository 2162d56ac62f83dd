// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRunStatistics.h"

#include <chrono>
#include <string>

/// Writes the statistics to a JSON file. @return false if it cannot be written; logs the reason
bool writeStats(ktRunStatistics stats, const std::string& fileName);

/// A stop watch: lap() returns the seconds since the last call, or since construction.
class ktBakeWatch {
public:
    double lap() {
        const auto now = std::chrono::steady_clock::now();
        const double seconds = std::chrono::duration<double>(now - last).count();
        last = now;
        return seconds;
    }

private:
    std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
};
