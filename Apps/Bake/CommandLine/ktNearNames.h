// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

/// The names that a mistyped one may stand for: those with the smallest edit distance (insertions, deletions,
/// substitutions and swaps of neighbours; Damerau, "A technique for computer detection and correction of spelling
/// errors", 1964) up to a third of its length, and those that begin with it; else those that contain it. Ignores case.
/// Empty if no name is near, or more than three are.
std::vector<std::string> ktFindNearNames(const std::string& typed, const std::vector<std::string>& names);

/// The end of a message: "; did you mean A or B?". Empty if no name is near.
/// @param quote put around each name
std::string ktSuggestNames(const std::string& typed, const std::vector<std::string>& names,
                           const std::string& quote = {});

/// "a", "a or b", "a, b or c".
std::string ktListAlternatives(const std::vector<std::string>& names, const std::string& quote = {});
