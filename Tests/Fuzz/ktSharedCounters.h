// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

// The begin and the end of sections of the program that the linker names. Null without that instrumentation.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier)
extern "C" [[gnu::weak, gnu::visibility("hidden")]] char __start___sancov_cntrs[], __stop___sancov_cntrs[];
extern "C" [[gnu::weak, gnu::visibility("hidden")]] char __start___llvm_prf_cnts[], __stop___llvm_prf_cnts[];
// NOLINTEND(clang-diagnostic-reserved-identifier)

/// Shares memory with all processes that are forked from now on, but for incomplete pages at both ends.
inline void shareWithForkedProcesses(char* begin, const char* end) {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto first = (reinterpret_cast<std::uintptr_t>(begin) + page - 1) / page * page;
    const auto last = reinterpret_cast<std::uintptr_t>(end) / page * page;
    if (!begin || first >= last)
        return;
    char* const place = begin + (first - reinterpret_cast<std::uintptr_t>(begin));
    const std::vector<char> content(place, place + (last - first));
    // On failure the old memory stays.
    if (mmap(place, last - first, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == place)
        std::copy(content.begin(), content.end(), place);
}

/// Lets the fuzzer and the report of the coverage see what forked processes run: those that import and decode.
inline void shareCounters() {
    shareWithForkedProcesses(__start___sancov_cntrs, __stop___sancov_cntrs);
    shareWithForkedProcesses(__start___llvm_prf_cnts, __stop___llvm_prf_cnts);
}
