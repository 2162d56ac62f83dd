// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests that the project's files keep the rules for includes, folders and text, and tests these checks.
#include "ktHouseTree.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

ktHouseFile makeFile(const std::string& path, std::vector<std::string> lines) {
    lines.insert(lines.begin(), {"// SPDX-License-Identifier: LGPL-2.1-or-later", "// Does what its name says."});
    return {path, std::move(lines)};
}

/// Violations of the include rules by one file, in a small project with a header in each folder.
std::vector<std::string> includeViolations(const std::string& path, const std::string& line) {
    return findIncludeViolations({makeFile("OpenSG/OSGNode.h", {}), makeFile("Host/Include/ktLog.h", {}),
                                  makeFile("Host/Core/ktUndo.h", {}), makeFile("AmbientOcclusion/ktPlugin.h", {}),
                                  makeFile(path, {line})},
                                 KT_QT_INCLUDE_DIR);
}

std::vector<std::string> textViolations(const std::string& path, const std::string& line) {
    return findTextViolations({makeFile(path, {line})});
}

} // namespace

TEST(House, GivenThisProject_FindsItsFolders) {
    const auto files = readProject(KT_SOURCE_DIR);
    for (const char* folder : {"OpenSG/", "Host/Include/", "AmbientOcclusion/", "Apps/", "Tests/House/", ".ci/"})
        EXPECT_TRUE(std::any_of(files.begin(), files.end(), [&](const auto& file) { return file.isBelow(folder); }))
            << folder;
}

TEST(House, GivenThisProject_KeepsItsArrows) {
    EXPECT_THAT(findIncludeViolations(readProject(KT_SOURCE_DIR), KT_QT_INCLUDE_DIR), IsEmpty());
}

TEST(House, GivenThisProject_KeepsItsTextRules) {
    EXPECT_THAT(findTextViolations(readProject(KT_SOURCE_DIR)), IsEmpty());
}

TEST(House, GivenBadFileOnDisk_NamesFileAndLine) {
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "ktHouseTest";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder / "AmbientOcclusion");
    std::filesystem::create_directories(folder / "build");
    std::ofstream(folder / "AmbientOcclusion" / "ktBad.cpp")
        << "// SPDX-License-Identifier: LGPL-2.1-or-later\n// Traces.\n#include <embree3/rtcore.h>\n";
    std::ofstream(folder / "build" / "generated.cpp") << "no licence line\n";

    const auto files = readProject(folder);
    EXPECT_THAT(findIncludeViolations(files, KT_QT_INCLUDE_DIR),
                ElementsAre("AmbientOcclusion/ktBad.cpp:3: files in this folder may not include headers of Embree: "
                            "embree3/rtcore.h"));
    EXPECT_THAT(findTextViolations(files), IsEmpty());
    std::filesystem::remove_all(folder);
}

TEST(HouseIncludes, GivenArrowAgainstTheOrder_IsReported) {
    EXPECT_THAT(includeViolations("OpenSG/OSGBad.cpp", "#include \"ktLog.h\""),
                ElementsAre(HasSubstr("may not include")));
    EXPECT_THAT(includeViolations("Host/Include/ktBad.h", "#include \"ktUndo.h\""),
                ElementsAre(HasSubstr("may not include")));
    EXPECT_THAT(includeViolations("Host/Core/ktBad.cpp", "#include \"ktPlugin.h\""),
                ElementsAre(HasSubstr("may not include")));
    EXPECT_THAT(includeViolations("AmbientOcclusion/ktBad.cpp", "#include \"ktUndo.h\""),
                ElementsAre(HasSubstr("may not include")));
}

