// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks length, licence line, purpose line, name and banned texts of every file.
#include "ktHouseTree.h"

#include <algorithm>
#include <filesystem>
#include <regex>

namespace {

constexpr size_t maxLines = 600;

struct BannedText {
    std::regex pattern;
    std::string reason;
};

// Patterns are split into pieces, so that they do not match this file.
const std::vector<BannedText> bannedTexts = {
    {std::regex("(^|[^A-Za-z0-9_.}\\)])/"
                "work/|/home/[a-z]"),
     "absolute path that exists only on one machine"},
    {std::regex("https?://[a-z.]+/"
                "debian"),
     "fixed address of a package mirror; use the package sources of the system"},
    {std::regex("GTEST_"
                "SKIP|\\bDISABLED"
                "_|\\bTO"
                "DO\\b|\\bFIX"
                "ME\\b|\\bXX"
                "X\\b|not imple"
                "mented|place"
                "holder"),
     "mark of unfinished work, or of a test that is switched off"},
};

// What only OpenSG/ has, and OpenSG 1.8 has not; Docs/inside/scene-graph.md has the list. A text does not show the type
// of an operator's arguments, so `matrix * point` is found only by a build with OpenSG 1.8.
const std::regex ownNames("(->|\\.)(edit(FieldPtr|Field|Data|Matrix|[MS]F[A-Z]\\w*)|mult3x3|multFull|compactChanged|"
                          "setMaxChangedSize|getNumContainers|getVertexPlace)\\(|\\bosgInit\\(\\)|\\b_ignore"
                          "_change\\b|\\btraverse\\([^()]*,\\s*\\[");

/// Whether the line has one of these names. Looks for their beginnings first: a regular expression takes long.
bool hasOwnName(const std::string& line) {
    static const char* const beginnings[] = {"edit", "mult", "compact", "setMax",  "getNum",
                                             "getV", "osgI", "_ignore", "traverse"};
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [&](const char* text) { return line.find(text) != std::string::npos; }) &&
           std::regex_search(line, ownNames);
}

/// Whether the file must compile with OpenSG 1.8, too.
bool isForBothSceneGraphs(const ktHouseFile& file) {
    return file.endsIn({".h", ".cpp"}) && !file.isBelow("OpenSG/") && !file.isBelow("Tests/OpenSG/Own/");
}

bool isNamed(const ktHouseFile& file, const std::string& prefix) {
    return std::filesystem::path(file.path).filename().string().rfind(prefix, 0) == 0;
}

} // namespace

std::vector<std::string> findTextViolations(const std::vector<ktHouseFile>& files) {
    std::vector<std::string> violations;
    for (const ktHouseFile& file : files) {
        const auto report = [&](size_t line, const std::string& reason) {
            violations.push_back(file.path + ":" + std::to_string(line) + ": " + reason);
        };
        const auto headHolds = [&](size_t count, const std::string& text) {
            const auto end = file.lines.begin() + std::min(count, file.lines.size());
            return std::any_of(file.lines.begin(), end,
                               [&](const std::string& line) { return line.find(text) != std::string::npos; });
        };

        const bool isCode = file.endsIn({".h", ".cpp", ".py"});
        if (isCode || file.endsIn({".sh", ".cmake", "CMakeLists.txt"}))
            if (!headHolds(2, "SPDX-License-Identifier: LGPL-2.1-or-later"))
                report(1, "no SPDX line at the top");
        if (file.endsIn({".cpp"}) && (file.lines.size() < 2 || file.lines[1].rfind("// ", 0) != 0))
            report(2, "no comment in the second line that says what the file is for");
        if (isCode && file.lines.size() > maxLines && !headHolds(12, "Over 600 lines because"))
            report(maxLines, "over 600 lines, and no line \"Over 600 lines because ...\" at the top");
        if (file.endsIn({".h", ".cpp"})) {
            // Exceptions: the host's node types have the scene graph's prefix, and AOPreset has no prefix.
            const bool isHostName = isNamed(file, "kt") || isNamed(file, "OSG");
            const bool isPluginName = isNamed(file, "kt") || isNamed(file, "AOPreset");
            if ((file.isBelow("Host/") && !isHostName) || (file.isBelow("AmbientOcclusion/") && !isPluginName))
                report(1, "file names in this folder must begin with kt");
            if (file.isBelow("OpenSG/") && !isNamed(file, "OSG"))
                report(1, "file names in this folder must begin with OSG");
        }
        if (isForBothSceneGraphs(file))
            for (size_t number = 0; number < file.lines.size(); ++number)
                if (hasOwnName(file.lines[number]))
                    report(number + 1, "OpenSG 1.8 does not have this: " + file.lines[number].substr(0, 120));
        for (size_t number = 0; number < file.lines.size(); ++number)
            for (const BannedText& banned : bannedTexts)
                if (std::regex_search(file.lines[number], banned.pattern))
                    report(number + 1, banned.reason + ": " + file.lines[number].substr(0, 120));
    }
    return violations;
}
