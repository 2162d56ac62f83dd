// SPDX-License-Identifier: LGPL-2.1-or-later
// ktbake with failing allocations: each run ends soon, with a right exit code and message, and the old or the new file.
// The environment variable KT_FAULTS_STEP=1 tests every allocation, instead of a sample.
#include "ktBakeProcess.h"
#include "ktWatchedProcess.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <random>

namespace fs = std::filesystem;

namespace {

const char* const forEver = "1000000000";

/// A small bake with everything that a first run does, such as writing the presets.
struct Bake {
    std::vector<std::string> arguments;
    std::string expected; // the output file
    long allocations = 0;
};

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

ktWatchedResult run(const ktTestFolder& folder, const Bake& bake, const std::vector<std::string>& environment) {
    fs::remove_all(folder.path / "preferences");
    fs::remove(folder.path / "p.png");
    fs::remove(folder.path / "s.json");
    folder.write("out.glb", "old");
    std::vector<std::string> all = environment;
    all.push_back("LD_PRELOAD=" KT_FAILING_ALLOCATIONS);
    all.push_back("KT_PREFERENCES_DIR=" + folder.file("preferences/"));
    all.push_back("TMPDIR=" + folder.path.string());
    return runWatched(folder.path, KT_BAKE, bake.arguments, all);
}

Bake prepare(const ktTestFolder& folder, const std::vector<std::string>& options) {
    Bake bake;
    bake.arguments = {model("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"),
                      "-o",
                      "out.glb",
                      "--shadow-quality",
                      "0",
                      "--gather-quality",
                      "0",
                      "--threads",
                      "2"};
    bake.arguments.insert(bake.arguments.end(), options.begin(), options.end());
    const ktWatchedResult whole = run(folder, bake, {"KT_ALLOCATION_COUNT=" + folder.file("count")});
    EXPECT_EQ(whole.exitCode, 0) << whole.error;
    bake.expected = readFile(folder.file("out.glb"));
    bake.allocations = std::atol(readFile(folder.file("count")).c_str());
    fs::remove(folder.path / "count");
    EXPECT_EQ(bake.expected.substr(0, 4), "glTF");
    EXPECT_GT(bake.allocations, 1000) << "the library that lets allocations fail is not loaded";
    return bake;
}

/// The allocations to test: one of each `step`, at random places; a few more than the run had.
std::vector<long> chooseAllocations(long count, long sample) {
    const char* const given = std::getenv("KT_FAULTS_STEP"); // NOLINT(concurrency-mt-unsafe)
    const long step = given ? std::max(1L, std::atol(given)) : std::max(1L, count / sample);
    std::mt19937 random(17);
    std::vector<long> chosen;
    for (long first = 0; first < count; first += step)
        chosen.push_back(first + static_cast<long>(random() % static_cast<unsigned long>(step)));
    return chosen;
}

/// Lets allocations fail and checks how each run ends.
void check(const std::vector<std::string>& options, long sample) {
    const ktTestFolder folder;
    const Bake bake = prepare(folder, options);
    const bool isJson = std::find(options.begin(), options.end(), "--json") != options.end();
    for (const char* count : {"1", forEver}) {
        int baked = 0, failed = 0;
        double longest_s = 0;
        for (const long from : chooseAllocations(bake.allocations, sample)) {
            const ktWatchedResult result = run(
                folder, bake, {"KT_FAILING_FROM=" + std::to_string(from), "KT_FAILING_COUNT=" + std::string(count)});
            const std::string which = "allocation " + std::to_string(from) + ", " + count + " fail: " + result.error;
            const std::string output = readFile(folder.file("out.glb"));
            longest_s = std::max(longest_s, result.seconds);
            // 4: the picture or the statistics have failed, and the output is written.
            const bool isWritten = result.exitCode == 4 && output == bake.expected;
            ASSERT_TRUE(result.exitCode == 0 || result.exitCode == 1 || isWritten) << result.exitCode << ", " << which;
            EXPECT_THAT(namesIn(folder.path), testing::IsSubsetOf({"out.glb", "p.png", "preferences", "s.json"}))
                << which;
            if (result.exitCode == 0) {
                ++baked;
                EXPECT_EQ(output == bake.expected, true) << which;
                continue;
            }
            ++failed;
            EXPECT_THAT(result.error, testing::HasSubstr(isJson ? "\"level\":\"error\"" : "error: ")) << which;
            EXPECT_THAT(result.error, testing::Not(testing::HasSubstr("bad_alloc"))) << which;
            if (output != "old") {
                EXPECT_EQ(output == bake.expected, true) << which;
                EXPECT_THAT(result.error, testing::HasSubstr("is written")) << which;
            }
        }
        std::cout << (count == forEver ? "All allocations fail from one on: " : "One allocation fails: ")
                  << baked + failed << " of " << bake.allocations << " allocations tested, " << baked
                  << " baked all the same, " << failed << " ended with a message, the longest took " << longest_s
                  << " s\n";
        EXPECT_GT(failed, 0);
    }
}

} // namespace

TEST(FailingAllocations, GivenSmallBake_EndsWithAMessageOrTheWholeFile) {
    check({}, 60);
}

TEST(FailingAllocations, GivenPreviewAndStatistics_EndsWithAMessageOrTheWholeFile) {
    check({"--json", "--subdivide", "--tracer", "embree", "--preview", "p.png", "--preview-size", "32x32", "--stats",
           "s.json"},
          30);
}
