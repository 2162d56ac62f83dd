// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakedColors.h"

#include "ktResultAttributes.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"
#include "OSGUberMaterial.h"

#include <algorithm>
#include <cmath>
#include <OpenSG/OSGNode.h>

namespace {

std::vector<osg::Vec4f> readChannel(const osg::GeometryPtr& geometry, int channel) {
    const osg::GeoTexCoords4fPtr property = osg::GeoTexCoords4fPtr::dcast(ktGetTexCoords(geometry, channel));
    const osg::GeoPositionsPtr positions = geometry->getPositions();
    if (property == osg::NullFC || positions == osg::NullFC || property->size() < positions->size())
        return {};
    const auto& values = property->getField();
    std::vector<osg::Vec4f> out(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(positions->size()));
    bool any = false;
    for (osg::Vec4f& value : out) {
        for (osg::UInt32 c = 0; c < 4; ++c)
            value[c] = std::isfinite(value[c]) ? value[c] : 0.0f;
        any = any || value[3] > ktLeastResult;
    }
    if (!any)
        out.clear();
    return out;
}

// The settings that a geometry was calculated with; every node that shows it may hold them.
osg::AmbientOcclusionSettingsAttachmentPtr settingsOf(const osg::GeometryPtr& geometry) {
    typedef osg::AmbientOcclusionSettingsAttachment Settings;
    for (osg::UInt32 i = 0; i < geometry->getParents().size(); ++i) {
        const auto found = osg::AmbientOcclusionSettingsAttachmentPtr::dcast(
            geometry->getParents()[i]->findAttachment(Settings::getClassType()));
        if (found != osg::NullFC)
            return found;
    }
    return osg::NullFC;
}

} // namespace

ktBakedLight ktReadBakedLight(const osg::GeometryPtr& geometry) {
    ktBakedLight baked;
    baked.working = readChannel(geometry, 7);
    baked.light = readChannel(geometry, 5);
    baked.hasIndirect = std::any_of(baked.working.begin(), baked.working.end(), [](const osg::Vec4f& value) {
        return value[0] > ktLeastResult || value[1] > ktLeastResult || value[2] > ktLeastResult;
    });
    return baked;
}

std::array<float, 3> ktGatheredSurfaceColor(const osg::GeometryPtr& geometry) {
    const osg::UberMaterialPtr material = osg::UberMaterialPtr::dcast(geometry->getMaterial());
    if (material == osg::NullFC)
        return {1, 1, 1};
    const osg::Color3f color = material->getColor();
    const auto settings = settingsOf(geometry);
    if (settings == osg::NullFC || settings->getColorBleeding())
        return {color[0], color[1], color[2]};
    const float luminance = 0.212671f * color[0] + 0.71516f * color[1] + 0.072169f * color[2];
    return {luminance, luminance, luminance};
}

std::array<float, 3> ktArrivingLight(const ktBakedLight& baked, std::size_t vertex,
                                     const std::array<float, 3>& surfaceColor) {
    std::array<float, 3> arriving = {0, 0, 0};
    for (osg::UInt32 c = 0; c < 3; ++c) {
        if (!baked.light.empty())
            arriving[c] = baked.light[vertex][c];
        else if (!baked.working.empty())
            arriving[c] = baked.working[vertex][3];
        if (baked.hasIndirect && surfaceColor[c] > 0.0f)
            arriving[c] += baked.working[vertex][c] / surfaceColor[c];
    }
    return arriving;
}
