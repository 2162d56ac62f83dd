// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the lines, levels and counts of the log, and sinks that log or throw.
#include "ktLog.h"

#include "ktHostSignals.h"
#include "ktLogOutput.h"

#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::Pair;

namespace {

class Log : public testing::Test {
protected:
    void SetUp() override {
        ktLogOutput::resetCounts();
        ktLogOutput::setSink([this](ktLogLevel level, const std::string& line) { lines.emplace_back(level, line); });
    }
    void TearDown() override {
        ktLogOutput::setSink({});
        ktLogOutput::setQuiet(false);
    }

    std::vector<std::pair<ktLogLevel, std::string>> lines;
};

} // namespace

TEST_F(Log, GivenFormats_ExpandsThemAtTheirLevel) {
    ktLog::error("%s: node %d", "car.glb", 7);
    ktLog::warning("%u skipped", 3u);
    ktLog::info("%.2f seconds", 1.5);
    EXPECT_THAT(lines, ElementsAre(Pair(ktLogLevel::Error, "car.glb: node 7"), Pair(ktLogLevel::Warning, "3 skipped"),
                                   Pair(ktLogLevel::Info, "1.50 seconds")));
}

TEST_F(Log, GivenLongText_KeepsAllOfIt) {
    for (const std::size_t length : {510u, 511u, 512u, 513u, 100000u}) {
        lines.clear();
        const std::string text(length, 'x');
        ktLog::info("%s", text.c_str());
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].second, text);
    }
}

TEST_F(Log, GivenLineEndsAndControlSequences_MakesOnePlainLine) {
    ktLog::error("node \"a\nb\x1b[31m\" is bad\n\n");
    EXPECT_THAT(lines, ElementsAre(Pair(ktLogLevel::Error, "node \"a b [31m\" is bad")));
}

TEST_F(Log, GivenUtf8Text_KeepsItsBytes) {
    ktLog::info("%s", "T\xc3\xbcr");
    EXPECT_THAT(lines, ElementsAre(Pair(ktLogLevel::Info, "T\xc3\xbcr")));
}

TEST_F(Log, GivenNoSink_WritesOneLinePerCallToStandardError) {
    ktLogOutput::setSink({});
    testing::internal::CaptureStderr();
    ktLog::error("broken");
    ktLog::warning("odd");
    ktLog::info("fine");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "error: broken\nwarning: odd\nfine\n");
}

TEST_F(Log, GivenQuiet_LetsOnlyErrorsThroughAndStillCountsAll) {
    ktLogOutput::setQuiet(true);
    ktLog::error("broken");
    ktLog::warning("odd");
    ktLog::info("fine");
    EXPECT_THAT(lines, ElementsAre(Pair(ktLogLevel::Error, "broken")));
    EXPECT_EQ(ktLogOutput::getCount(ktLogLevel::Error), 1u);
    EXPECT_EQ(ktLogOutput::getCount(ktLogLevel::Warning), 1u);
    EXPECT_EQ(ktLogOutput::getCount(ktLogLevel::Info), 1u);
    ktLogOutput::resetCounts();
    EXPECT_EQ(ktLogOutput::getCount(ktLogLevel::Error), 0u);
}

TEST_F(Log, GivenQuiet_StillAnnouncesEveryLine) {
    ktLogOutput::setQuiet(true);
    QObject receiver;
    std::vector<std::pair<int, std::string>> announced;
    QObject::connect(&ktHostSignals::the(), &ktHostSignals::logged, &receiver, [&](int level, const QString& line) {
        announced.emplace_back(level, line.toStdString());
        ktLog::info("a receiver that logs"); // must not recurse without end
    });
    ktLog::warning("odd");
    EXPECT_THAT(announced, ElementsAre(Pair(static_cast<int>(ktLogLevel::Warning), "odd")));
}

TEST_F(Log, GivenSinkThatLogs_SendsThatToStandardError) {
    ktLogOutput::setSink([](ktLogLevel, const std::string&) { ktLog::warning("from the sink"); });
    testing::internal::CaptureStderr();
    ktLog::info("line");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "warning: from the sink\n");
}

TEST_F(Log, GivenSinkThatThrows_KeepsTheLine) {
    ktLogOutput::setSink([](ktLogLevel, const std::string&) { throw std::runtime_error("full"); });
    testing::internal::CaptureStderr();
    EXPECT_NO_THROW(ktLog::error("line"));
    EXPECT_NO_THROW(ktLog::error("next"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "error: line\nerror: next\n");
}

TEST_F(Log, GivenManyThreads_NeverMixesLines) {
    constexpr int threadCount = 4;
    constexpr int linesPerThread = 500;
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t)
        threads.emplace_back([t] {
            const std::string text(100, static_cast<char>('a' + t));
            for (int i = 0; i < linesPerThread; ++i)
                ktLog::info("%s", text.c_str());
        });
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(threadCount * linesPerThread));
    for (const auto& [level, line] : lines)
        EXPECT_EQ(line, std::string(100, line.at(0)));
}
