// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <string>
#include <vector>

/// A mesh for ktWholeScene: three floats per vertex, three indices per triangle.
struct ktWholeMesh {
    std::vector<osg::Pnt3f> positions;
    std::vector<osg::Vec3f> normals;
    std::vector<std::uint32_t> indices;

    /// Adds a parallelogram of `columns` times `rows` cells from `corner` along `a` and `b`, two triangles each, with
    /// one normal. Vertex (column, row) is number `row * (columns + 1) + column` of the added ones.
    void addGrid(const osg::Pnt3f& corner, const osg::Vec3f& a, const osg::Vec3f& b, int columns, int rows,
                 const osg::Vec3f& normal);
};

/// The floats of results, to compare them exactly: their operator == has a tolerance.
std::vector<std::uint32_t> ktBitsOf(const std::vector<osg::Vec4f>& results);

/// The settings of a calculation that tests change.
struct ktWholeSettings {
    int shadowQuality = 2, gatherQuality = 4, bounces = 1, mode = 0;
    float minDistance = 0.0f, maxDistance = 3000.0f; ///< mm
    bool indirect = true, colorBleeding = false;
    bool overrideColor = false;
    osg::Color3f color = osg::Color3f(0.7f, 0.7f, 0.7f);
    unsigned threads = 0; ///< 0: one per core
    bool subdivide = false;
    int subdivisionQuality = 1;
    float minEdgeLength = 1.0f, threshold = 0.05f; ///< mm; difference of light
};

/// A scene in the real host, calculated by the real plug-in. Only one may exist at a time.
class ktWholeScene {
public:
    ktWholeScene();
    ~ktWholeScene();
    ktWholeScene(const ktWholeScene&) = delete;
    ktWholeScene& operator=(const ktWholeScene&) = delete;

    /// Appends a geometry node of this name and surface colour to the scene's root.
    void add(const std::string& name, const ktWholeMesh& mesh, const osg::Color3f& color);
    /// Appends a second use of a node's geometry, below a transform.
    void addUse(const std::string& name, const osg::Matrix& toWorld);
    /// A lamp that shines in all directions. @param color light at a distance of 1 m
    void addLamp(const osg::Pnt3f& position_mm, const osg::Color3f& color);
    /// Clears earlier results and calculates everything. If the run does not start, the test fails.
    void bake(const ktWholeSettings& settings);
    /// The same, but keeps earlier results.
    void bakeAgain(const ktWholeSettings& settings);

    osg::GeometryPtr geometry(const std::string& name) const;
    /// Channel 7 of a node: indirect light in x, y, z, the direct result in w.
    std::vector<osg::Vec4f> results(const std::string& name) const;
    /// Channel 5 of a node; empty without the channel.
    std::vector<osg::Vec4f> bakedLight(const std::string& name) const;
    const std::map<std::string, osg::NodePtr>& geometryNodes() const { return nodes; }

private:
    osg::NodeRefPtr root;
    std::map<std::string, osg::NodePtr> nodes;
};
