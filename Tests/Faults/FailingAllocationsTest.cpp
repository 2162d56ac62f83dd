// SPDX-License-Identifier: LGPL-2.1-or-later
// ktbake with failing allocations: each run ends soon, with a right exit code and message, and the old or the new file.
// The environment variable KT_FAULTS_STEP=1 tests every allocation, instead of a sample; KT_FAULTS_STEP=20 one of 20.
// The truck has too many: KT_FAULTS_TRUCK=1000 tests as many of them.
#include "ktFaultyBake.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <random>

namespace {

constexpr long forEver = 1000000000;

/// The number that an environment variable holds; without it, `otherwise`.
long numberIn(const char* variable, long otherwise) {
    const char* const given = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
    return given ? std::max(1L, std::atol(given)) : otherwise;
}

/// One allocation of each `step`, at random places; a few more than the run had. KT_FAULTS_PART=I/N leaves only part I
/// of N of them, 0 <= I < N.
std::vector<long> chooseAllocations(long count, long step) {
    const char* const part = std::getenv("KT_FAULTS_PART"); // NOLINT(concurrency-mt-unsafe)
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
/// @param chooseStep every how many of a number of allocations one is tested
void check(const std::string& scene, const std::vector<std::string>& options,
           const std::function<long(long)>& chooseStep) {
    ktFaultyBake bake(KT_FAILING_ALLOCATIONS, model(scene), options);
    const long allocations = bake.prepare("KT_ALLOCATION_COUNT");
    EXPECT_GT(allocations, 1000) << "the library that lets allocations fail is not loaded";
    for (const long count : {1L, forEver}) {
        int baked = 0, failed = 0;
        double longest_s = 0, processor_s = 0;
        for (const long from : chooseAllocations(allocations, chooseStep(allocations))) {
            const ktWatchedResult result = bake.runForked(from, count);
            const std::string which =
                "allocation " + std::to_string(from) + ", " + std::to_string(count) + " fail: " + result.error;
            longest_s = std::max(longest_s, result.seconds);
            processor_s += result.processorSeconds;
            bake.expectRightEnd(result, which);
            if (result.exitCode == 3) { // of the process that imports
                EXPECT_THAT(result.error, testing::HasSubstr("cannot be imported: it asks for too much memory"))
                    << which;
            }
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
        if (count == forEver || baked > 20) { // a few single ones may all be harmless
            EXPECT_GT(failed, 0);
        }
    }
}

/// As above, with a small scene: a sample of so many allocations, or all.
void checkBox(const std::vector<std::string>& options, long sample) {
    check("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb", options,
          [sample](long allocations) { return numberIn("KT_FAULTS_STEP", std::max(1L, allocations / sample)); });
}

} // namespace

TEST(FailingAllocations, GivenSmallBake_EndsWithAMessageOrTheWholeFile) {
    checkBox({}, 60);
}

TEST(FailingAllocations, GivenPreviewAndStatistics_EndsWithAMessageOrTheWholeFile) {
    checkBox({"--json", "--subdivide", "--tracer", "embree", "--preview", "p.png", "--preview-size", "32x32", "--stats",
              "s.json"},
             30);
}

// An import, refinement, bounces, textures, compression, a checkpoint.
TEST(FailingAllocations, GivenTruckWithEverything_EndsWithAMessageOrTheWholeFile) {
    check("glTF/CesiumMilkTruck/CesiumMilkTruck.gltf",
          {"--shadow-quality",
           "2",
           "--subdivide",
           "--min-edge-length",
           "500",
           "--bounces",
           "2",
           "--color-bleeding",
           "--no-override-color",
           "--ground-plane",
           "--compress",
           "draco",
           "--preview",
           "p.png",
           "--preview-size",
           "32x32",
           "--stats",
           "s.json",
           "--checkpoint",
           "kept"},
          [](long allocations) { return std::max(1L, allocations / numberIn("KT_FAULTS_TRUCK", 4)); });
}
