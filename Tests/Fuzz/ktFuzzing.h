// SPDX-License-Identifier: LGPL-2.1-or-later
// What the fuzzers share. Each fuzzer is one source, so all of it is inline.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

/// Ends the fuzzer, which keeps the input, with the reason.
inline void require(bool condition, const char* reason) {
    if (condition)
        return;
    std::fprintf(stderr, "%s\n", reason);
    std::abort();
}

inline void require(bool condition, const std::string& reason) {
    require(condition, reason.c_str());
}

/// The fuzzer's temporary folder; call it first in LLVMFuzzerInitialize(). It is deleted at the end.
inline const std::filesystem::path& fuzzFolder() {
    static const std::filesystem::path folder = [] {
        std::string name = (std::filesystem::temp_directory_path() / "ktFuzz-XXXXXX").string();
        require(mkdtemp(name.data()) != nullptr, "no temporary folder");
        return std::filesystem::path(name);
    }();
    static const int isRegistered = std::atexit([] {
        std::error_code error;
        std::filesystem::remove_all(fuzzFolder(), error);
    });
    static_cast<void>(isRegistered);
    return folder;
}

inline void emptyFuzzFolder() {
    for (const auto& entry : std::filesystem::directory_iterator(fuzzFolder()))
        std::filesystem::remove_all(entry.path());
}

/// Writes the input as a file.
inline void writeInput(const std::filesystem::path& path, const std::uint8_t* data, std::size_t size) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}
