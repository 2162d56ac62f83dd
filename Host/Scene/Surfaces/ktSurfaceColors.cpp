// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds a surface's colour at any point: material times vertex colours times texture.
#include "ktSurfaceColors.h"

#include "ktTexCoordChannel.h"
#include "ktTextureSample.h"

#include <OpenSG/OSGMaterialGroup.h>
#include <OpenSG/OSGMaterialGroups.h>
#include <OpenSG/OSGSimpleMaterial.h>

namespace {

using Color = ktSurfaceColors::Color;

std::vector<Color> readVertexColors(const osg::GeoColorsPtr& colors, osg::UInt32 count) {
    std::vector<Color> result;
    if (const osg::GeoColors4fPtr four = osg::GeoColors4fPtr::dcast(colors);
        four != osg::NullFC && four->getSize() >= count)
        for (osg::UInt32 i = 0; i < count; ++i) {
            const osg::Color4f& color = four->getField()[i];
            result.push_back({color[0], color[1], color[2], color[3]});
        }
    else if (const osg::GeoColors3fPtr three = osg::GeoColors3fPtr::dcast(colors);
             three != osg::NullFC && three->getSize() >= count)
        for (osg::UInt32 i = 0; i < count; ++i) {
            const osg::Color3f& color = three->getField()[i];
            result.push_back({color[0], color[1], color[2], 1});
        }
    return result;
}

Color product(const Color& a, const Color& b) {
    return {a[0] * b[0], a[1] * b[1], a[2] * b[2], a[3] * b[3]};
}

template <std::size_t size>
std::array<float, size> interpolate(const std::vector<std::array<float, size>>& values, const std::uint32_t* corners,
                                    float u, float v) {
    std::array<float, size> result;
    for (std::size_t i = 0; i < size; ++i)
        result[i] = (1 - u - v) * values[corners[0]][i] + u * values[corners[1]][i] + v * values[corners[2]][i];
    return result;
}

} // namespace

osg::MaterialPtr ktMaterialInEffect(const osg::NodePtr& node) {
    for (osg::NodePtr above = osg::materialGroupsExist() ? node : osg::NodePtr(); above != osg::NullFC;
         above = above->getParent()) {
        const osg::MaterialGroupPtr group = osg::MaterialGroupPtr::dcast(above->getCore());
        if (group != osg::NullFC && group->getMaterial() != osg::NullFC)
            return group->getMaterial();
    }
    const osg::GeometryPtr geometry =
        osg::GeometryPtr::dcast(node != osg::NullFC ? node->getCore() : osg::NodeCorePtr());
    return geometry != osg::NullFC ? geometry->getMaterial() : osg::MaterialPtr();
}

Color ktSurfaceColors::vertexColor(std::uint32_t vertex) const {
    return vertexColors.empty() ? base : product(base, vertexColors[vertex]);
}

Color ktSurfaceColors::at(const std::uint32_t* corners, float u, float v) const {
    Color color = vertexColors.empty() ? base : product(base, interpolate(vertexColors, corners, u, v));
    if (!texCoords.empty() && texture.image) {
        const std::array<float, 2> place = interpolate(texCoords, corners, u, v);
        color = product(color, ktSampleTexture(texture, place[0], place[1]));
    }
    return color;
}

ktSurfaceColors ktReadSurfaceColors(const osg::GeometryPtr& geometry, const osg::MaterialPtr& material) {
    ktSurfaceColors result;
    const osg::UberMaterialPtr uber = osg::UberMaterialPtr::dcast(material);
    if (uber != osg::NullFC)
        result.base = {uber->getColor()[0], uber->getColor()[1], uber->getColor()[2],
                       uber->getAlpha() * (1 - uber->getTransmission())};
    else if (const osg::SimpleMaterialPtr simple = osg::SimpleMaterialPtr::dcast(material); simple != osg::NullFC)
        result.base = {simple->getDiffuse()[0], simple->getDiffuse()[1], simple->getDiffuse()[2],
                       1 - simple->getTransparency()};
    if (geometry == osg::NullFC || geometry->getPositions() == osg::NullFC)
        return result;
    const osg::UInt32 count = geometry->getPositions()->getSize();
    if (uber == osg::NullFC || uber->getVertexColors())
        result.vertexColors = readVertexColors(geometry->getColors(), count);
    if (uber == osg::NullFC || !uber->getTexture().image)
        return result;
    const int channel = uber->getTexture().texCoords;
    const osg::GeoTexCoords2fPtr texCoords = osg::GeoTexCoords2fPtr::dcast(ktGetTexCoords(geometry, channel));
    if (ktIsResultChannel(channel) || texCoords == osg::NullFC || texCoords->getSize() < count)
        return result;
    result.texture = uber->getTexture();
    for (osg::UInt32 i = 0; i < count; ++i)
        result.texCoords.push_back({texCoords->getField()[i][0], texCoords->getField()[i][1]});
    return result;
}
