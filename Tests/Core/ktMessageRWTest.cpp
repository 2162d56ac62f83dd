// SPDX-License-Identifier: LGPL-2.1-or-later
// Message files: found, missing, broken, and kept.
#include "ktMessageRW.h"

#include "ktLogOutput.h"
#include "ktMessage.h"
#include "ktMessageFile.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

namespace fs = std::filesystem;

class MessageRW : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "ktMessageRW-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        path = (folder / "templates.xml").string();
        ktLogOutput::setSink([this](ktLogLevel, const std::string& line) { log.push_back(line); });
    }
    void TearDown() override {
        ktLogOutput::setSink({});
        fs::remove_all(folder);
    }

    bool write(int value) {
        ktMessage message;
        message.set("value", value, true);
        return ktMessageRW::write(message, path.c_str());
    }
    /// The number in the file; 0 when it cannot be read.
    int read() {
        ktMessage message;
        if (!ktMessageRW::read(message, path.c_str(), ""))
            return 0;
        return boost::any_cast<int>(message.get("value"));
    }
    static void put(const fs::path& file, const std::string& text) { std::ofstream(file, std::ios::binary) << text; }
    static std::string contentOf(const fs::path& file) {
        std::ostringstream text;
        text << std::ifstream(file, std::ios::binary).rdbuf();
        return text.str();
    }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
        return names;
    }

    fs::path folder;
    std::string path;
    std::vector<std::string> log;
};

} // namespace

TEST_F(MessageRW, GivenMessage_WritesOneFileAndReadsItBack) {
    EXPECT_TRUE(write(1));
    EXPECT_TRUE(write(2));
    EXPECT_EQ(read(), 2);
    EXPECT_THAT(files(), ElementsAre("templates.xml"));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MessageRW, GivenFilter_KeepsThatValueAlone) {
    ktMessage message;
    message.set("a", 1, true);
    message.set("b", 2, true);
    ASSERT_TRUE(ktMessageRW::write(message, path.c_str()));
    ASSERT_TRUE(ktMessageRW::read(message, path.c_str(), "b"));
    EXPECT_THAT(message.names(), ElementsAre("b"));
}

