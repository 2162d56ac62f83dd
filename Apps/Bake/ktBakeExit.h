// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Exit codes of ktbake.
namespace ktBakeExit {
constexpr int done = 0;
constexpr int failed = 1; ///< internal error; the reason is in the log
constexpr int usage = 2;
constexpr int badInput = 3;
constexpr int notWritten = 4;
constexpr int scriptFailed = 5;
constexpr int cancelled = 130;
} // namespace ktBakeExit
