// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktHouseTree.h"

#include <algorithm>
#include <filesystem>
#include <regex>

namespace {

constexpr size_t maxLines = 600;

struct Word {
    std::regex pattern;
    std::string reason;
};

// Each pattern is put together from pieces, so that this file does not hold what it looks for.
const std::vector<Word> words = {
    {std::regex("(^|[^A-Za-z0-9_.}\\)])/"
                "work/|/home/[a-z]"),
     "a path of one machine"},
    {std::regex("\\bspec"
                "\\.md\\b|\\bspecification"
                "\\b|\\bPart"
                "s? [0-9]+(\\.[0-9]+)?\\b"),
     "a paper that is not here"},
    {std::regex("https?://[a-z.]+/"
                "debian"),
     "the address of a package source"},
    {std::regex("GTEST_"
                "SKIP|\\bDISABLED"
                "_|\\bTO"
                "DO\\b|\\bFIX"
                "ME\\b|\\bXX"
                "X\\b|not imple"
                "mented|place"
                "holder"),
     "unfinished or switched off"},
};

bool isNamed(const ktHouseFile& file, const std::string& prefix) {
    return std::filesystem::path(file.path).filename().string().rfind(prefix, 0) == 0;
}

} // namespace

std::vector<std::string> findTextBreaches(const std::vector<ktHouseFile>& house) {
    std::vector<std::string> breaches;
    for (const ktHouseFile& file : house) {
        const auto breach = [&](size_t line, const std::string& reason) {
            breaches.push_back(file.path + ":" + std::to_string(line) + ": " + reason);
        };
        const auto headHolds = [&](size_t count, const std::string& text) {
            const auto end = file.lines.begin() + std::min(count, file.lines.size());
            return std::any_of(file.lines.begin(), end,
                               [&](const std::string& line) { return line.find(text) != std::string::npos; });
        };

        const bool isCode = file.endsIn({".h", ".cpp", ".py"});
        if (isCode || file.endsIn({".sh", ".cmake", "CMakeLists.txt"}))
            if (!headHolds(2, "SPDX-License-Identifier: LGPL-2.1-or-later"))
                breach(1, "no SPDX line at the top");
        if (isCode && file.lines.size() > maxLines && !headHolds(12, "Over 600 lines because"))
            breach(maxLines, "over 600 lines, and no line \"Over 600 lines because ...\" at the top");
        if (file.endsIn({".h", ".cpp"})) {
            // The host's node types carry the scene graph's prefix, and the preset record has a name of its own.
            const bool isHostName = isNamed(file, "kt") || isNamed(file, "OSG");
            const bool isPluginName = isNamed(file, "kt") || isNamed(file, "AOPreset");
            if ((file.isBelow("Host/") && !isHostName) || (file.isBelow("AmbientOcclusion/") && !isPluginName))
                breach(1, "file names here begin with kt");
            if (file.isBelow("OpenSG/") && !isNamed(file, "OSG"))
                breach(1, "file names here begin with OSG");
        }
        for (size_t number = 0; number < file.lines.size(); ++number)
            for (const Word& word : words)
                if (std::regex_search(file.lines[number], word.pattern))
                    breach(number + 1, word.reason + ": " + file.lines[number].substr(0, 120));
    }
    return breaches;
}
