// SPDX-License-Identifier: LGPL-2.1-or-later
// The completions, run in their shells, offer what the description of the options says.
#include "ktBakeCompletions.h"
#include "ktShellProcess.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;
using Words = std::vector<std::string>;

namespace {

class Completion : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder / "parts one");
        for (const char* name : {"my car.glb", "CAR.GLTF", "notes.txt", "picture.png"})
            std::ofstream(folder / name) << "x";
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    /// All names of options, and the values of those that have choices.
    static Words describedNames() {
        Words names;
        for (const ktBakeOptionInfo& option : describeBakeOptions())
            if (!option.isScene())
                names.insert(names.end(), option.names.begin(), option.names.end());
        return names;
    }

    const std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) /
        (std::string("Completion.") + testing::UnitTest::GetInstance()->current_test_info()->name());
    const std::string made = KT_MANUAL_FOLDER;
};

} // namespace

#ifdef KT_BASH
class BashCompletion : public Completion {
protected:
    /// What bash offers for the last word.
    Words complete(const Words& words) const {
        Words arguments = {"-c",
                           "source '" + made +
                               "/ktbake.bash' && COMP_WORDS=(\"$@\") COMP_CWORD=$(($# - 1)); _ktbake; "
                               "printf '%s\\n' \"${COMPREPLY[@]}\"",
                           "bash", "ktbake"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const ktShellResult result = runShell(folder, KT_BASH, arguments);
        EXPECT_EQ(result.error, "");
        return result.lines();
    }
};

TEST_F(BashCompletion, GivenDash_OffersEachOption) {
    EXPECT_THAT(complete({"-"}), UnorderedElementsAreArray(describedNames()));
    EXPECT_THAT(complete({"car.glb", "--mo"}), ElementsAre("--mode"));
    EXPECT_THAT(complete({"--quality"}), IsEmpty());
}

TEST_F(BashCompletion, GivenOptionWithChoices_OffersThem) {
    for (const ktBakeOptionInfo& option : describeBakeOptions())
        if (option.kind == ktBakeValueKind::Choice) {
            EXPECT_EQ(complete({option.longName(), ""}), option.values) << option.longName();
            EXPECT_EQ(complete({option.longName(), "="}), option.values) << option.longName();
        } else if (option.kind == ktBakeValueKind::Free && !option.isFlag()) {
            EXPECT_THAT(complete({option.longName(), ""}), IsEmpty()) << option.longName();
        }
    EXPECT_THAT(complete({"--mode", "=", "l"}), ElementsAre("light-and-shadows"));
}

TEST_F(BashCompletion, GivenFiles_OffersThoseWithTheEndings) {
    EXPECT_THAT(complete({""}), UnorderedElementsAre("my car.glb", "CAR.GLTF", "parts one", "preferences"));
    EXPECT_THAT(complete({"my\\ c"}), ElementsAre("my car.glb"));
    EXPECT_THAT(complete({"\"my c"}), ElementsAre("my car.glb"));
    EXPECT_THAT(complete({"a.glb", "--preview", "p"}), UnorderedElementsAre("picture.png", "parts one", "preferences"));
}

TEST_F(BashCompletion, GivenPresets_OffersTheNamesAsTheShellNeedsThem) {
    EXPECT_THAT(complete({"--preset", "Car\\ L"}), ElementsAre("Car\\ Low\\ Quality"));
    EXPECT_THAT(complete({"--preset", "\"Car L"}), ElementsAre("Car Low Quality"));
    EXPECT_THAT(complete({"--delete-preset", "=", "Def"}), ElementsAre("Default"));
}

TEST_F(BashCompletion, GivenTwoDashes_OffersNoOptions) {
    EXPECT_THAT(complete({"--script", "s.py", "--", "--m"}), IsEmpty());
}

TEST_F(BashCompletion, GivenScript_RegistersTheFunction) {
    const ktShellResult result =
        runShell(folder, KT_BASH, {"-c", "source '" + made + "/ktbake.bash' && complete -p ktbake"});
    EXPECT_EQ(result.out, "complete -F _ktbake ktbake\n");
}
#endif

#ifdef KT_ZSH
/// The specifications that the script hands to the completion system.
TEST_F(Completion, GivenZsh_DescribesEachOptionToIt) {
    EXPECT_EQ(runShell(folder, KT_ZSH, {"-f", "-n", made + "/_ktbake"}).exitCode, 0);
    const ktShellResult result =
        runShell(folder, KT_ZSH, {"-fc", "_arguments() { print -rl -- \"$@\" }; source '" + made + "/_ktbake'"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    std::map<std::string, std::string> specs; // by name of the option
    Words names;
    for (std::string spec : result.lines()) {
        spec = spec.substr(spec[0] == '*' ? 1 : 0);
        spec = spec.substr(spec[0] == '(' ? spec.find(')') + 1 : 0); // what it excludes
        if (spec[0] != '-' || spec.find('[') == std::string::npos)
            continue; // no option
        names.push_back(spec.substr(0, spec.find_first_of("[=+")));
        specs[names.back()] = spec;
    }
    EXPECT_THAT(names, UnorderedElementsAreArray(describedNames()));
    for (const ktBakeOptionInfo& option : describeBakeOptions())
        if (option.kind == ktBakeValueKind::Choice) {
            const std::string choices = ":(" + ktBakeCompletions::join(option.values, " ") + ")";
            EXPECT_THAT(specs[option.longName()], testing::EndsWith(choices));
        }
}
#endif

#ifdef KT_FISH
class FishCompletion : public Completion {
protected:
    /// What fish offers for the last word of a line.
    Words complete(const std::string& line) const {
        const ktShellResult result = runShell(
            folder, KT_FISH, {"--no-config", "-c", "source '" + made + "/ktbake.fish'; complete -C $argv[1]", line});
        EXPECT_EQ(result.error, "");
        Words words;
        for (const std::string& offered : result.lines())
            words.push_back(offered.substr(0, offered.find('\t')));
        return words;
    }
};

TEST_F(FishCompletion, GivenDash_OffersEachOption) {
    Words offered = complete("ktbake -");
    for (const std::string& word : complete("ktbake --"))
        if (std::find(offered.begin(), offered.end(), word) == offered.end())
            offered.push_back(word);
    EXPECT_THAT(offered, UnorderedElementsAreArray(describedNames()));
}

TEST_F(FishCompletion, GivenOptionWithChoices_OffersThem) {
    for (const ktBakeOptionInfo& option : describeBakeOptions())
        if (option.kind == ktBakeValueKind::Choice) {
            EXPECT_THAT(complete("ktbake " + option.longName() + " "), UnorderedElementsAreArray(option.values));
        }
}

TEST_F(FishCompletion, GivenFilesAndPresets_OffersThem) {
    EXPECT_THAT(complete("ktbake "), UnorderedElementsAre("my car.glb", "CAR.GLTF", "parts one/", "preferences/"));
    EXPECT_THAT(complete("ktbake a.glb --preview=p"),
                UnorderedElementsAre("--preview=picture.png", "--preview=parts one/", "--preview=preferences/"));
    EXPECT_THAT(complete("ktbake --preset Def"), ElementsAre("Default"));
}
#endif
