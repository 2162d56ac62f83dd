// SPDX-License-Identifier: LGPL-2.1-or-later
// Formats rows of a table as aligned text or as Markdown.
#include "ktQualityTable.h"

#include <algorithm>

ktQualityTable::ktQualityTable(std::vector<Column> columns_, bool isMarkdown_)
    : columns(std::move(columns_)), isMarkdown(isMarkdown_) {
    for (Column& column : columns)
        column.width = std::max(column.width, column.title.size());
}

std::string ktQualityTable::head() const {
    std::vector<std::string> titles;
    std::string rule = "|";
    for (const Column& column : columns) {
        titles.push_back(column.title);
        rule += column.isText ? " --- |" : " ---: |";
    }
    return isMarkdown ? row(titles) + rule + "\n" : row(titles);
}

std::string ktQualityTable::row(const std::vector<std::string>& entries) const {
    std::string line = isMarkdown ? "|" : "";
    for (std::size_t i = 0; i < columns.size() && i < entries.size(); ++i) {
        if (isMarkdown) {
            line += " " + entries[i] + " |";
            continue;
        }
        const std::string padding(columns[i].width - std::min(columns[i].width, entries[i].size()), ' ');
        line += (i == 0 ? "" : "  ") + (columns[i].isText ? entries[i] + padding : padding + entries[i]);
    }
    return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}
