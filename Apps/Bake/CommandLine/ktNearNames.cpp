// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the names that are near a mistyped one.
#include "ktNearNames.h"

#include <algorithm>
#include <QString>

namespace {

constexpr size_t mostNames = 3;
constexpr int longestMistyped = 64; // the distance takes time in the product of both lengths

/// Edits that turn one text into the other. A swap counts once, if nothing is inserted between the two letters.
int editDistance(const QString& from, const QString& to) {
    const auto width = static_cast<size_t>(to.size()) + 1;
    std::vector<int> distance((static_cast<size_t>(from.size()) + 1) * width);
    const auto at = [&](int i, int j) -> int& {
        return distance[static_cast<size_t>(i) * width + static_cast<size_t>(j)];
    };
    for (int i = 0; i <= from.size(); ++i)
        for (int j = 0; j <= to.size(); ++j) {
            if (i == 0 || j == 0) {
                at(i, j) = i + j;
                continue;
            }
            const int substituted = at(i - 1, j - 1) + (from[i - 1] == to[j - 1] ? 0 : 1);
            at(i, j) = std::min({at(i - 1, j) + 1, at(i, j - 1) + 1, substituted});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1])
                at(i, j) = std::min(at(i, j), at(i - 2, j - 2) + 1);
        }
    return distance.back();
}

} // namespace

std::vector<std::string> ktFindNearNames(const std::string& typed, const std::vector<std::string>& names) {
    const QString wanted = QString::fromStdString(typed).toCaseFolded();
    if (wanted.isEmpty() || wanted.size() > longestMistyped)
        return {};
    const int farthest = std::min(3, (wanted.size() + 1) / 3);
    std::vector<std::string> nearest, containing;
    int smallest = farthest;
    std::vector<int> distances;
    for (const std::string& name : names) {
        const QString folded = QString::fromStdString(name).toCaseFolded();
        const bool isComparable = std::abs(folded.size() - wanted.size()) <= farthest;
        distances.push_back(isComparable ? editDistance(wanted, folded) : farthest + 1);
        smallest = std::min(smallest, distances.back());
        if (wanted.size() >= 4 && folded.contains(wanted))
            containing.push_back(name);
    }
    for (size_t i = 0; i < names.size(); ++i)
        if (distances[i] == smallest || QString::fromStdString(names[i]).toCaseFolded().startsWith(wanted))
            nearest.push_back(names[i]);
    const std::vector<std::string>& found = nearest.empty() ? containing : nearest;
    return found.size() <= mostNames ? found : std::vector<std::string>();
}

std::string ktListAlternatives(const std::vector<std::string>& names, const std::string& quote) {
    std::string list;
    for (size_t i = 0; i < names.size(); ++i) {
        list += i == 0 ? "" : i + 1 == names.size() ? " or " : ", ";
        list.append(quote).append(names[i]).append(quote);
    }
    return list;
}

std::string ktSuggestNames(const std::string& typed, const std::vector<std::string>& names, const std::string& quote) {
    const std::vector<std::string> found = ktFindNearNames(typed, names);
    return found.empty() ? "" : "; did you mean " + ktListAlternatives(found, quote) + "?";
}
