// SPDX-License-Identifier: LGPL-2.1-or-later
// Importing files that are not glTF, in a process with limits.
#include "ktFileError.h"
#include "ktLimitedProcess.h"
#include "ktSavedScene.h"
#include "OSGUberMaterial.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <linux/landlock.h>
#include <QDir>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

const char* const cube = "mtllib a.mtl\no box\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\n"
                         "vt 0 0\nvt 1 1\nusemtl red\nf 1/1 4/1 3/1 2/1\nf 5/2 6/2 7/2 8/2\n";

bool hasLandlock() {
    return syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) >= 1;
}

std::string failureOf(const std::function<void(ktByteSink&)>& work, const ktProcessLimits& limits) {
    try {
        ktRunLimited(limits, work);
        return std::string();
    } catch (const ktFileError& error) {
        return error.reason();
    }
}

} // namespace

TEST(Import, GivenObj_BecomesGltf) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("a.obj"), cube);
    ktWriteTestFile(folder.path("a.mtl"), "newmtl red\nKd 1 0.5 0\nd 0.5\nmap_Kd C:\\somewhere\\a.png\n");
    ktWriteTestFile(folder.path("a.png"), "\x89PNG not really");
    const auto file = ktOpenTestScene(folder.path("a.obj"));
    const auto seen = ktGeometriesOf(*file);
    ASSERT_THAT(seen, SizeIs(1));
    EXPECT_THAT(ktPositionsOf(seen[0].geometry), SizeIs(8));
    EXPECT_THAT(ktTrianglesOf(seen[0].geometry), SizeIs(12));
    const auto material = osg::UberMaterialPtr::dcast(seen[0].geometry->getMaterial());
    EXPECT_EQ(material->getColor(), osg::Color3f(1, 0.5f, 0));
    EXPECT_TRUE(material->isTransparent());
    EXPECT_TRUE(material->getDoubleSided());
    EXPECT_NEAR(file->getUnit_mm() * std::sqrt(3.0), 3000.0, 0.01) << "OBJ files have no unit";

    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    const ktJson json = ktJsonOfFile(folder.path("out.glb"));
    EXPECT_EQ(json["images"][0]["mimeType"], "image/png") << "found next to the file and embedded";
    EXPECT_TRUE(json["meshes"][0]["primitives"][0]["attributes"].contains("_AO"));
    ktSaveTestScene(*file, folder.path("out.gltf"));
    EXPECT_EQ(ktJsonOfFile(folder.path("out.gltf"))["images"][0]["uri"], "a.png");
}

TEST(Import, GivenBrokenFile_SaysSo) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("a.obj"), "f 1 2 99999\n");
    EXPECT_THAT(ktOpeningSays(folder.path("a.obj")), ElementsAre(HasSubstr("a.obj: cannot be imported: ")));
    ktWriteTestFile(folder.path("a.stl"), "solid without anything in it\nendsolid\n");
    EXPECT_THAT(ktOpeningSays(folder.path("a.stl")), SizeIs(1));
}

TEST(Import, GivenMaterialsInAPipe_IgnoresThem) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("a.obj"), cube);
    ASSERT_EQ(mkfifo(folder.path("a.mtl").toStdString().c_str(), 0600), 0);
    EXPECT_THAT(ktGeometriesOf(*ktOpenTestScene(folder.path("a.obj"))), SizeIs(1));
}

TEST(Import, GivenFileThatAsksForAllMemory_IsRefusedQuickly) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("a.off"), "OFF\n353535235358 6 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
    EXPECT_THAT(ktOpeningSays(folder.path("a.off")), ElementsAre(HasSubstr("a.off: cannot be imported: ")));
}

TEST(Import, GivenCollada_UsesItsUnit) {
    const ktTestFolder folder;
    const std::string dae =
        R"(<?xml version="1.0"?><COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit meter="0.01" name="centimeter"/><up_axis>Z_UP</up_axis></asset>
<library_geometries><geometry id="g"><mesh><source id="p"><float_array id="a" count="9">0 0 0 100 0 0 0 0 100</float_array>
<technique_common><accessor source="#a" count="3" stride="3"><param name="X" type="float"/><param name="Y" type="float"/>
<param name="Z" type="float"/></accessor></technique_common></source><vertices id="v"><input semantic="POSITION" source="#p"/>
</vertices><triangles count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p></triangles></mesh></geometry>
</library_geometries><library_visual_scenes><visual_scene id="s"><node id="n" name="n"><instance_geometry url="#g"/></node>
</visual_scene></library_visual_scenes><scene><instance_visual_scene url="#s"/></scene></COLLADA>)";
    ktWriteTestFile(folder.path("a.dae"), dae);
    const auto file = ktOpenTestScene(folder.path("a.dae"));
    EXPECT_EQ(file->getUnit_mm(), 1000.0) << "converted to metres";
    const auto seen = ktGeometriesOf(*file);
    ASSERT_THAT(seen, SizeIs(1));
    float height = 0.0f;
    for (const osg::Pnt3f& position : ktPositionsOf(seen[0].geometry)) {
        osg::Pnt3f world;
        seen[0].toWorld.mult(position, world);
        height = std::max(height, world[1]);
    }
    EXPECT_NEAR(height, 1000.0f, 0.01f) << "one metre along y";
}

