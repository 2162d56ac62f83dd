// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstdint>
#include <functional>
#include <string>

/// Levels of the log, the gravest first.
enum class ktLogLevel { Error = 0, Warning = 1, Info = 2 };

/// Receives one line of the log: UTF-8, without line end or other control characters. Calls do not overlap. What a sink
/// itself logs goes to standard error; an exception that leaves it is swallowed and the line goes to standard error.
using ktLogSink = std::function<void(ktLogLevel level, const std::string& line)>;

/// Where the lines of ktLog go. Thread-safe. Never throws.
class KT_HOST_EXPORT ktLogOutput {
public:
    /// Replaces standard error as the destination; an empty sink brings it back.
    static void setSink(ktLogSink sink) noexcept;
    /// Quiet: only errors reach the sink. Counts and ktHostSignals::logged() are not affected.
    static void setQuiet(bool quiet) noexcept;
    static bool isQuiet() noexcept;
    /// Lines logged at `level` since the process began or the last resetCounts().
    static std::uint64_t getCount(ktLogLevel level) noexcept;
    static void resetCounts() noexcept;
    /// Logs one line as it is, without a format.
    static void write(ktLogLevel level, const std::string& text) noexcept;
};
