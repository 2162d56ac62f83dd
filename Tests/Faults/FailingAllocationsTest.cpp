// SPDX-License-Identifier: LGPL-2.1-or-later
// ktbake with failing allocations: each run ends soon, with a right exit code and message, and the old or the new file.
// The environment variable KT_FAULTS_STEP=1 tests every allocation, instead of a sample.
#include "ktFaultyBake.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <random>

namespace {

constexpr long forEver = 1000000000;

/// The allocations to test: one of each `step`, at random places; a few more than the run had. KT_FAULTS_PART=I/N
/// leaves only part I of N of them, 0 <= I < N.
std::vector<long> chooseAllocations(long count, long sample) {
    // NOLINTBEGIN(concurrency-mt-unsafe)
    const char* const given = std::getenv("KT_FAULTS_STEP");
    const char* const part = std::getenv("KT_FAULTS_PART");
    // NOLINTEND(concurrency-mt-unsafe)
    const long step = given ? std::max(1L, std::atol(given)) : std::max(1L, count / sample);
    long number = 0, parts = 1;
    if (part && (std::sscanf(part, "%ld/%ld", &number, &parts) != 2 || parts < 1))
        ADD_FAILURE() << "KT_FAULTS_PART is not like 0/2";
    std::mt19937 random(17);
    std::vector<long> chosen;
    for (long first = 0; first < count; first += step) {
        const long place = first + static_cast<long>(random() % static_cast<unsigned long>(step));
        if (first / step % parts == number)
            chosen.push_back(place);
    }
    return chosen;
}

/// Lets allocations fail and checks how each run ends.
void check(const std::vector<std::string>& options, long sample) {
    ktFaultyBake bake(KT_FAILING_ALLOCATIONS, model("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"), options);
    const long allocations = bake.prepare("KT_ALLOCATION_COUNT");
    EXPECT_GT(allocations, 1000) << "the library that lets allocations fail is not loaded";
    for (const long count : {1L, forEver}) {
        int baked = 0, failed = 0;
        double longest_s = 0, processor_s = 0;
        for (const long from : chooseAllocations(allocations, sample)) {
            const ktWatchedResult result = bake.runForked(from, count);
            const std::string which =
                "allocation " + std::to_string(from) + ", " + std::to_string(count) + " fail: " + result.error;
            longest_s = std::max(longest_s, result.seconds);
            processor_s += result.processorSeconds;
            bake.expectRightEnd(result, which);
            EXPECT_NE(result.exitCode, 3) << which;
            EXPECT_THAT(result.error, testing::Not(testing::HasSubstr("bad_alloc"))) << which;
            ++(result.exitCode == 0 ? baked : failed);
            if (testing::Test::HasFailure()) {
                ADD_FAILURE() << "the other allocations are not tested";
                return;
            }
        }
        std::cout << (count == forEver ? "All allocations fail from one on: " : "One allocation fails: ")
                  << baked + failed << " of " << allocations << " allocations tested, " << baked
                  << " baked all the same, " << failed << " ended with a message, the longest took " << longest_s
                  << " s, all " << processor_s << " s of processor time\n";
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
