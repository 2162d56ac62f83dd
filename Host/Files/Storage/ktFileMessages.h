// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A part of a file that was left out or mended, and how many parts share the reason.
struct ktFileWarning {
    std::string object; ///< the first part concerned: a JSON pointer such as /meshes/0/primitives/1, or "file"
    std::string reason; ///< why, the same for all parts counted here
    std::string detail; ///< particulars of the first part; may be empty
    std::size_t count;  ///< parts concerned, at least 1

    /// One line for a person, such as "/meshes/0: has no primitives (and 3 more)".
    std::string text() const;
};

/// What happened while a file was read or written. Warnings with the same reason are counted together, in the order in
/// which reasons first came up.
class ktFileMessages {
public:
    void warn(const std::string& object, const std::string& reason, const std::string& detail = std::string());
    /// Adds a sentence that is no warning, such as the scale that was chosen.
    void note(const std::string& sentence) { sentences.push_back(sentence); }

    const std::vector<ktFileWarning>& warnings() const { return entries; }
    const std::vector<std::string>& notes() const { return sentences; }

private:
    std::vector<ktFileWarning> entries;
    std::vector<std::string> sentences;
};
