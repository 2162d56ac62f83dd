// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads the baked light of a geometry: the sum of direct and indirect light per vertex.
#include "ktBakedLight.h"

#include "ktLuminance.h"
#include "ktNodeAttachments.h"
#include "ktSurfaceColors.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr float leastResult = 1e-6f; // values up to this count as not calculated

/// A result channel with one element per position; null if there is none.
const osg::Vec4f* resultsOf(const osg::GeoTexCoordsPtr& channel, osg::UInt32 count) {
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4fPtr::dcast(channel);
    return results != osg::NullFC && results->getSize() >= count ? &results->getField()[0] : nullptr;
}

std::uint64_t hash(const osg::Vec4f* values, std::size_t count, std::uint64_t state) {
    for (std::size_t i = 0; values && i < count; ++i) {
        std::uint64_t words[2];
        std::memcpy(words, values[i].getValues(), sizeof words);
        for (const std::uint64_t word : words)
            state = (state ^ word) * 1099511628211u;
    }
    return state;
}

} // namespace

std::uint64_t ktHashBakedChannels(const ktBakedChannels& channels, std::uint64_t state) noexcept {
    return hash(channels.lamps, channels.count, hash(channels.results, channels.count, state));
}

osg::Color3f ktGatheredColor(const osg::NodePtr& node) {
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

ktBakedChannels ktFindBakedChannels(const osg::GeometryPtr& geometry) {
    ktBakedChannels channels;
    if (geometry == osg::NullFC || geometry->getPositions() == osg::NullFC || geometry->getPositions()->size() == 0)
        return channels;
    const osg::UInt32 count = geometry->getPositions()->size();
    const osg::Vec4f* results = resultsOf(geometry->getTexCoords7(), count);
    if (!results || std::none_of(results, results + count, [](const osg::Vec4f& v) { return v[3] > leastResult; }))
        return channels;
    channels.count = count;
    channels.results = results;
    channels.lamps = resultsOf(geometry->getTexCoords5(), count);
    return channels;
}

std::vector<std::array<float, 3>> ktReadBakedLight(const osg::NodePtr& node, const osg::GeometryPtr& geometry) {
    const ktBakedChannels channels = ktFindBakedChannels(geometry);
    std::vector<std::array<float, 3>> light(channels.count);
    if (light.empty())
        return light;
    const osg::Color3f color = ktGatheredColor(node);
    for (osg::UInt32 vertex = 0; vertex < channels.count; ++vertex)
        for (osg::UInt32 i = 0; i < 3; ++i) {
            const float direct = channels.lamps ? channels.lamps[vertex][i] : channels.results[vertex][3];
            // Light that was multiplied by black is lost. A viewer's product is black as well.
            const float indirect = color[i] > leastResult ? channels.results[vertex][i] / color[i] : 0;
            light[vertex][i] = direct + indirect;
        }
    return light;
}
