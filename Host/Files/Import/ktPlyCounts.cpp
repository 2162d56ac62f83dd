// SPDX-License-Identifier: LGPL-2.1-or-later
// Compares the numbers in the header of a PLY file with the size of the file.
#include "ktPlyCounts.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>

std::string ktCheckPlyCounts(const std::string& path) {
    constexpr std::size_t mostLines = 10000;
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const auto size = static_cast<std::uint64_t>(std::max<std::streamoff>(0, file.tellg()));
    file.seekg(0);
    std::string line;
    for (std::size_t i = 0; i < mostLines && std::getline(file, line) && line.compare(0, 10, "end_header") != 0; ++i) {
        std::istringstream words(line);
        std::string word, name;
        double count = 0; // also takes numbers beyond all integers
        if (words >> word >> name >> count && word == "element" && count > static_cast<double>(size))
            return "its header says \"" + line.substr(0, line.find_last_not_of(" \t\r") + 1) + "\", more than its " +
                   std::to_string(size) + " bytes can hold";
    }
    return {};
}