TEST(LimitedProcess, GivenWork_ReturnsItsBytes) {
    const ktBytes bytes = ktRunLimited({std::size_t(1) << 30, 10, 60}, [](ktByteSink& sink) {
        const std::string text(3000000, 'x');
        sink.write(text.data(), text.size());
        sink.write("end", 3);
    });
    ASSERT_EQ(bytes.size(), 3000003u);
    EXPECT_EQ(bytes.back(), 'd');
}

TEST(LimitedProcess, GivenCrash_EndsOnlyTheChildProcess) {
    const ktProcessLimits limits = {std::size_t(1) << 30, 10, 60};
    EXPECT_THAT(failureOf([](ktByteSink&) { std::abort(); }, limits), HasSubstr("the importer failed on it"));
    EXPECT_THAT(failureOf([](ktByteSink&) { throw 1; }, limits), HasSubstr("the importer failed on it"));
    EXPECT_THAT(failureOf([](ktByteSink&) { throw std::bad_alloc(); }, limits), HasSubstr("too much memory"));
}

TEST(LimitedProcess, GivenFoldersToRead_OpensNoOtherFilesAndNoNetwork) {
    const ktTestFolder folder, other;
    ktWriteTestFile(folder.path("inside"), "x");
    ktWriteTestFile(other.path("outside"), "x");
    ktProcessLimits limits = {std::size_t(1) << 30, 10, 60, {folder.root().toStdString()}};
    const auto tryAll = [&](ktByteSink& sink) {
        const auto tell = [&sink](int result) { sink.write(result < 0 ? "-" : "+", 1); };
        tell(open(folder.path("inside").toLocal8Bit(), O_RDONLY | O_CLOEXEC));
        tell(socket(AF_INET, SOCK_STREAM, 0));
        tell(socket(AF_UNIX, SOCK_STREAM, 0));
        tell(open(other.path("outside").toLocal8Bit(), O_RDONLY | O_CLOEXEC));
        tell(open("/etc/passwd", O_RDONLY | O_CLOEXEC));
        tell(open(folder.path("inside").toLocal8Bit(), O_WRONLY | O_CLOEXEC));
        tell(open(folder.path("new").toLocal8Bit(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        tell(unlink(folder.path("inside").toLocal8Bit()));
    };
    const ktBytes answer = ktRunLimited(limits, tryAll);
    const std::string found(answer.begin(), answer.end());
    EXPECT_EQ(found.substr(0, 3), "+--") << "reads inside, has no network";
    EXPECT_EQ(found.substr(3), hasLandlock() ? "-----" : "+++++") << "no other files, and no changes";
}

TEST(LimitedProcess, GivenOpenDescriptors_ClosesThem) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const ktBytes answer = ktRunLimited({std::size_t(1) << 30, 10, 60}, [&](ktByteSink& sink) {
        sink.write(fcntl(ends[1], F_GETFD) < 0 ? "closed" : "open", 4);
    });
    close(ends[0]);
    close(ends[1]);
    EXPECT_EQ(std::string(answer.begin(), answer.end()), "clos");
}

TEST(Import, GivenMaterialsOutsideTheFolder_SaysThatTheyAreNotRead) {
    const ktTestFolder folder;
    ASSERT_TRUE(QDir(folder.root()).mkdir("scene"));
    ktWriteTestFile(folder.path("outside.mtl"), "newmtl red\nKd 1 0 0\n");
    ktWriteTestFile(folder.path("scene/a.obj"),
                    "mtllib ../outside.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\nf 1 2 3\n");
    const auto isWarning = HasSubstr("outside.mtl: is outside the scene's folder and was not read");
    const std::vector<std::string> said = ktOpeningSays(folder.path("scene/a.obj"));
    const bool isSaid = std::any_of(said.begin(), said.end(),
                                    [&](const std::string& text) { return testing::Matches(isWarning)(text); });
    EXPECT_EQ(isSaid, hasLandlock()) << "without Landlock, the file is read";
}

TEST(LimitedProcess, GivenEndlessLoop_IsEnded) {
    const std::string reason = failureOf(
        [](ktByteSink&) {
            for (volatile unsigned i = 0;; i = i + 1) {
            }
        },
        {std::size_t(1) << 30, 1, 60});
    EXPECT_THAT(reason, HasSubstr("took too long"));
}

TEST(LimitedProcess, GivenEndlessWait_IsEnded) {
    const ktProcessLimits limits = {std::size_t(1) << 30, 10, 1};
    EXPECT_THAT(failureOf([](ktByteSink&) { pause(); }, limits), HasSubstr("took too long"));
    // A program that uses the host may have blocked signals.
    sigset_t all, before;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before);
    const std::string reason = failureOf([](ktByteSink&) { pause(); }, limits);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    EXPECT_THAT(reason, HasSubstr("took too long"));
}
