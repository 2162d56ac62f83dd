// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds a scene that a calculation refines, with its parts in any order, and reads the results.
#include "ktRefinedScene.h"

#include <tuple>

namespace {

// An upright block without a bottom.
ktWholeMesh makeBlock(const osg::Pnt3f& corner, float width, float depth, float height) {
    ktWholeMesh mesh;
    const osg::Vec3f x(width, 0, 0), y(0, depth, 0), z(0, 0, height);
    mesh.addGrid(corner, x, z, 1, 1, osg::Vec3f(0, -1, 0));
    mesh.addGrid(corner + x, y, z, 1, 1, osg::Vec3f(1, 0, 0));
    mesh.addGrid(corner + x + y, osg::Vec3f(-width, 0, 0), z, 1, 1, osg::Vec3f(0, 1, 0));
    mesh.addGrid(corner + y, osg::Vec3f(0, -depth, 0), z, 1, 1, osg::Vec3f(-1, 0, 0));
    mesh.addGrid(corner + z, x, y, 1, 1, osg::Vec3f(0, 0, 1));
    return mesh;
}

ktWholeMesh makePart(const std::string& name) {
    ktWholeMesh mesh;
    const osg::Vec3f up(0, 0, 1);
    if (name == "left")
        mesh.addGrid(osg::Pnt3f(0, 0, 0), osg::Vec3f(1000, 0, 0), osg::Vec3f(0, 1000, 0), 2, 2, up);
    else if (name == "right")
        mesh.addGrid(osg::Pnt3f(1000, 0, 0), osg::Vec3f(1000, 0, 0), osg::Vec3f(0, 1000, 0), 2, 2, up);
    else if (name == "wall")
        mesh.addGrid(osg::Pnt3f(0, 1000, 0), osg::Vec3f(2000, 0, 0), osg::Vec3f(0, 0, 800), 3, 1, osg::Vec3f(0, -1, 0));
    else if (name == "red")
        mesh = makeBlock(osg::Pnt3f(800, 450, 0), 330, 280, 400);
    else
        mesh = makeBlock(osg::Pnt3f(1300, 200, 10), 200, 250, 150);
    return mesh;
}

} // namespace

bool ktRefinedGeometry::operator==(const ktRefinedGeometry& other) const {
    return std::tie(positions, normals, triangles, results, bakedLight) ==
           std::tie(other.positions, other.normals, other.triangles, other.results, other.bakedLight);
}

std::vector<std::string> ktRefinedSceneParts() {
    return {"left", "right", "wall", "red", "white"};
}

std::unique_ptr<ktWholeScene> ktMakeRefinedScene(const std::vector<std::string>& order) {
    auto scene = std::make_unique<ktWholeScene>();
    for (const std::string& name : order)
        scene->add(name, makePart(name),
                   name == "red" ? osg::Color3f(0.9f, 0.1f, 0.1f) : osg::Color3f(0.8f, 0.8f, 0.8f));
    scene->addLamp(osg::Pnt3f(300, 300, 1500), osg::Color3f(2, 2, 1.8f));
    return scene;
}

ktWholeSettings ktRefinedSettings(int mode) {
    ktWholeSettings settings;
    settings.mode = mode;
    settings.shadowQuality = settings.gatherQuality = 2;
    settings.bounces = 2;
    settings.colorBleeding = true;
    settings.subdivide = true;
    settings.subdivisionQuality = 0;
    settings.minEdgeLength = 60;
    settings.threshold = 0.1f;
    return settings;
}

ktRefinedGeometry ktReadRefined(const ktWholeScene& scene, const std::string& name) {
    const osg::GeometryPtr geometry = scene.geometry(name);
    const auto& positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions())->getField();
    const auto& normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals())->getField();
    const auto& indices = osg::GeoIndicesUI32Ptr::dcast(geometry->getIndices())->getField();
    ktRefinedGeometry read;
    read.positions.assign(positions.begin(), positions.end());
    read.normals.assign(normals.begin(), normals.end());
    read.triangles.assign(indices.begin(), indices.end());
    read.results = scene.results(name);
    read.bakedLight = scene.bakedLight(name);
    return read;
}
