// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakeOptionInfo.h"

#include <string>
#include <vector>

/// The manual page ktbake(1) in the language of man pages (man(7)).
/// @param version such as "10.0"
std::string makeManualPage(const std::vector<ktBakeOptionInfo>& options, const std::string& version);
