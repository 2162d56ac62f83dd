// SPDX-License-Identifier: LGPL-2.1-or-later
// The manual page and the help say what the description of the options says.
#include "ktBakeExit.h"
#include "ktBakeManualPage.h"
#include "ktShellProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <set>

using testing::HasSubstr;

namespace {

std::set<std::string> describedNames() {
    std::set<std::string> names;
    for (const ktBakeOptionInfo& option : describeBakeOptions())
        if (!option.isScene())
            names.insert(option.names.begin(), option.names.end());
    return names;
}

/// All names of options in these lines: "-o", "--output".
std::set<std::string> namesIn(const std::vector<std::string>& lines) {
    std::set<std::string> names;
    const std::regex name("(^|[ ,])(--?[A-Za-z][A-Za-z-]*)");
    for (const std::string& line : lines)
        for (std::sregex_iterator match(line.begin(), line.end(), name), end; match != end; ++match)
            names.insert((*match)[2]);
    return names;
}

/// The page as a reader sees it: without requests and escapes, one line per line of the source.
std::string plainText(const std::string& page) {
    std::string text = std::regex_replace(page, std::regex("\\\\f[BIR]|\\\\&"), "");
    text = std::regex_replace(text, std::regex("\\\\\\(aq"), "'");
    return std::regex_replace(text, std::regex("\\\\(.)"), "$1");
}

std::filesystem::path workFolder() {
    return std::filesystem::path(testing::TempDir()) / "ktBakeManualTest";
}

} // namespace

TEST(ManualPage, GivenTheDescription_HasAnEntryForEachOptionAndNoOther) {
    const std::string page = plainText(readMade("ktbake.1"));
    const size_t begin = page.find(".SH OPTIONS"), end = page.find(".SH EXIT STATUS");
    ASSERT_NE(end, std::string::npos);
    std::vector<std::string> heads; // the line behind each .TP
    const std::string entries = page.substr(begin, end - begin);
    for (size_t at = entries.find(".TP\n"); at != std::string::npos; at = entries.find(".TP\n", at + 1))
        heads.push_back(entries.substr(at + 4, entries.find('\n', at + 4) - at - 4));
    const std::vector<ktBakeOptionInfo> options = describeBakeOptions();
    ASSERT_EQ(heads.size(), options.size());
    EXPECT_EQ(namesIn(heads), describedNames());
    for (size_t i = 0; i < options.size(); ++i) {
        SCOPED_TRACE(heads[i]);
        EXPECT_THAT(heads[i], HasSubstr(options[i].longName()));
        EXPECT_THAT(heads[i], HasSubstr(options[i].argument));
        const std::string help = options[i].help.substr(1); // its first letter is a capital in the page
        EXPECT_THAT(entries, HasSubstr(help));
        if (!options[i].defaultValue.empty()) {
            EXPECT_THAT(entries, HasSubstr(help + ".\nDefault: " + options[i].defaultValue + "."));
        }
    }
    for (const ktBakeExit::Description& code : ktBakeExit::descriptions)
        EXPECT_THAT(page, HasSubstr(".TP\n.B " + std::to_string(code.code) + "\n"));
}

TEST(ManualPage, GivenTheHelpOfKtbake_ListsTheSameOptions) {
    const ktShellResult help = runShell(workFolder(), KT_BAKE, {"--help"});
    EXPECT_EQ(help.exitCode, 0);
    std::vector<std::string> heads;
    for (const std::string& line : help.lines())
        if (line.compare(0, 3, "  -") == 0)
            heads.push_back(line.substr(2, line.find(' ', 2) - 2));
    EXPECT_EQ(namesIn(heads), describedNames());
}

#ifdef KT_GROFF
TEST(ManualPage, GivenGroff_IsRenderedWithoutWarnings) {
    const ktShellResult page =
        runShell(workFolder(), KT_GROFF, {"-man", "-ww", "-Tutf8", std::string(KT_MANUAL_FOLDER) + "/ktbake.1"});
    EXPECT_EQ(page.exitCode, 0);
    EXPECT_EQ(page.error, "");
    EXPECT_THAT(page.out, HasSubstr("bake ambient occlusion"));
}
#endif
