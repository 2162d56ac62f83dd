// SPDX-License-Identifier: LGPL-2.1-or-later
// Processes that are killed, that run out of disk space, or that save at the same time.
#include "ktMessageRW.h"

#include "ktLogOutput.h"
#include "ktMessage.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class MessageRWCrash : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "ktMessageRWCrash-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        path = (folder / "templates.xml").string();
        ktLogOutput::setSink([this](ktLogLevel, const std::string& line) { log.push_back(line); });
    }
    void TearDown() override {
        ktLogOutput::setSink({});
        fs::remove_all(folder);
    }

    /// A message, larger than a few disk blocks, whose parts all hold the same number.
    static ktMessage uniform(int value) {
        ktMessage message;
        message.set("first", value, true);
        message.set("numbers", std::vector<int>(2000, value), true);
        message.set("last", value, true);
        return message;
    }
    /// The number that all parts of the file hold, or -1 if the file is missing or incomplete.
    int readUniform() {
        ktMessage message;
        if (!ktMessageRW::read(message, path.c_str(), ""))
            return -1;
        const int value = boost::any_cast<int>(message.get("first"));
        const bool whole = boost::any_cast<int>(message.get("last")) == value &&
                           boost::any_cast<std::vector<int>>(message.get("numbers")) == std::vector<int>(2000, value);
        return whole ? value : -1;
    }
    /// Starts a process that saves the numbers from `first` on and writes a byte to `pipe` after the first save.
    pid_t startSaving(int first, int count, int pipe = -1) {
        const pid_t child = fork();
        if (child == 0) {
            for (int i = 0; i < count; ++i) {
                if (!ktMessageRW::write(uniform(first + i), path.c_str()))
                    _exit(1);
                if (i == 0 && pipe >= 0 && ::write(pipe, "x", 1) != 1)
                    _exit(2);
            }
            _exit(0);
        }
        return child;
    }
    std::size_t fileCount() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }

    fs::path folder;
    std::string path;
    std::vector<std::string> log;
};

/// Exit status of a child; -1 if a signal ended it.
int statusOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST_F(MessageRWCrash, GivenKillsAt200RandomMoments_AlwaysLeavesAWholeFile) {
    ASSERT_TRUE(ktMessageRW::write(uniform(1), path.c_str()));
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::mt19937 random(99);
    int leftBehind = 0;
    int advanced = 0;
    for (int i = 0; i < 200; ++i) {
        const int before = readUniform();
        const bool afterFirstSave = i % 2 == 0;
        const pid_t child = startSaving(before + 1, 1000000, afterFirstSave ? ends[1] : -1);
        ASSERT_GT(child, 0);
        char byte = 0;
        if (afterFirstSave) {
            ASSERT_EQ(::read(ends[0], &byte, 1), 1);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
        kill(child, SIGKILL);
        ASSERT_EQ(statusOf(child), -1) << "the child ended before the kill";
        const int after = readUniform();
        ASSERT_GE(after, before) << "kill " << i;
        advanced += after > before;
        leftBehind += fileCount() > 1;
    }
    close(ends[0]);
    close(ends[1]);
    EXPECT_TRUE(log.empty()) << log.front();
    // Otherwise most kills did not happen during a save.
    EXPECT_GE(advanced, 100);
    EXPECT_GT(leftBehind, 5);
    ASSERT_TRUE(ktMessageRW::write(uniform(1), path.c_str()));
    EXPECT_EQ(fileCount(), 1u) << "files of killed processes were not removed";
}

TEST_F(MessageRWCrash, GivenTwoProcessesAtOnce_LeavesOneWholeFile) {
    ASSERT_TRUE(ktMessageRW::write(uniform(1), path.c_str()));
    const pid_t one = startSaving(1000, 300);
    const pid_t other = startSaving(2000, 300);
    int reads = 0;
    for (; waitpid(one, nullptr, WNOHANG) == 0; ++reads)
        ASSERT_GT(readUniform(), 0);
    EXPECT_EQ(statusOf(other), 0);
    EXPECT_GT(reads, 5);
    const int last = readUniform();
    EXPECT_TRUE(last == 1299 || last == 2299) << last;
    EXPECT_EQ(fileCount(), 1u);
    EXPECT_TRUE(log.empty()) << log.front();
}

TEST_F(MessageRWCrash, GivenFullDisk_LeavesTheOldFileAndNoOther) {
    ASSERT_TRUE(ktMessageRW::write(uniform(3), path.c_str()));
    // A limit on the file size stops the writing half-way, as a full disk does.
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = before;
    small.rlim_cur = 4096;
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const bool written = ktMessageRW::write(uniform(4), path.c_str());
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_FALSE(written);
    EXPECT_EQ(readUniform(), 3);
    EXPECT_EQ(fileCount(), 1u);
    ASSERT_EQ(log.size(), 1u);
    EXPECT_THAT(log.front(), testing::HasSubstr("cannot write"));
}