TEST(HouseIncludes, GivenArrowBetweenRoomsAgainstTheOrder_IsReported) {
    const auto violations = [](const std::string& path, const std::string& header) {
        return findIncludeViolations(
            {makeFile(header, {}), makeFile(path, {"#include \"" + header.substr(header.rfind('/') + 1) + "\""})},
            KT_QT_INCLUDE_DIR);
    };
    EXPECT_THAT(violations("Host/Raytracing/Scene/ktBad.cpp", "Host/Raytracing/Light/ktPass.h"),
                ElementsAre("Host/Raytracing/Scene/ktBad.cpp:3: files in Host/Raytracing/Scene/ may not include "
                            "Host/Raytracing/Light/ktPass.h"));
    EXPECT_THAT(violations("Host/Files/Gltf/ktBad.h", "Host/Files/Read/ktScene.h"), testing::SizeIs(1));
    EXPECT_THAT(violations("Host/Raytracing/Light/ktBad.cpp", "Host/Raytracing/Hemisphere/Build/ktTree.h"),
                testing::SizeIs(1));
    EXPECT_THAT(violations("Host/Raytracing/Light/ktGood.cpp", "Host/Raytracing/Scene/ktView.h"), IsEmpty());
    EXPECT_THAT(violations("Host/Files/Read/ktGood.cpp", "Host/Files/Gltf/ktJson.h"), IsEmpty());
}

TEST(HouseIncludes, GivenRoomWithoutARow_IsReported) {
    EXPECT_THAT(includeViolations("Host/Raytracing/Attic/ktBad.cpp", "#include <vector>"),
                ElementsAre(HasSubstr("has no row")));
}

TEST(HouseRooms, GivenThisProject_HasSmallRoomsWithReadmes) {
    EXPECT_THAT(findRoomViolations(readProject(KT_SOURCE_DIR)), IsEmpty());
}

TEST(HouseRooms, GivenFullRoom_IsReported) {
    std::vector<ktHouseFile> files = {makeFile("Host/Core/README.md", {})};
    for (int i = 0; i < 24; ++i)
        files.push_back(makeFile("Host/Core/kt" + std::to_string(i) + ".h", {}));
    EXPECT_THAT(findRoomViolations(files), IsEmpty());
    files.push_back(makeFile("Host/Core/Room/README.md", {}));
    EXPECT_THAT(findRoomViolations(files), ElementsAre("Host/Core/:1: 26 entries, more than 25"));
}

TEST(HouseRooms, GivenMissingOrLongReadme_IsReported) {
    ktHouseFile readme = makeFile("Host/Core/README.md", {});
    EXPECT_THAT(findRoomViolations({makeFile("Host/Core/ktLog.cpp", {})}), ElementsAre(HasSubstr("no README.md")));
    readme.lines.resize(16);
    EXPECT_THAT(findRoomViolations({readme}), ElementsAre(HasSubstr("over 15 lines")));
}

TEST(HouseIncludes, GivenArrowAlongTheOrder_IsAccepted) {
    EXPECT_THAT(includeViolations("Host/Core/ktGood.cpp", "#include <OpenSG/OSGNode.h>"), IsEmpty());
    EXPECT_THAT(includeViolations("AmbientOcclusion/ktGood.cpp", "#include \"ktLog.h\""), IsEmpty());
    EXPECT_THAT(includeViolations("Apps/Bake/ktGood.cpp", "#include \"ktPlugin.h\""), IsEmpty());
}

TEST(HouseIncludes, GivenLibraryOutsideItsFolder_IsReported) {
    for (const char* header : {"embree3/rtcore.h", "Eigen/SparseCore", "tbb/parallel_for.h", "nlohmann/json.hpp",
                               "assimp/scene.h", "boost/python.hpp", "Python.h", "QWidget", "QtWidgets/QLabel"})
        EXPECT_THAT(includeViolations("Host/Core/ktBad.cpp", "#include <" + std::string(header) + ">"),
                    testing::SizeIs(1))
            << header;
}

TEST(HouseIncludes, GivenLibraryInItsFolder_IsAccepted) {
    EXPECT_THAT(includeViolations("Host/Raytracing/Embree/ktGood.cpp", "#include <embree3/rtcore.h>"), IsEmpty());
    EXPECT_THAT(includeViolations("Host/Raytracing/Threads/ktGood.cpp", "#include <tbb/tbb.h>"), IsEmpty());
    EXPECT_THAT(includeViolations("Host/Files/Gltf/ktGood.cpp", "#include <nlohmann/json.hpp>"), IsEmpty());
    EXPECT_THAT(includeViolations("Host/Core/ktGood.cpp", "#include <QUndoStack>"), IsEmpty());
    EXPECT_THAT(includeViolations("AmbientOcclusion/ktAmbientOcclusionPython.cpp", "#include <boost/python.hpp>"),
                IsEmpty());
    EXPECT_THAT(includeViolations("Apps/Studio/Viewport/ktGood.cpp", "#include <QWidget>"), IsEmpty());
}

