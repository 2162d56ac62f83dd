// SPDX-License-Identifier: LGPL-2.1-or-later
// Hashes geometry and sorts lights by content, so that results do not depend on the order of nodes.
#include "ktSceneOrder.h"

#include "ktCancelPoint.h"
#include "ktRandom.h"
#include "ktSurfaceColors.h"

#include <algorithm>
#include <cstring>
#include <OpenSG/OSGSimpleAttachments.h>
#include <tuple>

namespace {

// Continues the hash `key` with `size` bytes, eight at a time.
std::uint64_t hashBytes(std::uint64_t key, const void* data, std::size_t size) {
    const char* bytes = static_cast<const char*>(data);
    for (std::size_t place = 0; place < size; place += 8) {
        if (place % (1 << 22) == 0)
            ktThrowIfCanceled();
        std::uint64_t word = 0;
        std::memcpy(&word, bytes + place, std::min<std::size_t>(size - place, 8));
        key = (key ^ word) * 0x9E3779B97F4A7C15ull;
        key ^= key >> 32;
    }
    return ktRandom::mix(key);
}

auto fieldsOf(const ktSceneLight& light) {
    return std::tie(light.kind, light.position[0], light.position[1], light.position[2], light.axis[0], light.axis[1],
                    light.axis[2], light.color[0], light.color[1], light.color[2], light.exponent,
                    light.cosineOfCutOff);
}

} // namespace

std::uint64_t ktHashSurface(const osg::NodePtr& node) {
    std::uint64_t key = 0;
    const osg::MaterialPtr material = ktMaterialInEffect(node);
    const ktSurfaceColors::Color base = ktReadSurfaceColors(osg::NullFC, material).base;
    key = hashBytes(key, base.data(), sizeof(base));
    const osg::UInt32 type = material == osg::NullFC ? 0 : material->getType().getId();
    key = hashBytes(key, &type, sizeof(type));
    if (const char* name = osg::getName(node))
        key = hashBytes(key, name, std::strlen(name));
    return key;
}

std::uint64_t ktHashShape(const std::vector<float>& positions, const std::vector<std::uint32_t>& triangles,
                          const float* normals, std::size_t normalCount) {
    const std::size_t floats = positions.size() / 3 * 3;
    std::uint64_t key = hashBytes(floats, positions.data(), floats * sizeof(float));
    key = hashBytes(key, triangles.data(), triangles.size() * sizeof(std::uint32_t));
    return hashBytes(key, normals, normalCount * 3 * sizeof(float));
}

void ktSortLights(std::vector<ktSceneLight>& lights) {
    std::sort(lights.begin(), lights.end(),
              [](const ktSceneLight& a, const ktSceneLight& b) { return fieldsOf(a) < fieldsOf(b); });
}
