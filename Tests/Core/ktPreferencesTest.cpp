// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests how environment variables choose the preferences directory, and failures to create it.
#include "ktPreferences.h"

#include "ktLogOutput.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// Sets or removes an environment variable for one test.
class Environment {
public:
    Environment(const char* name, const std::optional<std::string>& value) : variable(name) {
        if (const char* old = std::getenv(name))
            oldValue = old;
        set(value);
    }
    ~Environment() { set(oldValue); }

private:
    void set(const std::optional<std::string>& value) const {
        if (value)
            setenv(variable, value->c_str(), 1);
        else
            unsetenv(variable);
    }
    const char* variable;
    std::optional<std::string> oldValue;
};

class Preferences : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "ktPreferencesXXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        root = pattern;
    }
    void TearDown() override {
        ktLogOutput::setSink({});
        fs::remove_all(root);
    }

    static std::string directory() { return ktPreferences::getPreferencesDir().toUtf8().toStdString(); }

    fs::path root;
};

} // namespace

TEST_F(Preferences, GivenOverride_MakesAndReturnsItWithSeparator) {
    const Environment override("KT_PREFERENCES_DIR", (root / "a" / "b").string());
    EXPECT_EQ(directory(), (root / "a/b/").string());
    EXPECT_TRUE(fs::is_directory(root / "a/b"));
}

TEST_F(Preferences, GivenOverrideWithSeparator_AddsNoSecondOne) {
    const Environment override("KT_PREFERENCES_DIR", (root / "a/").string());
    EXPECT_EQ(directory(), (root / "a/").string());
}

TEST_F(Preferences, GivenRelativeOverride_ReturnsAbsoluteDirectory) {
    const fs::path before = fs::current_path();
    fs::current_path(root);
    const Environment override("KT_PREFERENCES_DIR", "here");
    EXPECT_EQ(directory(), (fs::current_path() / "here/").string());
    fs::current_path(before);
}

TEST_F(Preferences, GivenUserConfigDirectory_UsesItsOwnFolderInIt) {
    const Environment noOverride("KT_PREFERENCES_DIR", std::nullopt);
    const Environment config("XDG_CONFIG_HOME", (root / "config").string());
    EXPECT_EQ(directory(), (root / "config/ktAmbientOcclusion/").string());
    EXPECT_TRUE(fs::is_directory(root / "config/ktAmbientOcclusion"));
}

TEST_F(Preferences, GivenRelativeUserConfigDirectory_FallsBackToHome) {
    const Environment noOverride("KT_PREFERENCES_DIR", std::nullopt);
    const Environment config("XDG_CONFIG_HOME", "config");
    const Environment home("HOME", root.string());
    EXPECT_EQ(directory(), (root / ".config/ktAmbientOcclusion/").string());
}

TEST_F(Preferences, GivenNonAsciiHomeInPosixLocale_KeepsItsBytes) {
    const Environment noOverride("KT_PREFERENCES_DIR", std::nullopt);
    const Environment config("XDG_CONFIG_HOME", std::nullopt);
    const Environment locale("LC_ALL", "C");
    const Environment home("HOME", (root / "J\xc3\xbcrgen").string());
    EXPECT_EQ(directory(), (root / "J\xc3\xbcrgen/.config/ktAmbientOcclusion/").string());
    EXPECT_TRUE(fs::is_directory(root / "J\xc3\xbcrgen/.config/ktAmbientOcclusion"));
}

TEST_F(Preferences, GivenDirectoryThatCannotBeMade_LogsItsNameAndStillReturnsIt) {
    std::ofstream(root / "file") << "in the way";
    const Environment override("KT_PREFERENCES_DIR", (root / "file" / "sub").string());
    std::vector<std::string> lines;
    ktLogOutput::setSink([&](ktLogLevel, const std::string& line) { lines.push_back(line); });
    EXPECT_EQ(directory(), (root / "file/sub/").string());
    EXPECT_THAT(lines, testing::ElementsAre(testing::HasSubstr((root / "file/sub/").string())));
}