TEST(HouseIncludes, GivenPathInQuotes_IsReported) {
    EXPECT_THAT(includeViolations("Host/Core/ktBad.cpp", "#include \"Core/ktUndo.h\""),
                ElementsAre(HasSubstr("by bare name")));
}

TEST(HouseText, GivenBannedText_IsReported) {
    // Split into pieces, so that the rules do not match this file.
    for (const std::string& line :
         {std::string("open(\"/") + "work/x\")", std::string("// TO") + "DO: later", std::string("GTEST_") + "SKIP();",
          std::string("http://mirror.example/") + "debian"})
        EXPECT_THAT(textViolations("Host/Core/ktBad.cpp", line), testing::SizeIs(1)) << line;
}

TEST(HouseText, GivenWhatOnlyOurSceneGraphHas_IsReportedOutsideIt) {
    // Split into pieces, so that the rules do not match this file.
    for (const std::string& line :
         {std::string("points->") + "editFieldPtr();", std::string("geometry->") + "editMFPositions();",
          std::string("osg::osg") + "Init();", std::string("matrix.") + "mult3x3(vector);",
          std::string("osg::tra") + "verse(root, [](osg::NodePtr&) {});"}) {
        EXPECT_THAT(textViolations("Host/Core/ktBad.cpp", line), ElementsAre(HasSubstr("OpenSG 1.8"))) << line;
        EXPECT_THAT(textViolations("Tests/OpenSG/BadTest.cpp", line), testing::SizeIs(1)) << line;
        EXPECT_THAT(textViolations("OpenSG/OSGGood.cpp", line), IsEmpty()) << line;
        EXPECT_THAT(textViolations("Tests/OpenSG/Own/GoodTest.cpp", line), IsEmpty()) << line;
    }
    for (const char* line : {"osg::osgInit(argc, argv);", "matrix.multFullMatrixPnt(point);", "settings->editMode();"})
        EXPECT_THAT(textViolations("Host/Core/ktGood.cpp", line), IsEmpty()) << line;
}

TEST(HouseText, GivenOrdinaryWords_IsAccepted) {
    for (const char* line : {"build/work/file", "// DISABLED by the user", "https://example.com/page"})
        EXPECT_THAT(textViolations("Host/Core/ktGood.cpp", line), IsEmpty()) << line;
}

TEST(HouseText, GivenFileWithoutLicenceLine_IsReported) {
    EXPECT_THAT(findTextViolations({{"cmake/ktBad.cmake", {"# nothing"}}}), ElementsAre(HasSubstr("SPDX")));
}

TEST(HouseText, GivenSourceWithoutPurposeLine_IsReported) {
    EXPECT_THAT(findTextViolations({{"Host/Core/ktBad.cpp", {"// SPDX-License-Identifier: LGPL-2.1-or-later"}}}),
                ElementsAre(HasSubstr("what the file is for")));
}

TEST(HouseText, GivenLongFile_NeedsAReason) {
    ktHouseFile file = makeFile("Host/Core/ktLong.cpp", {});
    file.lines.resize(601);
    EXPECT_THAT(findTextViolations({file}), ElementsAre(HasSubstr("over 600 lines")));
    file.lines[2] = "// Over 600 lines because it is one table.";
    EXPECT_THAT(findTextViolations({file}), IsEmpty());
}

TEST(HouseText, GivenWrongPrefix_IsReported) {
    EXPECT_THAT(textViolations("Host/Core/Log.cpp", ""), ElementsAre(HasSubstr("begin with kt")));
    EXPECT_THAT(textViolations("OpenSG/Node.h", ""), ElementsAre(HasSubstr("begin with OSG")));
}
