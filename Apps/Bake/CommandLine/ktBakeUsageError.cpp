// SPDX-License-Identifier: LGPL-2.1-or-later
// Describes wrong usage by the option, its value as typed and the reason.
#include "ktBakeUsageError.h"

std::string ktQuoteTyped(const std::string& text) {
    const bool isPlain = !text.empty() && text.find_first_of(" \t\r\n") == std::string::npos;
    return isPlain ? text : '"' + text + '"';
}

ktBakeUsageError::ktBakeUsageError(const std::string& option_, const std::string& value_, const std::string& reason_)
    : std::runtime_error(option_ + (option_.empty() ? "" : " ") + ktQuoteTyped(value_) + ": " + reason_),
      option(option_), value(value_), reason(reason_) {}

ktBakeUsageError::ktBakeUsageError(const std::string& option_, const std::string& reason_)
    : std::runtime_error(option_ + ": " + reason_), option(option_), reason(reason_) {}
