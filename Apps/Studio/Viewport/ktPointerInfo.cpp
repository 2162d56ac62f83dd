// SPDX-License-Identifier: LGPL-2.1-or-later
// Says what is under the pointer.
#include "ktPointerInfo.h"

#include "ktBakedLight.h"
#include "ktNodeUtils.h"

// The nearest name, from the node upwards.
QString ktPointerInfo::partName(const osg::NodePtr& node) {
    for (osg::NodePtr above = node; above != osg::NullFC; above = above->getParent())
        if (const char* name = ktNodeUtils::getName(above); name && *name)
            return QString::fromUtf8(name);
    return tr("unnamed part");
}

std::optional<std::array<float, 4>> ktPointerInfo::results(const ktViewScene& scene, const ktViewPicker::Hit& hit) {
    const ktViewUse& use = scene.uses[hit.use];
    const ktBakedChannels channels = ktFindBakedChannels(scene.geometries[use.geometry].geometry);
    const float weights[3] = {1 - hit.u - hit.v, hit.u, hit.v};
    std::array<float, 4> values = {0, 0, 0, 0};
    for (int corner = 0; corner < 3; ++corner) {
        if (hit.corners[corner] >= channels.count)
            return {};
        for (osg::UInt32 i = 0; i < 4; ++i)
            values[i] += weights[corner] * channels.results[hit.corners[corner]][i] * (i < 3 ? use.perGathered[i] : 1);
    }
    return values;
}

QString ktPointerInfo::text(const ktViewScene& scene, const ktViewPicker::Hit& hit) {
    const QString place = tr("%1, vertex %2").arg(partName(scene.uses[hit.use].node)).arg(hit.vertex);
    const auto values = results(scene, hit);
    if (!values)
        return tr("%1, no result").arg(place);
    const auto number = [](float value) { return QString("%L1").arg(static_cast<double>(value), 0, 'f', 3); };
    const auto& [red, green, blue, w] = *values;
    return tr("%1, w %2, indirect light %3 %4 %5").arg(place, number(w), number(red), number(green), number(blue));
}
