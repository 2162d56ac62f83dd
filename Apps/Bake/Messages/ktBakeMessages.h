// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktLogOutput.h"

#include <QJsonObject>
#include <string>
#include <utility>
#include <vector>

/// What ktbake writes to standard error: lines of text, or with `--json` one JSON object a line.
namespace ktBakeMessages {

/// Parts of a message, for JSON. Empty values are left out.
using Fields = std::vector<std::pair<const char*, std::string>>;

/// Call once, before anything is logged.
void begin(bool isJson);
bool isJson();
/// From now on messages show `name` instead of `path`.
void showAs(const std::string& path, const std::string& name);
/// The name that messages show for a path.
std::string shown(const std::string& path);
/// The calculation's lines on standard output go nowhere from now on. A script's own prints remain.
void dropCalculationOutput();

/// Keeps logged lines back until release().
void hold();
/// Ends hold(). @return the lines that were kept back, without their levels
std::vector<std::string> release();

/// Logs a line, and its parts with JSON.
void log(ktLogLevel level, const std::string& text, const Fields& fields);
/// Logs "file: reason".
void logReason(ktLogLevel level, const std::string& file, const std::string& reason);
/// With JSON: writes a line of level "progress".
void writeProgress(const std::string& text, QJsonObject fields);
/// Wrong usage of ktbake, which is not logged: the text, and a hint that JSON leaves out.
void writeUsageError(const std::string& text, const std::string& hint, const Fields& fields);
/// Adds a field to the last line.
void addToResult(const char* field, const std::string& value);
/// With JSON: writes the last line, of level "result"; when quiet, only if the run has failed.
void end(int exitCode);

} // namespace ktBakeMessages
