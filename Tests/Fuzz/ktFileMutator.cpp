// SPDX-License-Identifier: LGPL-2.1-or-later
// Changes files at random: bytes, words, numbers in texts, and parts of files.
#include "ktFileMutator.h"

#include <algorithm>
#include <cctype>
#include <cstring>

// In ktJsonMutator.cpp, which calls LLVMFuzzerMutate() for what is no glTF.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed);

namespace {

constexpr std::size_t mostBytes = 1 << 17, longestPart = 256;
constexpr std::uint32_t words[] = {0,          1,          2,          255,        65535,      65536,     0x7FFFFFFF,
                                   0x80000000, 0xFFFFFFFF, 0x7FC00000, 0x7F800000, 0xFF800000, 0x7F7FFFFF};
constexpr char bytes[] = {0, 1, 10, 32, 34, 45, 48, 60, 123, 127, -128, -1};
const char* const numbers[] = {
    "0",          "1",          "-1",   "2",    "3",   "255", "65536", "2147483647",
    "4294967295", "4294967296", "1e30", "1e39", "nan", "inf", "1e-40", "18446744073709551616",
    "0.5",        "-0",         ""};

bool isGltf(const std::string& file) {
    return file.compare(0, 4, "glTF") == 0 || file.compare(0, 1, "{") == 0;
}

} // namespace

/// Not needed: ktFileMutator changes bytes itself.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t*, std::size_t size, std::size_t) {
    return size;
}

std::string ktFileMutator::make() {
    std::string file = samples[below(samples.size())];
    const bool isJson = isGltf(file);
    for (std::size_t i = 0, count = 1 + below(below(6) + 1); i < count; ++i)
        isJson&& below(4) != 0 ? changeJson(file) : change(file);
    file.resize(std::min(file.size(), mostBytes));
    return file;
}

/// Any part of a text.
std::string ktFileMutator::any(const std::string& text, std::size_t most) {
    const std::size_t size = below(std::min(most, text.size() + 1)), begin = below(text.size() - size + 1);
    return text.substr(begin, size);
}

void ktFileMutator::overwrite(std::string& file, const std::string& part) {
    if (file.size() < part.size())
        return;
    std::size_t place = below(file.size() - part.size() + 1);
    if (part.size() == 4 && below(2))
        place -= place % 4;
    file.replace(place, part.size(), part);
}

/// Replaces a number that is written in a text.
void ktFileMutator::changeNumber(std::string& file) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto begin =
        std::find_if(file.begin() + static_cast<std::ptrdiff_t>(below(file.size())), file.end(), isDigit);
    const auto end = std::find_if_not(begin, file.end(), [&](char c) { return isDigit(c) || c == '.'; });
    file.replace(begin, end, numbers[below(std::size(numbers))]);
}

void ktFileMutator::changeJson(std::string& file) {
    std::vector<std::uint8_t> data(mostBytes);
    const std::size_t size = std::min(file.size(), data.size());
    std::memcpy(data.data(), file.data(), size);
    const std::size_t changed =
        LLVMFuzzerCustomMutator(data.data(), size, data.size(), static_cast<unsigned>(random()) | 1);
    file.assign(reinterpret_cast<const char*>(data.data()), changed);
}

void ktFileMutator::change(std::string& file) {
    if (file.empty())
        return;
    const std::size_t place = below(file.size());
    switch (below(10)) {
    case 0:
        file[place] = static_cast<char>(file[place] ^ (1 << below(8)));
        break;
    case 1:
        file[place] = bytes[below(std::size(bytes))];
        break;
    case 2:
        overwrite(file, std::string(reinterpret_cast<const char*>(&words[below(std::size(words))]), 4));
        break;
    case 3:
        overwrite(file, std::string(reinterpret_cast<const char*>(&words[below(std::size(words))]), 2));
        break;
    case 4:
        file.erase(place, 1 + below(longestPart));
        break;
    case 5:
        file.insert(place, any(file, longestPart));
        break;
    case 6:
        overwrite(file, any(file, longestPart));
        break;
    case 7:
        file.insert(place, any(samples[below(samples.size())], longestPart));
        break;
    case 8:
        if (below(8) == 0)
            file.resize(place);
        else
            changeNumber(file);
        break;
    default:
        changeNumber(file);
    }
}