TEST_F(MessageRW, GivenMissingFile_FailsWithoutAWord) {
    ktMessage message;
    message.set("old", 1, true);
    EXPECT_FALSE(ktMessageRW::read(message, path.c_str(), ""));
    EXPECT_TRUE(message.names().empty());
    EXPECT_FALSE(ktMessageRW::read(message, (folder / "no" / "folder.xml").c_str(), ""));
    EXPECT_THAT(log, IsEmpty());
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(MessageRW, GivenBrokenFile_LogsThePlaceAndSetsItAside) {
    const std::string broken = "<message version=\"1\">\n  <value name=\"v\" type=\"int\">x</value>\n</message>\n";
    put(path, broken);
    EXPECT_EQ(read(), 0);
    EXPECT_THAT(log, ElementsAre("Couldn't read " + path +
                                 ": line 2, column 30: 'x' is not a whole number of this type (set aside as " + path +
                                 ".broken)"));
    EXPECT_THAT(files(), ElementsAre("templates.xml.broken"));
    EXPECT_EQ(contentOf(path + ".broken"), broken);
}

TEST_F(MessageRW, GivenSeveralBrokenFiles_KeepsThemAll) {
    for (int i = 1; i <= 3; ++i) {
        put(path, "broken " + std::to_string(i));
        EXPECT_EQ(read(), 0);
    }
    EXPECT_EQ(contentOf(path + ".broken"), "broken 3");
    EXPECT_EQ(contentOf(path + ".broken.1"), "broken 1");
    EXPECT_EQ(contentOf(path + ".broken.2"), "broken 2");
    for (int i = 4; i <= 20; ++i) {
        put(path, "broken " + std::to_string(i));
        EXPECT_EQ(read(), 0);
    }
    EXPECT_EQ(files().size(), 10u);
    EXPECT_EQ(contentOf(path + ".broken"), "broken 20");
}

TEST_F(MessageRW, GivenEmptyOrHugeFile_SetsItAside) {
    put(path, "");
    EXPECT_EQ(read(), 0);
    put(path, std::string(5 << 20, ' '));
    EXPECT_EQ(read(), 0);
    EXPECT_THAT(log, ElementsAre(HasSubstr("line 1, column 1"), HasSubstr("larger than")));
    EXPECT_THAT(files(), UnorderedElementsAre("templates.xml.broken", "templates.xml.broken.1"));
}

TEST_F(MessageRW, GivenDirectoryOrPipeOfThatName_IsNotHeldUp) {
    fs::create_directory(path);
    EXPECT_EQ(read(), 0);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(read(), 0);
    EXPECT_THAT(log, ElementsAre(HasSubstr("no regular file"), HasSubstr("no regular file")));
    EXPECT_TRUE(write(4));
    EXPECT_EQ(read(), 4);
}

TEST_F(MessageRW, GivenUnwritableDirectory_LeavesTheOldFileAndSaysWhy) {
    ASSERT_TRUE(write(5));
    const std::string goodPath = path;
    path = (folder / "missing" / "templates.xml").string();
    EXPECT_FALSE(write(6));
    EXPECT_THAT(log, ElementsAre(AllOf(HasSubstr("Couldn't write " + path), HasSubstr("No such file or directory"))));
    path = "/proc/templates.xml"; // nobody, not even root, can create a file there
    EXPECT_FALSE(write(6));
    path = goodPath;
    EXPECT_EQ(read(), 5);
    EXPECT_THAT(files(), ElementsAre("templates.xml"));
}

TEST_F(MessageRW, GivenValueWithoutFileForm_LeavesTheOldFile) {
    ASSERT_TRUE(write(5));
    ktMessage message;
    message.set("value", 'c', true);
    EXPECT_FALSE(ktMessageRW::write(message, path.c_str()));
    EXPECT_EQ(read(), 5);
    EXPECT_THAT(log, ElementsAre(HasSubstr("no text form")));
}

TEST_F(MessageRW, GivenSymbolicLink_ReplacesWhatItNames) {
    fs::create_directory(folder / "dotfiles");
    put(folder / "dotfiles" / "mine.xml", "x");
    fs::create_symlink(folder / "dotfiles" / "mine.xml", path);
    EXPECT_TRUE(write(7));
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_EQ(read(), 7);
    EXPECT_THAT(contentOf(folder / "dotfiles" / "mine.xml"), HasSubstr("7"));
}

TEST_F(MessageRW, GivenPermissionsOfTheOldFile_KeepsThem) {
    ASSERT_TRUE(write(1));
    fs::permissions(path, fs::perms(0640));
    ASSERT_TRUE(write(2));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
}

TEST_F(MessageRW, GivenFilesOfKilledProcesses_RemovesThem) {
    put(path + ".tmp-12345-0", "half");
    put(path + ".tmp-1-99", "");
    put(folder / "templates.xml.bak", "mine");
    put(folder / "other.xml.tmp-1-1", "theirs");
    EXPECT_TRUE(write(1));
    EXPECT_THAT(files(), UnorderedElementsAre("templates.xml", "templates.xml.bak", "other.xml.tmp-1-1"));
}

TEST_F(MessageRW, GivenFileOfAProcessAtWork_LeavesIt) {
    const std::string theirs = path + ".tmp-1-1";
    put(theirs, "half");
    const int file = open(theirs.c_str(), O_RDONLY);
    ASSERT_EQ(flock(file, LOCK_EX), 0);
    EXPECT_TRUE(write(1));
    EXPECT_TRUE(fs::exists(theirs));
    close(file);
    EXPECT_TRUE(write(2));
    EXPECT_FALSE(fs::exists(theirs));
}

TEST_F(MessageRW, GivenAnotherFileInItsPlace_DoesNotSetThatAside) {
    put(path, "broken");
    QByteArray content;
    ktMessageFile::Identity identity;
    QString reason;
    ASSERT_EQ(ktMessageFile::read(path.c_str(), 100, content, identity, reason), ktMessageFile::ReadResult::Done);
    ASSERT_TRUE(ktMessageFile::isStill(path.c_str(), identity));
    ASSERT_TRUE(write(8));
    EXPECT_FALSE(ktMessageFile::isStill(path.c_str(), identity));
    EXPECT_TRUE(ktMessageFile::setAside(path.c_str(), identity).isEmpty());
    EXPECT_EQ(read(), 8);
}

TEST_F(MessageRW, GivenAwkwardPath_UsesItsBytes) {
    fs::create_directory(folder / "Größe & <x>");
    path = (folder / "Größe & <x>" / "a b.xml").string();
    EXPECT_TRUE(write(9));
    EXPECT_EQ(read(), 9);
}
