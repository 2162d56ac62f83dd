// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs the examples that bake many scenes with xargs, make and Slurm's job arrays.
#include "ktBakeProcess.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

/// A folder with three scenes, of which one has a name with spaces, and their list.
class SchedulerExample : public testing::Test {
protected:
    ktTestFolder folder;

    void SetUp() override {
        fs::create_directory(folder.path / "scenes");
        for (const char* name : {"a.glb", "b b.glb", "c.glb"})
            fs::copy_file(model("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"), folder.path / "scenes" / name);
        folder.write("list.txt", "# three\nscenes/a.glb\n\nscenes/b b.glb\nscenes/c.glb\n");
    }

    /// Runs a shell command in the folder. @return exit code
    int run(const std::string& command) const {
        const std::string environment = "export KTBAKE='" KT_BAKE "' KT_PREFERENCES_DIR='" +
                                        folder.file("preferences/") + "' SCRIPTS='" KT_EXAMPLES "/ManyScenes'; ";
        // Tests run one process a test. NOLINTNEXTLINE(concurrency-mt-unsafe)
        const int status = std::system(
            ("cd '" + folder.path.string() + "' && { " + environment + command + "; } >log.txt 2>&1").c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string log() const { return readFile(folder.path / "log.txt"); }
    bool isBaked(const std::string& name) const { return fs::exists(folder.path / "baked" / (name + "-baked.glb")); }
};

const std::string options = " --shadow-quality 0 --no-indirect";

} // namespace

TEST_F(SchedulerExample, GivenXargs_BakesAllAndTellsOfFailures) {
    EXPECT_EQ(run("JOBS=2 $SCRIPTS/xargs.sh list.txt baked" + options), 0) << log();
    EXPECT_TRUE(isBaked("a") && isBaked("b b") && isBaked("c")) << log();
    folder.write("scenes/broken.glb", "no scene");
    folder.write("list.txt", "scenes/broken.glb\nscenes/a.glb\n");
    EXPECT_EQ(run("$SCRIPTS/xargs.sh list.txt baked" + options), 1) << log();
    EXPECT_NE(log().find("scenes/a.glb: up to date"), std::string::npos) << log();
}

TEST_F(SchedulerExample, GivenMake_BakesWhatIsOutOfDate) {
    fs::remove(folder.path / "scenes/b b.glb"); // make divides names at spaces
    const std::string make = "make -f $SCRIPTS/scenes.mk OPTIONS='" + options + "'";
    EXPECT_EQ(run(make), 0) << log();
    EXPECT_TRUE(isBaked("a") && isBaked("c")) << log();
    EXPECT_EQ(run(make + " --question"), 0) << log();
    fs::remove(folder.path / "baked/a-baked.glb");
    EXPECT_EQ(run(make + " --question"), 1) << log();
}

TEST_F(SchedulerExample, GivenTasksOfAJobArray_ShareTheScenes) {
    const std::string task = "SLURM_ARRAY_TASK_MIN=1 SLURM_ARRAY_TASK_COUNT=2 SLURM_CPUS_PER_TASK=1 $SCRIPTS/slurm.sh "
                             "list.txt baked" +
                             options;
    EXPECT_EQ(run("SLURM_ARRAY_TASK_ID=1 " + task), 0) << log();
    const bool has[] = {isBaked("a"), isBaked("b b"), isBaked("c")};
    EXPECT_EQ(has[0] + has[1] + has[2], 1) << log();
    EXPECT_EQ(run("SLURM_ARRAY_TASK_ID=2 " + task), 0) << log();
    EXPECT_TRUE(isBaked("a") && isBaked("b b") && isBaked("c")) << log();
}
