// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktHouseTree.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

ktHouseFile makeFile(const std::string& path, std::vector<std::string> lines) {
    lines.insert(lines.begin(), "// SPDX-License-Identifier: LGPL-2.1-or-later");
    return {path, std::move(lines)};
}

/// What the include rules say of one file in a small house that has a header in each folder.
std::vector<std::string> includeBreaches(const std::string& path, const std::string& line) {
    return findIncludeBreaches({makeFile("OpenSG/OSGNode.h", {}), makeFile("Host/Include/ktLog.h", {}),
                                makeFile("Host/Core/ktUndo.h", {}), makeFile("AmbientOcclusion/ktPlugin.h", {}),
                                makeFile(path, {line})},
                               KT_QT_INCLUDE_DIR);
}

std::vector<std::string> textBreaches(const std::string& path, const std::string& line) {
    return findTextBreaches({makeFile(path, {line})});
}

} // namespace

TEST(House, GivenThisProject_FindsItsFolders) {
    const auto house = readHouse(KT_SOURCE_DIR);
    for (const char* folder : {"OpenSG/", "Host/Include/", "AmbientOcclusion/", "Apps/", "Tests/House/", ".ci/"})
        EXPECT_TRUE(std::any_of(house.begin(), house.end(), [&](const auto& file) { return file.isBelow(folder); }))
            << folder;
}

TEST(House, GivenThisProject_KeepsItsArrows) {
    EXPECT_THAT(findIncludeBreaches(readHouse(KT_SOURCE_DIR), KT_QT_INCLUDE_DIR), IsEmpty());
}

TEST(House, GivenThisProject_KeepsItsTextRules) {
    EXPECT_THAT(findTextBreaches(readHouse(KT_SOURCE_DIR)), IsEmpty());
}

TEST(House, GivenBadFileOnDisk_NamesFileAndLine) {
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "ktHouseTest";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder / "AmbientOcclusion");
    std::filesystem::create_directories(folder / "build");
    std::ofstream(folder / "AmbientOcclusion" / "ktBad.cpp")
        << "// SPDX-License-Identifier: LGPL-2.1-or-later\n#include <embree3/rtcore.h>\n";
    std::ofstream(folder / "build" / "generated.cpp") << "no licence line\n";

    const auto house = readHouse(folder);
    EXPECT_THAT(findIncludeBreaches(house, KT_QT_INCLUDE_DIR),
                ElementsAre("AmbientOcclusion/ktBad.cpp:2: Embree is not used here: embree3/rtcore.h"));
    EXPECT_THAT(findTextBreaches(house), IsEmpty());
    std::filesystem::remove_all(folder);
}

TEST(HouseIncludes, GivenArrowAgainstTheOrder_IsABreach) {
    EXPECT_THAT(includeBreaches("OpenSG/OSGBad.cpp", "#include \"ktLog.h\""), ElementsAre(HasSubstr("does not see")));
    EXPECT_THAT(includeBreaches("Host/Include/ktBad.h", "#include \"ktUndo.h\""),
                ElementsAre(HasSubstr("does not see")));
    EXPECT_THAT(includeBreaches("Host/Core/ktBad.cpp", "#include \"ktPlugin.h\""),
                ElementsAre(HasSubstr("does not see")));
    EXPECT_THAT(includeBreaches("AmbientOcclusion/ktBad.cpp", "#include \"ktUndo.h\""),
                ElementsAre(HasSubstr("does not see")));
}

TEST(HouseIncludes, GivenArrowBetweenRoomsAgainstTheOrder_IsABreach) {
    const auto breaches = [](const std::string& path, const std::string& header) {
        return findIncludeBreaches(
            {makeFile(header, {}), makeFile(path, {"#include \"" + header.substr(header.rfind('/') + 1) + "\""})},
            KT_QT_INCLUDE_DIR);
    };
    EXPECT_THAT(breaches("Host/Raytracing/Scene/ktBad.cpp", "Host/Raytracing/Light/ktPass.h"),
                ElementsAre("Host/Raytracing/Scene/ktBad.cpp:2: Host/Raytracing/Scene/ does not see "
                            "Host/Raytracing/Light/ktPass.h"));
    EXPECT_THAT(breaches("Host/Files/Gltf/ktBad.h", "Host/Files/Read/ktScene.h"), testing::SizeIs(1));
    EXPECT_THAT(breaches("Host/Raytracing/Light/ktBad.cpp", "Host/Raytracing/Hemisphere/Build/ktTree.h"),
                testing::SizeIs(1));
    EXPECT_THAT(breaches("Host/Raytracing/Light/ktGood.cpp", "Host/Raytracing/Scene/ktView.h"), IsEmpty());
    EXPECT_THAT(breaches("Host/Files/Read/ktGood.cpp", "Host/Files/Gltf/ktJson.h"), IsEmpty());
}

TEST(HouseIncludes, GivenRoomWithoutARow_IsABreach) {
    EXPECT_THAT(includeBreaches("Host/Raytracing/Attic/ktBad.cpp", "#include <vector>"),
                ElementsAre(HasSubstr("has no row")));
}

TEST(HouseRooms, GivenThisProject_HasSmallRoomsWithReadmes) {
    EXPECT_THAT(findRoomBreaches(readHouse(KT_SOURCE_DIR)), IsEmpty());
}

