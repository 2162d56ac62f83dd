// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakeOptionInfo.h"

#include <string>
#include <vector>

/// Scripts with which shells complete command lines of ktbake: options, choices, names of presets, and files with the
/// right endings.
namespace ktBakeCompletions {

std::string makeBash(const std::vector<ktBakeOptionInfo>& options); ///< bash 4 or later, without its package
std::string makeZsh(const std::vector<ktBakeOptionInfo>& options);
std::string makeFish(const std::vector<ktBakeOptionInfo>& options); ///< fish 3 or later

/// Words with a separator between them.
std::string join(const std::vector<std::string>& words, const std::string& separator);
/// A text in single quotes, with the quotes in it as the shell needs them.
std::string quote(const std::string& text, const std::string& quoteInside);

} // namespace ktBakeCompletions
