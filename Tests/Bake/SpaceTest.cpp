// SPDX-License-Identifier: LGPL-2.1-or-later
// A bake whose results have no space ends before it traces.
#include "ktBakeProcess.h"
#include "ktBakeSpace.h"
#include "ktBoxScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

using testing::AllOf;
using testing::HasSubstr;

namespace {

/// A file system with 1,000 free bytes for files in "small", another with 10,000, and one that tells nothing.
std::optional<ktBakeSpace> findInTest(const std::string& fileName) {
    if (fileName.find("unknown/") == 0)
        return {};
    return fileName.find("small/") == 0 ? ktBakeSpace{1, 1000} : ktBakeSpace{2, 10'000};
}

#ifdef KT_FAILING_CALLS
std::string withFreeBytes(std::uint64_t free_bytes) {
    return "export LD_PRELOAD=" KT_FAILING_CALLS " KT_FAILING_CALL=statvfs KT_FREE_BYTES=" + std::to_string(free_bytes);
}
#endif

} // namespace

TEST(Space, GivenFilesThatFit_IsEnough) {
    EXPECT_TRUE(hasSpace({}, findInTest));
    EXPECT_TRUE(hasSpace({{"small/a", 1000}, {"large/b", 10'000}}, findInTest));
    EXPECT_TRUE(hasSpace({{"small/a", 400}, {"small/b", 600}}, findInTest));
    EXPECT_TRUE(hasSpace({{"unknown/a", 1ull << 60}}, findInTest));
}

TEST(Space, GivenFilesThatDoNotFit_IsNotEnough) {
    EXPECT_FALSE(hasSpace({{"small/a", 1001}}, findInTest));
    EXPECT_FALSE(hasSpace({{"large/a", 500}, {"small/b", 1001}}, findInTest));
    EXPECT_FALSE(hasSpace({{"small/a", 400}, {"small/b", 601}}, findInTest)) << "files share a file system";
}

TEST(Space, GivenFolderOrNewFile_FindsItsFileSystem) {
    const ktTestFolder folder;
    const std::optional<ktBakeSpace> space = findSpace(folder.file("new.glb"));
    ASSERT_TRUE(space);
    struct stat found = {};
    ASSERT_EQ(stat(folder.path.c_str(), &found), 0);
    EXPECT_EQ(space->system, found.st_dev);
    fs::create_symlink(folder.path / "there/out.glb", folder.path / "link.glb");
    fs::create_directory(folder.path / "there");
    EXPECT_TRUE(findSpace(folder.file("link.glb")));
    EXPECT_FALSE(findSpace(folder.file("none/out.glb")));
}

TEST(Space, GivenResults_CountsTheirBytes) {
    EXPECT_EQ(leastSizeOfResults(100, false), 400u);
    EXPECT_EQ(leastSizeOfResults(100, true), 1600u);
    EXPECT_EQ(leastSizeOfCheckpoint(100, false, 0), 400u);
    EXPECT_EQ(leastSizeOfCheckpoint(100, false, 2), 2800u);
    EXPECT_EQ(leastSizeOfCheckpoint(100, true, 1), 4000u);
}

#ifdef KT_FAILING_CALLS
TEST(Space, GivenFullFileSystem_BakeEndsBeforeItTraces) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    folder.write("out.glb", "old");
    ktBakeResult result = runBake(folder.path, {"box.gltf", "-o", "out.glb"}, withFreeBytes(900));
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.error, AllOf(HasSubstr("error: out.glb: cannot be written: it needs at least "),
                                    HasSubstr("and the file system has 900 bytes")));
    EXPECT_EQ(result.out, "") << "traces nothing";
    EXPECT_EQ(readFile(folder.file("out.glb")), "old");

    result = runBake(folder.path, {"box.gltf", "-o", "out.glb", "--checkpoint", "kept"}, withFreeBytes(1400));
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.error,
                AllOf(HasSubstr("error: kept: cannot be written"), HasSubstr("other files of this bake")));
    EXPECT_FALSE(fs::exists(folder.file("kept")));
}

TEST(Space, GivenAsMuchAsTheOutputTakes_BakeRuns) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, {"--shade", "none"}, {"--no-indirect"}, {"--compress", "draco"}})
        for (const char* scene : {"box.gltf", "out.glb"}) { // the second one has results
            std::vector<std::string> arguments = {scene, "-qo", "out.glb", "--shadow-quality", "0", "--gather-quality",
                                                  "0"};
            arguments.insert(arguments.end(), options.begin(), options.end());
            ASSERT_EQ(runBake(folder.path, arguments).exitCode, 0);
            const std::uint64_t size = fs::file_size(folder.path / "out.glb");
            arguments[2] = "again.glb";
            const ktBakeResult result = runBake(folder.path, arguments, withFreeBytes(size));
            EXPECT_EQ(result.exitCode, 0) << result.error;
        }
}
#endif