TEST(HouseRooms, GivenFullRoom_IsABreach) {
    std::vector<ktHouseFile> house = {makeFile("Host/Core/README.md", {})};
    for (int i = 0; i < 24; ++i)
        house.push_back(makeFile("Host/Core/kt" + std::to_string(i) + ".h", {}));
    EXPECT_THAT(findRoomBreaches(house), IsEmpty());
    house.push_back(makeFile("Host/Core/Room/README.md", {}));
    EXPECT_THAT(findRoomBreaches(house), ElementsAre("Host/Core/:1: 26 entries, more than 25"));
}

TEST(HouseRooms, GivenMissingOrLongReadme_IsABreach) {
    ktHouseFile readme = makeFile("Host/Core/README.md", {});
    EXPECT_THAT(findRoomBreaches({makeFile("Host/Core/ktLog.cpp", {})}), ElementsAre(HasSubstr("no README.md")));
    readme.lines.resize(16);
    EXPECT_THAT(findRoomBreaches({readme}), ElementsAre(HasSubstr("over 15 lines")));
}

TEST(HouseIncludes, GivenArrowAlongTheOrder_IsNoBreach) {
    EXPECT_THAT(includeBreaches("Host/Core/ktGood.cpp", "#include <OpenSG/OSGNode.h>"), IsEmpty());
    EXPECT_THAT(includeBreaches("AmbientOcclusion/ktGood.cpp", "#include \"ktLog.h\""), IsEmpty());
    EXPECT_THAT(includeBreaches("Apps/Bake/ktGood.cpp", "#include \"ktPlugin.h\""), IsEmpty());
}

TEST(HouseIncludes, GivenLibraryOutsideItsFolder_IsABreach) {
    for (const char* header : {"embree3/rtcore.h", "tbb/parallel_for.h", "nlohmann/json.hpp", "assimp/scene.h",
                               "boost/python.hpp", "Python.h", "QWidget", "QtWidgets/QLabel"})
        EXPECT_THAT(includeBreaches("Host/Core/ktBad.cpp", "#include <" + std::string(header) + ">"),
                    testing::SizeIs(1))
            << header;
}

TEST(HouseIncludes, GivenLibraryInItsFolder_IsNoBreach) {
    EXPECT_THAT(includeBreaches("Host/Raytracing/Embree/ktGood.cpp", "#include <embree3/rtcore.h>"), IsEmpty());
    EXPECT_THAT(includeBreaches("Host/Raytracing/Threads/ktGood.cpp", "#include <tbb/tbb.h>"), IsEmpty());
    EXPECT_THAT(includeBreaches("Host/Files/Gltf/ktGood.cpp", "#include <nlohmann/json.hpp>"), IsEmpty());
    EXPECT_THAT(includeBreaches("Host/Core/ktGood.cpp", "#include <QUndoStack>"), IsEmpty());
    EXPECT_THAT(includeBreaches("AmbientOcclusion/ktAmbientOcclusionPython.cpp", "#include <boost/python.hpp>"),
                IsEmpty());
}

TEST(HouseIncludes, GivenPathInQuotes_IsABreach) {
    EXPECT_THAT(includeBreaches("Host/Core/ktBad.cpp", "#include \"Core/ktUndo.h\""),
                ElementsAre(HasSubstr("by bare name")));
}

TEST(HouseText, GivenForbiddenWord_IsABreach) {
    // Taken apart, as in the rules themselves.
    for (const std::string& line :
         {std::string("see spec") + ".md", std::string("as Part") + " 2.1 says", std::string("open(\"/") + "work/x\")",
          std::string("// TO") + "DO: later", std::string("GTEST_") + "SKIP();",
          std::string("http://mirror.example/") + "debian"})
        EXPECT_THAT(textBreaches("Host/Core/ktBad.cpp", line), testing::SizeIs(1)) << line;
}

TEST(HouseText, GivenOrdinaryWords_IsNoBreach) {
    for (const char* line : {"// part of a whole", "specular = 1", "build/work/file", "Part of the scene"})
        EXPECT_THAT(textBreaches("Host/Core/ktGood.cpp", line), IsEmpty()) << line;
}

TEST(HouseText, GivenFileWithoutLicenceLine_IsABreach) {
    EXPECT_THAT(findTextBreaches({{"cmake/ktBad.cmake", {"# nothing"}}}), ElementsAre(HasSubstr("SPDX")));
}

TEST(HouseText, GivenLongFile_NeedsAReason) {
    ktHouseFile file = makeFile("Host/Core/ktLong.cpp", {});
    file.lines.resize(601);
    EXPECT_THAT(findTextBreaches({file}), ElementsAre(HasSubstr("over 600 lines")));
    file.lines[1] = "// Over 600 lines because it is one table.";
    EXPECT_THAT(findTextBreaches({file}), IsEmpty());
}

TEST(HouseText, GivenWrongPrefix_IsABreach) {
    EXPECT_THAT(textBreaches("Host/Core/Log.cpp", ""), ElementsAre(HasSubstr("begin with kt")));
    EXPECT_THAT(textBreaches("OpenSG/Node.h", ""), ElementsAre(HasSubstr("begin with OSG")));
}
