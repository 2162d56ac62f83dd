// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the duration of a calculation to the log and to standard output.
#include "ktAmbientOcclusion.h"
#include "ktLog.h"

#include <iostream>

void printTiming(const std::string& label, long milliseconds) {
    const long minutes = milliseconds / 60000;
    const long seconds = milliseconds % 60000 / 1000;
    const long rest = milliseconds % 1000;
    ktLog::info("%s: %i minutes %i seconds %i milliseconds", label.c_str(), static_cast<int>(minutes),
                static_cast<int>(seconds), static_cast<int>(rest));
    std::cout << label << ": " << minutes << " minutes " << seconds << " seconds " << rest << " milliseconds"
              << std::endl;
}
