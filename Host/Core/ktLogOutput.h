// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstdint>
#include <functional>
#include <string>

/// Levels of the log, the most severe first.
enum class ktLogLevel { Error = 0, Warning = 1, Info = 2 };

/// Receives one line of the log: UTF-8, without line end or control characters. Calls do not overlap. Lines that a sink
/// logs go to standard error. If a sink throws, the exception is ignored and the line goes to standard error.
using ktLogSink = std::function<void(ktLogLevel level, const std::string& line)>;

/// Where the lines of ktLog go. Thread-safe. Never throws.
class KT_HOST_EXPORT ktLogOutput {
public:
    /// Replaces standard error as the destination. An empty sink restores it.
    static void setSink(ktLogSink sink) noexcept;
    /// If quiet, only errors reach the sink. Counts and ktHostSignals::logged() are not affected.
    static void setQuiet(bool quiet) noexcept;
    static bool isQuiet() noexcept;
    /// Number of lines logged at `level` since the process began or since the last resetCounts().
    static std::uint64_t getCount(ktLogLevel level) noexcept;
    static void resetCounts() noexcept;
    /// Logs one line unchanged, without a format.
    static void write(ktLogLevel level, const std::string& text) noexcept;
};
