// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

/// Checks the numbers of elements in the header of a PLY file. The importer takes time and memory by these numbers.
/// @return why the file cannot be read: an element has more entries than the file has bytes; empty: it can
std::string ktCheckPlyCounts(const std::string& path);
