// SPDX-License-Identifier: LGPL-2.1-or-later
// Draws what makes drivers compile the programs of the first pictures.
#include "ktGlWarmUp.h"

#include <OpenSG/OSGGroup.h>

namespace {

// Mesa has other programs for vertex arrays that have changed often.
constexpr std::size_t manyCalls = 40;
constexpr double step_ms = 1; // ends after each surface that is new to the driver

struct Surface {
    osg::UberMaterial::AlphaMode alpha = osg::UberMaterial::Opaque;
    bool isDoubleSided = false, hasVertexColors = false, hasResults = false;
};

osg::NodePtr makeTriangle(const Surface& surface) {
    const auto positions = osg::GeoPositions3f::create();
    const auto normals = osg::GeoNormals3f::create();
    const auto indices = osg::GeoIndicesUI32::create();
    const auto colors = osg::GeoColors4f::create();
    const auto results = osg::GeoTexCoords4f::create();
    for (const osg::Pnt3f& corner : {osg::Pnt3f(0, 0, 0), osg::Pnt3f(1, 0, 0), osg::Pnt3f(0, 1, 0)}) {
        indices->getFieldPtr()->push_back(positions->getSize());
        positions->getFieldPtr()->push_back(corner);
        normals->getFieldPtr()->push_back(osg::Vec3f(0, 0, 1));
        colors->getFieldPtr()->push_back(osg::Color4f(1, 1, 1, 1));
        results->getFieldPtr()->push_back(osg::Vec4f(0, 0, 0, 1));
    }
    const auto types = osg::GeoPTypesUI8::create();
    const auto lengths = osg::GeoPLengthsUI32::create();
    types->getFieldPtr()->push_back(GL_TRIANGLES);
    lengths->getFieldPtr()->push_back(indices->getSize());
    const auto material = osg::UberMaterial::create();
    material->setAlphaMode(surface.alpha);
    material->setDoubleSided(surface.isDoubleSided);
    const auto geometry = osg::Geometry::create();
    osg::beginEditCP(geometry);
    geometry->setPositions(positions);
    geometry->setNormals(normals);
    geometry->setIndices(indices);
    geometry->setLengths(lengths);
    geometry->setTypes(types);
    geometry->setMaterial(material);
    if (surface.hasVertexColors)
        geometry->setColors(colors);
    else
        osg::subRefCP(colors);
    if (surface.hasResults)
        geometry->setTexCoords7(results);
    else
        osg::subRefCP(results);
    osg::endEditCP(geometry);
    return osg::makeNodeFor(geometry);
}

ktViewScene makeScene(const std::vector<Surface>& surfaces) {
    const osg::NodeRefPtr root(osg::makeNodeFor(osg::Group::create()));
    for (const Surface& surface : surfaces)
        root->addChild(makeTriangle(surface));
    ktViewScene scene;
    scene.read(root);
    scene.select({root}); // an opened scene is selected
    return scene;
}

} // namespace

ktGlWarmUp::ktGlWarmUp(ktGlMeshes& meshes_, std::vector<Drawn> pictures_)
    : meshes(meshes_), pictures(std::move(pictures_)) {
    using Material = osg::UberMaterial;
    std::vector<Surface> first = {{Material::Opaque, false}, {Material::Opaque, true}};
    first.resize(manyCalls, first.front());
    scenes.push_back(makeScene(first));
    std::vector<Surface> others;
    for (const bool hasResults : {false, true})
        for (const bool hasVertexColors : {false, true})
            for (const Material::AlphaMode alpha : {Material::Opaque, Material::Blend})
                if (hasResults || hasVertexColors || alpha == Material::Blend)
                    others.push_back({alpha, false, hasVertexColors, hasResults});
    scenes.push_back(makeScene(others));
}

ktGlPicture* ktGlWarmUp::advance() {
    if (isDone())
        return nullptr;
    const ktViewScene& scene = scenes[nextScene];
    Drawn& drawn = pictures[nextPicture];
    if (!isBegun) {
        meshes.upload(scene, 1e30);
        drawn.request.camera.frame(scene.framedBoxes(false), drawn.request.aspect);
        isBegun = drawn.picture->begin(drawn.request, scene);
        if (isBegun)
            return nullptr;
    }
    if (isBegun && !drawn.picture->advance(step_ms))
        return nullptr;
    isBegun = false;
    if (++nextPicture == pictures.size()) {
        nextPicture = 0;
        ++nextScene;
    }
    return drawn.picture;
}
