// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

/// Checks the header of a PLY file. The importer takes time and memory by its numbers of elements, and for ever if the
/// header does not end.
/// @return why the file cannot be read: an element has more entries than the file has bytes, or the end is missing;
/// empty: it can
std::string ktCheckPlyCounts(const std::string& path);
