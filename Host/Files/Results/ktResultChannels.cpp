// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads a geometry's baked results from its texture coordinate channels 7 and 5.
#include "ktResultChannels.h"

#include "ktBakedLight.h"
#include "ktNodeAttachments.h"
#include "ktResultAttributes.h"
#include "ktTexCoordChannel.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

#include <algorithm>
#include <cmath>
#include <OpenSG/OSGNode.h>

namespace {

// The property in a channel if it has enough elements and a result; else null.
osg::GeoTexCoords4fPtr resultsIn(const osg::GeometryPtr& geometry, int channel) {
    const osg::GeoTexCoords4fPtr property = osg::GeoTexCoords4fPtr::dcast(ktGetTexCoords(geometry, channel));
    const osg::GeoPositionsPtr positions = geometry->getPositions();
    if (property == osg::NullFC || positions == osg::NullFC || property->size() < positions->size())
        return osg::NullFC;
    const auto& values = property->getField();
    const auto end = values.begin() + static_cast<std::ptrdiff_t>(positions->size());
    const bool any = std::any_of(values.begin(), end, [](const osg::Vec4f& value) { return value[3] > ktLeastResult; });
    return any ? property : osg::GeoTexCoords4fPtr(osg::NullFC);
}

std::vector<osg::Vec4f> copyOf(const osg::GeoTexCoords4fPtr& property, std::size_t count) {
    if (property == osg::NullFC)
        return {};
    const auto& values = property->getField();
    std::vector<osg::Vec4f> out(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count));
    for (osg::Vec4f& value : out)
        for (osg::UInt32 c = 0; c < 4; ++c)
            value[c] = std::isfinite(value[c]) ? value[c] : 0.0f;
    return out;
}

// The means of `width` floats of each vertex over the vertices with equal `first`.
void average(float* values, std::size_t width, const std::vector<std::uint32_t>& first) {
    std::vector<double> sums(width * first.size(), 0.0);
    std::vector<std::uint32_t> numbers(first.size(), 0);
    for (std::size_t i = 0; i < first.size(); ++i) {
        ++numbers[first[i]];
        for (std::size_t c = 0; c < width; ++c)
            sums[width * first[i] + c] += values[width * i + c];
    }
    for (std::size_t i = 0; i < first.size(); ++i)
        for (std::size_t c = 0; c < width; ++c)
            values[width * i + c] = static_cast<float>(sums[width * first[i] + c] / numbers[first[i]]);
}

// The node at which a geometry was calculated: one with settings, else the first that shows it.
osg::NodePtr nodeOf(const osg::GeometryPtr& geometry) {
    typedef osg::AmbientOcclusionSettingsAttachment Settings;
    const auto& parents = geometry->getParents();
    for (osg::UInt32 i = 0; i < parents.size(); ++i)
        if (ktFindAttachment<Settings>(parents[i]) != osg::NullFC)
            return parents[i];
    return parents.empty() ? osg::NodePtr(osg::NullFC) : osg::NodePtr(parents[0]);
}

} // namespace

ktResultChannels ktReadResultChannels(const osg::GeometryPtr& geometry) {
    ktResultChannels results;
    if (geometry->getPositions() == osg::NullFC)
        return results;
    const std::size_t count = geometry->getPositions()->size();
    results.working = copyOf(resultsIn(geometry, 7), count);
    results.light = copyOf(resultsIn(geometry, 5), count);
    results.hasIndirect = std::any_of(results.working.begin(), results.working.end(), [](const osg::Vec4f& value) {
        return value[0] > ktLeastResult || value[1] > ktLeastResult || value[2] > ktLeastResult;
    });
    const osg::NodePtr node = nodeOf(geometry);
    if (!results.working.empty() && node != osg::NullFC)
        results.arriving = ktReadBakedLight(node, geometry);
    return results;
}

void ktAverageShared(ktResultChannels& results, const ktPrimitiveLink& link) {
    const std::vector<std::uint32_t> first = link.firstVertices();
    if (results.working.size() == first.size())
        average(results.working[0].getValues(), 4, first);
    if (results.light.size() == first.size())
        average(results.light[0].getValues(), 4, first);
    if (results.arriving.size() == first.size())
        average(results.arriving[0].data(), 3, first);
}

bool ktHasResults(const osg::GeometryPtr& geometry) {
    return resultsIn(geometry, 7) != osg::NullFC || resultsIn(geometry, 5) != osg::NullFC;
}
