// SPDX-License-Identifier: LGPL-2.1-or-later
// Parts that are inside out, and normals that contradict the triangles.
#include "ktSavedScene.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// A box: eight corners, twelve triangles that face outwards.
struct Box {
    explicit Box(float size = 1, float from = 0) {
        for (int i = 0; i < 8; ++i)
            for (const int bit : {1, 2, 4})
                positions.push_back(i & bit ? from + size : from);
    }
    std::vector<float> positions;
    std::vector<std::uint16_t> triangles = {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4,
                                            2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5};

    Box turned() const {
        Box out = *this;
        for (std::size_t i = 0; i < triangles.size(); i += 3)
            std::swap(out.triangles[i + 1], out.triangles[i + 2]);
        return out;
    }
    /// Along the diagonals, away from the middle; times `sign`.
    std::vector<float> normals(float sign) const {
        std::vector<float> out;
        const float third = std::sqrt(1.0f / 3.0f);
        for (int i = 0; i < 8; ++i)
            for (const int bit : {1, 2, 4})
                out.push_back(i & bit ? sign * third : -sign * third);
        return out;
    }
    /// Both in one, with vertices apart.
    Box with(const Box& other) const {
        Box out = *this;
        out.positions.insert(out.positions.end(), other.positions.begin(), other.positions.end());
        for (const std::uint16_t index : other.triangles)
            out.triangles.push_back(static_cast<std::uint16_t>(index + positions.size() / 3));
        return out;
    }
    std::string off() const {
        std::string text =
            "OFF\n" + std::to_string(positions.size() / 3) + " " + std::to_string(triangles.size() / 3) + " 0\n";
        for (std::size_t i = 0; i < positions.size(); i += 3)
            text += std::to_string(positions[i]) + " " + std::to_string(positions[i + 1]) + " " +
                    std::to_string(positions[i + 2]) + "\n";
        for (std::size_t i = 0; i < triangles.size(); i += 3)
            text += "3 " + std::to_string(triangles[i]) + " " + std::to_string(triangles[i + 1]) + " " +
                    std::to_string(triangles[i + 2]) + "\n";
        return text;
    }
    /// With facet normals that agree with the triangles; times `sign`.
    std::string stl(float sign = 1) const {
        std::string text = "solid box\n";
        for (std::size_t i = 0; i < triangles.size(); i += 3) {
            osg::Vec3f p[3];
            for (std::size_t k = 0; k < 3; ++k)
                p[k] = osg::Vec3f(positions[3 * triangles[i + k]], positions[3 * triangles[i + k] + 1],
                                  positions[3 * triangles[i + k] + 2]);
            osg::Vec3f n = (p[1] - p[0]).cross(p[2] - p[0]);
            n.normalize();
            const auto line = [](const osg::Vec3f& v) {
                return std::to_string(v[0]) + " " + std::to_string(v[1]) + " " + std::to_string(v[2]) + "\n";
            };
            text += "facet normal " + line(n * sign) + "outer loop\n";
            for (const osg::Vec3f& point : p)
                text += "vertex " + line(point);
            text += "endloop\nendfacet\n";
        }
        return text + "endsolid box\n";
    }
};

const char* const insideOut =
    "/meshes/0: has closed parts that are inside out; they are turned to bake their outer side";
const char* const opposed = "/meshes/0: has closed parts whose normals contradict their triangles; their normals are "
                            "turned to bake them";
const char* const hidden =
    "/meshes/0: has closed parts that are inside out; viewers show only their inner side, so that is baked";

// The triangles, and the normals, that point away from the middle of all vertices.
struct Outward {
    std::size_t triangles = 0, normals = 0;
    bool operator==(const Outward& other) const { return triangles == other.triangles && normals == other.normals; }
};
void PrintTo(const Outward& outward, std::ostream* out) {
    *out << outward.triangles << " triangles, " << outward.normals << " normals";
}

Outward outwardOf(const osg::GeometryPtr& geometry) {
    const auto positions = ktPositionsOf(geometry);
    const auto normals = ktNormalsOf(geometry);
    const auto triangles = ktTrianglesOf(geometry);
    osg::Vec3f low(positions[0].getValues()), high = low;
    for (const osg::Pnt3f& point : positions)
        for (osg::UInt32 axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], point[axis]);
            high[axis] = std::max(high[axis], point[axis]);
        }
    const osg::Vec3f middle = (low + high) * 0.5f;
    Outward out;
    for (std::size_t i = 0; i < positions.size(); ++i)
        out.normals += (osg::Vec3f(positions[i].getValues()) - middle).dot(normals[i]) > 0;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        osg::Vec3f p[3];
        for (std::size_t k = 0; k < 3; ++k)
            p[k] = osg::Vec3f(positions[static_cast<std::size_t>(triangles[i + k])].getValues());
        out.triangles += (p[1] - p[0]).cross(p[2] - p[0]).dot(p[0] - middle) > 0;
    }
    return out;
}

