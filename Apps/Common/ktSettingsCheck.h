// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

/// A sentence about a requested setting of the plug-in that has no effect with the others; empty if all have.
std::string findUselessSettings();
