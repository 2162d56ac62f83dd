// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads the baked light of a geometry: the sum of direct and indirect light per vertex.
#include "ktBakedLight.h"

#include "ktLuminance.h"
#include "ktNodeAttachments.h"
#include "ktSurfaceColors.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

namespace {

constexpr float leastResult = 1e-6f; // values up to this count as not calculated

/// A result channel with one element per position; null if there is none.
osg::GeoTexCoords4fPtr resultsOf(const osg::GeoTexCoordsPtr& channel, osg::UInt32 count) {
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4fPtr::dcast(channel);
    return results != osg::NullFC && results->getSize() >= count ? results : osg::GeoTexCoords4fPtr(osg::NullFC);
}

/// The colour by which the stored indirect light was multiplied.
osg::Color3f gatheredColor(const osg::NodePtr& node) {
    const osg::UberMaterialPtr material = osg::UberMaterialPtr::dcast(ktMaterialInEffect(node));
    if (material == osg::NullFC)
        return osg::Color3f(1, 1, 1);
    const osg::Color3f color = material->getColor();
    const auto settings = ktFindAttachment<osg::AmbientOcclusionSettingsAttachment>(node);
    if (settings != osg::NullFC && settings->getColorBleeding())
        return color;
    const float luminance = ktLuminance(color.getValuesRGB());
    return osg::Color3f(luminance, luminance, luminance);
}

} // namespace

std::vector<std::array<float, 3>> ktReadBakedLight(const osg::NodePtr& node, const osg::GeometryPtr& geometry) {
    std::vector<std::array<float, 3>> light;
    if (geometry == osg::NullFC || geometry->getPositions() == osg::NullFC)
        return light;
    const osg::UInt32 count = geometry->getPositions()->getSize();
    const osg::GeoTexCoords4fPtr results = resultsOf(geometry->getTexCoords7(), count);
    if (results == osg::NullFC)
        return light;
    const auto& values = results->getField();
    const osg::GeoTexCoords4fPtr lamps = resultsOf(geometry->getTexCoords5(), count);
    const osg::Color3f color = gatheredColor(node);

    bool isCalculated = false;
    light.resize(count);
    for (osg::UInt32 vertex = 0; vertex < count; ++vertex) {
        isCalculated = isCalculated || values[vertex][3] > leastResult;
        for (osg::UInt32 i = 0; i < 3; ++i) {
            const float direct = lamps != osg::NullFC ? lamps->getField()[vertex][i] : values[vertex][3];
            // Light that was multiplied by black is lost. A viewer's product is black as well.
            const float indirect = color[i] > leastResult ? values[vertex][i] / color[i] : 0;
            light[vertex][i] = direct + indirect;
        }
    }
    if (!isCalculated)
        light.clear();
    return light;
}
