// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests that a file is replaced as a whole or not at all, also with full disks, links and pipes.
#include "ktSafeFile.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace {

class SafeFile : public testing::Test {
protected:
    SafeFile() : folder(fs::path(testing::TempDir()) / ("ktSafeFile" + std::to_string(getpid()))) {
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    ~SafeFile() override { fs::remove_all(folder); }

    QByteArray path(const std::string& name) const { return QByteArray::fromStdString((folder / name).string()); }
    void put(const std::string& name, const std::string& content) const { std::ofstream(folder / name) << content; }
    std::string contentOf(const std::string& name) const {
        std::ifstream file(folder / name);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    std::vector<std::string> names() const {
        std::vector<std::string> list;
        for (const auto& entry : fs::directory_iterator(folder))
            list.push_back(entry.path().filename().string());
        return list;
    }

    const fs::path folder;
};

} // namespace

TEST_F(SafeFile, GivenPiecesAndCommit_ReplacesTheTarget) {
    put("a", "old");
    ktSafeFile file(path("a"));
    EXPECT_TRUE(file.write("ne", 2));
    EXPECT_TRUE(file.write("w", 1));
    EXPECT_EQ(contentOf("a"), "old") << "before commit()";
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(contentOf("a"), "new");
    EXPECT_TRUE(file.error().isEmpty());
    EXPECT_THAT(names(), UnorderedElementsAre("a"));
    EXPECT_FALSE(file.write("x", 1)) << "after commit()";
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(contentOf("a"), "new");
}

TEST_F(SafeFile, GivenNoCommit_LeavesTheTargetAndNoOtherFile) {
    put("a", "old");
    {
        ktSafeFile file(path("a"));
        EXPECT_TRUE(file.write("new", 3));
        EXPECT_EQ(names().size(), 2u);
    }
    EXPECT_EQ(contentOf("a"), "old");
    EXPECT_THAT(names(), UnorderedElementsAre("a"));
}

TEST_F(SafeFile, GivenFullDisk_SaysSoAndLeavesTheTarget) {
    put("a", "old");
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tiny = {10, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &tiny);
    ktSafeFile file(path("a"));
    const bool isWritten = file.write(std::string(100, 'x').data(), 100);
    const bool isCommitted = file.commit();
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(isWritten);
    EXPECT_FALSE(isCommitted) << "half a file must not get there";
    EXPECT_THAT(file.error().toStdString(), HasSubstr("cannot write: "));
    EXPECT_EQ(contentOf("a"), "old");
    EXPECT_THAT(names(), UnorderedElementsAre("a"));
}

TEST_F(SafeFile, GivenFolderOrNoFolder_SaysWhy) {
    fs::create_directory(folder / "a");
    QString reason;
    EXPECT_FALSE(ktSafeFile::replace(path("a"), "x", reason));
    EXPECT_THAT(reason.toStdString(), HasSubstr("Is a directory"));
    EXPECT_FALSE(ktSafeFile::replace(path("absent/a"), "x", reason));
    EXPECT_THAT(reason.toStdString(), HasSubstr("No such file or directory"));
    EXPECT_THAT(names(), UnorderedElementsAre("a"));
}

TEST_F(SafeFile, GivenLinksToAMissingFile_MakesThatFile) {
    fs::create_directory(folder / "deep");
    fs::create_symlink("deep/second", folder / "first");
    fs::create_symlink("target", folder / "deep" / "second");
    QString reason;
    EXPECT_TRUE(ktSafeFile::replace(path("first"), "new", reason)) << reason.toStdString();
    EXPECT_TRUE(fs::is_symlink(folder / "first"));
    EXPECT_TRUE(fs::is_symlink(folder / "deep" / "second"));
    EXPECT_EQ(contentOf("deep/target"), "new");
}

TEST_F(SafeFile, GivenLinksInACircle_SaysWhy) {
    fs::create_symlink("b", folder / "a");
    fs::create_symlink("a", folder / "b");
    QString reason;
    EXPECT_FALSE(ktSafeFile::replace(path("a"), "x", reason));
    EXPECT_THAT(reason.toStdString(), HasSubstr("symbolic links"));
    EXPECT_THAT(names(), UnorderedElementsAre("a", "b"));
}

TEST_F(SafeFile, GivenNamesThatAreNotOurs_LeavesThem) {
    for (const char* name : {"a.tmp-mine", "a.tmp-1", "a.tmp-1-2-3", "a.tmp-1-", "a.tmp--1", "a.tmp-1-2"})
        put(name, "x");
    QString reason;
    EXPECT_TRUE(ktSafeFile::replace(path("a"), "new", reason));
    EXPECT_THAT(names(), UnorderedElementsAre("a", "a.tmp-mine", "a.tmp-1", "a.tmp-1-2-3", "a.tmp-1-", "a.tmp--1"));
}

TEST_F(SafeFile, GivenPipe_PutsAFileInItsPlaceAndIsNotHeldUp) {
    ASSERT_EQ(mkfifo(path("a").constData(), 0600), 0);
    QString reason;
    EXPECT_TRUE(ktSafeFile::replace(path("a"), "new", reason));
    EXPECT_TRUE(fs::is_regular_file(folder / "a"));
}
