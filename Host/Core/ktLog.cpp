// SPDX-License-Identifier: LGPL-2.1-or-later
// Expands the printf formats of the plug-ins' log calls, and passes the text to the log output.
#include "ktLog.h"

#include "ktLogOutput.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace {

// The text of one call, or the unexpanded format if an argument is not valid text.
std::string expand(const char* format, std::va_list arguments) {
    if (format == nullptr)
        return {};
    std::va_list again;
    va_copy(again, arguments);
    char line[512];
    const int length = std::vsnprintf(line, sizeof line, format, arguments);
    std::string text;
    if (length < 0) {
        text = format;
    } else if (static_cast<std::size_t>(length) < sizeof line) {
        text.assign(line, static_cast<std::size_t>(length));
    } else {
        std::vector<char> longLine(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(longLine.data(), longLine.size(), format, again);
        text.assign(longLine.data(), static_cast<std::size_t>(length));
    }
    va_end(again);
    return text;
}

void log(ktLogLevel level, const char* format, std::va_list arguments) noexcept {
    try {
        ktLogOutput::write(level, expand(format, arguments));
    } catch (...) {
        std::fputs("the log ran out of memory\n", stderr);
    }
}

} // namespace

void ktLog::error(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    log(ktLogLevel::Error, format, arguments);
    va_end(arguments);
}

void ktLog::warning(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    log(ktLogLevel::Warning, format, arguments);
    va_end(arguments);
}

void ktLog::info(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    log(ktLogLevel::Info, format, arguments);
    va_end(arguments);
}
