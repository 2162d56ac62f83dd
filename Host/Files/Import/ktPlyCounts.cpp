// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks the header of a PLY file: that it ends, and that its numbers fit the size of the file.
#include "ktPlyCounts.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>

namespace {

/// Lines may end as on any system. False if the file ends before the line.
bool readLine(std::streambuf& bytes, std::string& line) {
    constexpr int end = std::char_traits<char>::eof();
    line.clear();
    int byte = bytes.sbumpc();
    for (; byte != end && byte != '\n' && byte != '\r'; byte = bytes.sbumpc())
        line += static_cast<char>(byte);
    return byte != end;
}

} // namespace

std::string ktCheckPlyCounts(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const auto size = static_cast<std::uint64_t>(std::max<std::streamoff>(0, file.tellg()));
    file.seekg(0);
    for (std::string line; readLine(*file.rdbuf(), line);) {
        std::istringstream words(line);
        std::string word, name;
        words >> word;
        if (word == "end_header" && !(words >> name))
            return {};
        double count = 0; // also takes numbers beyond all integers
        if (word == "element" && words >> name >> count && count > static_cast<double>(size))
            return "its header says \"" + line.substr(0, line.find_last_not_of(" \t\r") + 1) + "\", more than its " +
                   std::to_string(size) + " bytes can hold";
    }
    return "its header does not end with a line \"end_header\"";
}
