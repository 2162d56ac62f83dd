// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Prints rows as soon as they are known, as an aligned text table or as a Markdown table.
class ktQualityTable {
public:
    struct Column {
        std::string title;
        std::size_t width; ///< of the longest entry; longer ones are not cut off
        bool isText;       ///< aligned to the left
    };

    ktQualityTable(std::vector<Column> columns, bool isMarkdown);
    /// The line or the two lines above the rows.
    std::string head() const;
    /// One row with one entry per column.
    std::string row(const std::vector<std::string>& entries) const;

private:
    std::vector<Column> columns;
    bool isMarkdown;
};
