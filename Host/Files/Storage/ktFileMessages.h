// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A part of a file that was left out or repaired, and the number of parts with the same reason.
struct ktFileWarning {
    std::string object; ///< the first affected part: a JSON pointer such as /meshes/0/primitives/1, or "file"
    std::string reason; ///< why; the same for all counted parts
    std::string detail; ///< details of the first part; may be empty
    std::size_t count;  ///< affected parts, at least 1

    /// One line for the user, such as "/meshes/0: has no primitives (and 3 more)".
    std::string text() const;
};

/// Collects warnings and notes about reading or writing a file. Counts warnings with the same reason together. Keeps
/// the order in which reasons first occurred.
class ktFileMessages {
public:
    void warn(const std::string& object, const std::string& reason, const std::string& detail = std::string());
    /// Adds a sentence that is not a warning, for instance about the chosen scale.
    void note(const std::string& sentence) { sentences.push_back(sentence); }

    const std::vector<ktFileWarning>& warnings() const { return entries; }
    const std::vector<std::string>& notes() const { return sentences; }

private:
    std::vector<ktFileWarning> entries;
    std::vector<std::string> sentences;
};