class PartOrientation : public testing::Test {
protected:
    void writeGltf(const Box& box, float normals, bool isDoubleSided = false) {
        ktTestGltf gltf;
        ktJson primitive = {{"attributes", {{"POSITION", gltf.floats(box.positions, 3)}}},
                            {"indices", gltf.indices(box.triangles)},
                            {"material", 0}};
        if (normals != 0)
            primitive["attributes"]["NORMAL"] = gltf.floats(box.normals(normals), 3);
        gltf.json["materials"] = ktJson::array({{{"doubleSided", isDoubleSided}}});
        gltf.mesh(primitive);
        gltf.saveGlb(folder.path("in.glb"));
    }
    QString write(const char* name, const std::string& text) {
        ktWriteTestFile(folder.path(name), text);
        return folder.path(name);
    }
    static Outward open(const QString& path) { return outwardOf(ktGeometriesOf(*ktOpenTestScene(path))[0].geometry); }

    ktTestFolder folder;
};

} // namespace

TEST_F(PartOrientation, GivenOutwardFiles_AreSilentAndStay) {
    const Box box;
    for (const QString& path : {write("box.off", box.off()), write("box.stl", box.stl())}) {
        EXPECT_THAT(ktOpeningSays(path), IsEmpty());
        EXPECT_EQ(open(path), (Outward{12, 24}));
    }
    writeGltf(box, 1);
    EXPECT_THAT(ktOpeningSays(folder.path("in.glb")), IsEmpty());
    EXPECT_EQ(open(folder.path("in.glb")), (Outward{12, 8}));
}

TEST_F(PartOrientation, GivenInsideOutOffAndStl_AreTurnedAlsoInWhatIsWritten) {
    const Box box = Box().turned();
    for (const QString& path : {write("box.off", box.off()), write("box.stl", box.stl())}) {
        EXPECT_THAT(ktOpeningSays(path), ElementsAre(HasSubstr(insideOut))) << path.toStdString();
        EXPECT_THAT(ktOpeningSays(path), ElementsAre(HasSubstr("1 part, 12 triangles")));
        EXPECT_EQ(open(path), (Outward{12, 24})) << path.toStdString();
        const auto file = ktOpenTestScene(path);
        ktPretendToBake(*file);
        ktSaveTestScene(*file, folder.path("out.glb"));
        EXPECT_THAT(ktOpeningSays(folder.path("out.glb")), IsEmpty()) << path.toStdString();
        EXPECT_EQ(open(folder.path("out.glb")), (Outward{12, 24})) << path.toStdString();
    }
}

TEST_F(PartOrientation, GivenStlWithNormalsAgainstItsTriangles_TakesTheOuterSide) {
    const QString winding = write("winding.stl", Box().turned().stl(-1)), normals = write("normals.stl", Box().stl(-1));
    EXPECT_THAT(ktOpeningSays(winding), ElementsAre(HasSubstr(insideOut)));
    EXPECT_THAT(ktOpeningSays(normals), ElementsAre(HasSubstr(opposed)));
    EXPECT_EQ(open(winding), (Outward{12, 24}));
    EXPECT_EQ(open(normals), (Outward{12, 24}));
}

TEST_F(PartOrientation, GivenGltfWithNormalsInwards_TurnsThemForTheBakeOnly) {
    writeGltf(Box(), -1);
    EXPECT_THAT(ktOpeningSays(folder.path("in.glb")), ElementsAre(HasSubstr(opposed)));
    EXPECT_EQ(open(folder.path("in.glb")), (Outward{12, 8}));
    const auto file = ktOpenTestScene(folder.path("in.glb"));
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    const ktJson primitive = ktJsonOfFile(folder.path("out.glb"))["meshes"][0]["primitives"][0];
    EXPECT_EQ(ktAccessorOf(folder.path("out.glb"), primitive["attributes"]["NORMAL"]), Box().normals(-1));
    EXPECT_THAT(ktOpeningSays(folder.path("out.glb")), ElementsAre(HasSubstr(opposed)));
}

TEST_F(PartOrientation, GivenGltfWithTrianglesInwards_TurnsThemForTheBakeOnly) {
    writeGltf(Box().turned(), 1);
    EXPECT_THAT(ktOpeningSays(folder.path("in.glb")), ElementsAre(HasSubstr(insideOut)));
    EXPECT_EQ(open(folder.path("in.glb")), (Outward{12, 8}));
    const auto file = ktOpenTestScene(folder.path("in.glb"));
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    const ktJson primitive = ktJsonOfFile(folder.path("out.glb"))["meshes"][0]["primitives"][0];
    EXPECT_EQ(primitive["indices"], ktJsonOfFile(folder.path("in.glb"))["meshes"][0]["primitives"][0]["indices"]);
    EXPECT_THAT(ktOpeningSays(folder.path("out.glb")), ElementsAre(HasSubstr(insideOut)));
}

