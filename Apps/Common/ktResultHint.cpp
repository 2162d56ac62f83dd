// SPDX-License-Identifier: LGPL-2.1-or-later
// Says what may be the reason if the baked light is nearly all black or nearly all white.
#include "ktResultHint.h"

#include "ktAmbientOcclusion.h"
#include "ktBakedLight.h"
#include "ktGeometryInstances.h"
#include "ktLuminance.h"
#include "ktSceneDistances.h"
#include "OSGUShadowMaterial.h"

#include <set>

namespace {

constexpr float black = 0.03f, white = 0.97f;
constexpr double nearlyAll = 0.95; // of the vertices
constexpr double nearShare = 0.01; // of the diagonal: a short distance

struct Counts {
    std::size_t vertices = 0, black = 0, white = 0;
};

Counts countVertices(const std::vector<osg::NodePtr>& nodes) {
    Counts counts;
    std::set<osg::UInt32> seen;
    for (const osg::NodePtr& node : nodes)
        ktForEachGeometryInstance(node, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
            const osg::GeometryPtr& geometry = instance.geometry;
            const bool isPlane = osg::UShadowMaterialPtr::dcast(geometry->getMaterial()) != osg::NullFC;
            if (isPlane || !seen.insert(geometry.getFieldContainerId()).second)
                return true;
            for (const std::array<float, 3>& light : ktReadBakedLight(instance.node, geometry)) {
                const float luminance = ktLuminance(light.data());
                ++counts.vertices;
                counts.black += luminance < black ? 1 : 0;
                counts.white += luminance > white ? 1 : 0;
            }
            return true;
        });
    return counts;
}

std::string explainBlack(const ktAmbientOcclusion& plugin) {
    if (plugin.getMode() == ktAmbientOcclusion::LightAndShadows)
        return "The lights are hidden, far away or weak; --exposure scales their light.";
    if (plugin.getMode() == ktAmbientOcclusion::Shadows)
        return "Something hides the lights and the sky from nearly all surfaces.";
    return "Rays meet a surface within the maximum distance of " +
           ktDescribeLength(static_cast<double>(plugin.getMaxDistance())) +
           " nearly everywhere. Inside a closed room a smaller --max-distance helps, such as 10%. Or the parts are "
           "inside out.";
}

std::string explainWhite(const ktAmbientOcclusion& plugin, double diagonal) {
    const auto nearest = static_cast<double>(plugin.getMinDistance());
    const auto farthest = static_cast<double>(plugin.getMaxDistance());
    if (plugin.getMode() == ktAmbientOcclusion::LightAndShadows)
        return "The lights are bright; an --exposure below 1 scales their light.";
    if (farthest < nearShare * diagonal)
        return "Only surfaces within the maximum distance of " + ktDescribeLength(farthest) +
               " occlude, which is short for the scene's diagonal of " + ktDescribeLength(diagonal) + ".";
    if (nearest > nearShare * diagonal)
        return "Surfaces nearer than the minimum distance of " + ktDescribeLength(nearest) +
               " do not occlude, which is long for the scene's diagonal of " + ktDescribeLength(diagonal) + ".";
    return "No surface hides the sky from another one, as on a single convex part. --ground-plane adds a plane below "
           "that shows the shadow.";
}

} // namespace

std::string ktHintAtResult(const std::vector<osg::NodePtr>& nodes, double diagonal) {
    const Counts counts = countVertices(nodes);
    const double enough = nearlyAll * static_cast<double>(counts.vertices);
    const ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    if (counts.vertices == 0)
        return {};
    if (static_cast<double>(counts.black) >= enough)
        return "The result is nearly all black. " + explainBlack(plugin);
    if (static_cast<double>(counts.white) >= enough)
        return "The result is nearly all white. " + explainWhite(plugin, diagonal);
    return {};
}
