// SPDX-License-Identifier: LGPL-2.1-or-later
// ktbake ends by itself if a library hangs after memory ran out, and only then.
#include "ktFaultyBake.h"

#include "ktBakeLastWords.h"
#include "ktMemoryShortage.h"

#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string box = "glTF2/BoxTextured-glTF-Binary/BoxTextured.glb";

/// A bake in which Embree has no memory for its structure number `build`, and then hangs.
ktWatchedResult bakeAndHang(ktFaultyBake& bake, int build, const std::string& hang) {
    bake.prepare("KT_ALLOCATION_COUNT");
    const ktWatchedResult result = bake.run({"KT_FAILING_BUILD=" + std::to_string(build), "KT_HANG=" + hang});
    bake.expectRightEnd(result, "structure " + std::to_string(build) + ", " + hang + ": " + result.error);
    return result;
}

/// Bakes two scenes; something fails in the first one.
ktWatchedResult bakeTwo(const ktTestFolder& folder, const std::vector<std::string>& options, const char* failure) {
    for (const char* name : {"a.glb", "b.glb"})
        folder.write(name, readFile(model(box)));
    std::vector<std::string> arguments = {"a.glb", "b.glb",         "--output-folder", "out", "--shadow-quality",
                                          "0",     "--no-indirect", "--threads",       "2"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    ktWatchedResult result = runWatched(folder.path, KT_BAKE, arguments,
                                        {std::string("LD_PRELOAD=") + KT_FAILING_ALLOCATIONS, failure,
                                         "KT_PREFERENCES_DIR=" + folder.file("preferences/")});
    EXPECT_EQ(result.exitCode, 1) << result.error;
    EXPECT_THAT(result.error, HasSubstr("1 baked, 0 up to date, 1 failed"));
    EXPECT_EQ(readFile(folder.path / "out" / "b-baked.glb").substr(0, 4), "glTF");
    return result;
}

/// Memory ran out; then the alarm rings twice.
[[noreturn]] void ringTwice(void (*before)(), void (*between)()) {
    ktBakeLastWords::prepare(false);
    ktBakeLastWords::waitLonger(); // the alarm itself does not ring so soon
    ktBakeLastWords::setStep("scene.glb", "baking");
    ktMemoryShortage::report();
    before();
    std::raise(SIGALRM);
    between();
    std::raise(SIGALRM);
    _exit(42);
}

void doNothing() {}

const testing::ExitedWithCode outOfMemory(1), goesOn(42);

} // namespace

TEST(FaultHangs, GivenEmbreeLoopsAfterFailedBuild_EndsWithTheOldFile) {
    ktFaultyBake bake(KT_FAILING_ALLOCATIONS, model(box), {"--tracer", "embree"});
    const ktWatchedResult result = bakeAndHang(bake, 1, "spin");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("out of memory while baking"));
}

TEST(FaultHangs, GivenEmbreeWaitsAfterFailedBuildForThePicture_EndsWithTheNewFile) {
    ktFaultyBake bake(KT_FAILING_ALLOCATIONS, model(box), {"--json", "--preview", "p.png", "--preview-size", "32x32"});
    const ktWatchedResult result = bakeAndHang(bake, 1, "wait");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("out of memory while ending; this file is written"));
}

TEST(FaultHangs, GivenEmbreeWithoutMemory_EndsWithItsMessage) {
    ktFaultyBake bake(KT_FAILING_ALLOCATIONS, model(box), {"--tracer", "embree"});
    bake.prepare("KT_ALLOCATION_COUNT");
    const ktWatchedResult result = bake.run({"KT_FAILING_BUILD=1"});
    bake.expectRightEnd(result, result.error);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("Embree cannot build the acceleration structure"));
}

TEST(FaultHangs, GivenBatch_GoesOnAfterASceneWithoutMemory) {
    const ktTestFolder folder;
    const ktWatchedResult result = bakeTwo(folder, {"--tracer", "embree"}, "KT_FAILING_BUILD=1");
    const std::string lastState = result.error.substr(std::min(result.error.rfind("alarm: "), result.error.size()));
    EXPECT_THAT(lastState, StartsWith("alarm: off"));
}

TEST(FaultHangs, GivenBatchWithoutMemoryForItsWorkers_GoesOn) {
    const ktTestFolder folder;
    bakeTwo(folder, {}, "KT_FAILING_ARENA=14");
}

TEST(FaultHangs, GivenShortageWithoutProgress_EndsWithAMessage) {
    EXPECT_EXIT(ringTwice(doNothing, doNothing), outOfMemory, "error: scene.glb: out of memory while baking");
}

TEST(FaultHangs, GivenProgressAfterShortage_GoesOn) {
    EXPECT_EXIT(ringTwice(doNothing, [] { ktBakeLastWords::noteProgress(100); }), goesOn, "");
}

TEST(FaultHangs, GivenOnlyProgressBeforeFirstAlarm_Ends) {
    EXPECT_EXIT(ringTwice([] { ktBakeLastWords::noteProgress(100); }, doNothing), outOfMemory, "out of memory");
}

TEST(FaultHangs, GivenNextStepAfterShortage_GoesOn) {
    EXPECT_EXIT(ringTwice([] { ktBakeLastWords::setStep("out.glb", "writing"); }, doNothing), goesOn, "");
}

TEST(FaultHangs, GivenFailure_EndsInSpiteOfProgress) {
    EXPECT_EXIT(ringTwice(ktBakeLastWords::endSoon, [] { ktBakeLastWords::noteProgress(100); }), outOfMemory,
                "out of memory");
}

TEST(FaultHangs, GivenNextSceneAfterFailure_GoesOn) {
    EXPECT_EXIT(ringTwice(ktBakeLastWords::endSoon, ktBakeLastWords::goOn), outOfMemory, "out of memory");
    EXPECT_EXIT(ringTwice(ktBakeLastWords::goOn, doNothing), goesOn, "");
}

TEST(FaultHangs, GivenScript_NeverEndsIt) {
    EXPECT_EXIT(ringTwice(
                    [] {
                        ktBakeLastWords::letRun();
                        ktMemoryShortage::report();
                    },
                    doNothing),
                goesOn, "");
}