TEST_F(PartOrientation, GivenGltfWithoutNormals_FollowsWhatViewersShow) {
    writeGltf(Box().turned(), 0);
    EXPECT_THAT(ktOpeningSays(folder.path("in.glb")), ElementsAre(HasSubstr(hidden)));
    EXPECT_EQ(open(folder.path("in.glb")), (Outward{0, 0}));
    writeGltf(Box().turned(), 0, true);
    EXPECT_THAT(ktOpeningSays(folder.path("in.glb")), ElementsAre(HasSubstr(insideOut)));
    EXPECT_EQ(open(folder.path("in.glb")), (Outward{12, 24}));
    // The vertices are split, so the triangles are written again: as in the file.
    const auto file = ktOpenTestScene(folder.path("in.glb"));
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_THAT(ktOpeningSays(folder.path("out.glb")), ElementsAre(HasSubstr(insideOut)));
}

TEST_F(PartOrientation, GivenGltfThatFacesInwards_IsARoom) {
    writeGltf(Box().turned(), -1);
    EXPECT_THAT(ktOpeningSays(folder.path("in.glb")), IsEmpty());
    EXPECT_EQ(open(folder.path("in.glb")), (Outward{0, 0}));
}

TEST_F(PartOrientation, GivenThingsInside_IsARoomAndGivenWallsAroundIsACavity) {
    const QString room = write("room.off", Box().turned().with(Box(0.2f, 0.4f)).off());
    EXPECT_THAT(ktOpeningSays(room), IsEmpty());
    const QString hollow = write("hollow.off", Box().with(Box(0.2f, 0.4f).turned()).off());
    EXPECT_THAT(ktOpeningSays(hollow), IsEmpty());
    // Beside each other, one is wrong.
    const QString two = write("two.off", Box().with(Box(0.2f, 2).turned()).off());
    EXPECT_THAT(ktOpeningSays(two), ElementsAre(HasSubstr("1 part, 12 triangles")));
}

TEST_F(PartOrientation, GivenOpenPart_StaysAsItIs) {
    Box box = Box().turned();
    box.triangles.resize(30);
    EXPECT_THAT(ktOpeningSays(write("open.off", box.off())), IsEmpty());
    writeGltf(box, 1);
    EXPECT_THAT(ktOpeningSays(folder.path("in.glb")), IsEmpty());
}

TEST_F(PartOrientation, GivenRefinedGeometry_IsWrittenAsItWasRead) {
    writeGltf(Box().turned(), 1);
    const auto file = ktOpenTestScene(folder.path("in.glb"));
    const osg::GeometryPtr geometry = ktGeometriesOf(*file)[0].geometry;
    // The edge from the second to the third vertex of the first triangle gets a vertex.
    const auto triangles = ktTrianglesOf(geometry);
    const auto a = static_cast<osg::UInt32>(triangles[1]), b = static_cast<osg::UInt32>(triangles[2]);
    osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
    positions->getField().push_back(positions->getField()[a] +
                                    (positions->getField()[b] - positions->getField()[a]) * 0.5f);
    normals->getField().push_back(normals->getField()[a] + normals->getField()[b]);
    const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32::create();
    for (const osg::UInt32 index : {static_cast<osg::UInt32>(triangles[0]), a, osg::UInt32(8),
                                    static_cast<osg::UInt32>(triangles[0]), osg::UInt32(8), b})
        indices->getField().push_back(index);
    for (std::size_t i = 3; i < triangles.size(); ++i)
        indices->getField().push_back(static_cast<osg::UInt32>(triangles[i]));
    geometry->setIndices(indices);
    geometry->getLengths()->setValue(39, 0);
    ASSERT_EQ(outwardOf(geometry), (Outward{13, 9}));
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    const ktJson primitive = ktJsonOfFile(folder.path("out.glb"))["meshes"][0]["primitives"][0];
    const std::vector<float> written = ktAccessorOf(folder.path("out.glb"), primitive["indices"]);
    ASSERT_THAT(written, SizeIs(39));
    EXPECT_EQ(written[1], 8) << "the triangles face inwards again";
    EXPECT_EQ(written[2], a);
    EXPECT_GT(ktAccessorOf(folder.path("out.glb"), primitive["attributes"]["NORMAL"]).back() *
                  (positions->getField()[8][2] - 0.5f),
              -1e-6f);
}
