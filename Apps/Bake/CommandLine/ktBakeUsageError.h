// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <stdexcept>
#include <string>

/// Wrong usage: the option, its value as typed, and the reason.
struct ktBakeUsageError : std::runtime_error {
    /// @param option_ such as "--mode" or "SCENE"; empty: the value says it all
    /// @param value_  as typed
    ktBakeUsageError(const std::string& option_, const std::string& value_, const std::string& reason_);
    /// An error that is not about a value.
    ktBakeUsageError(const std::string& option_, const std::string& reason_);

    std::string option, value, reason;
};

/// A text as a user would type it: in quotes if it is empty or contains blanks.
std::string ktQuoteTyped(const std::string& text);
