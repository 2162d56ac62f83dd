// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakeOptionInfo.h"

#include <CLI/App.hpp>
#include <string>
#include <vector>

struct ktBakeOptions;

/// Declares all options: how CLI11 parses each into ktBakeOptions, and its description.
/// @param app     receives the options; parse it while `options` lives
/// @param options receives the values
/// @return the descriptions, in the order of the help
std::vector<ktBakeOptionInfo> declareBakeOptions(CLI::App& app, ktBakeOptions& options);
