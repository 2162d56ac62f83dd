// SPDX-License-Identifier: LGPL-2.1-or-later
// A calculation with bounces must not depend on the order of the nodes or the number of threads.
#include "ktRoom.h"
#include "ktWholeScene.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <random>

namespace {

/// A geometry, or a lamp if there is no mesh.
struct Part {
    std::string name;
    ktWholeMesh mesh;
    osg::Color3f color;
    osg::Pnt3f lamp_mm = osg::Pnt3f(0, 0, 0);

    bool isLamp() const { return mesh.positions.empty(); }
};

/// The room with one node per surface. Panels coincide in front of its walls: two hits at the same distance differ only
/// by the order of the surfaces. A sum over the four lamps has other bits in another order.
std::vector<Part> makeParts() {
    std::vector<Part> parts;
    for (const ktRoomSurface& surface : ktMakeRoom(true)) {
        parts.push_back({surface.name, {}, surface.color});
        parts.back().mesh.addGrid(surface.corner, surface.a, surface.b, surface.columns / 3, surface.rows / 3,
                                  surface.normal);
    }
    const osg::Color3f colors[] = {osg::Color3f(1, 0, 0), osg::Color3f(0, 1, 0), osg::Color3f(0, 0, 1)};
    for (int i = 0; i < 3; ++i) {
        parts.push_back({"panel" + std::to_string(i), {}, colors[i]});
        parts.back().mesh.addGrid(osg::Pnt3f(100, 500, 100), osg::Vec3f(900, 300, 0), osg::Vec3f(0, 900, 500), 5, 4,
                                  osg::Vec3f(0.2f, -0.3f, 0.9f));
    }
    for (int i = 0; i < 4; ++i)
        parts.push_back({"lamp" + std::to_string(i),
                         {},
                         osg::Color3f(0.1f, 0.3f, 0.7f) * (0.37f * (i + 1)),
                         ktRoomLamp::position_mm + osg::Vec3f(110.0f * i, -70.0f * i, 30.0f * i)});
    return parts;
}

/// Channels 7 and 5 of each part, bit for bit.
using Results = std::map<std::string, std::pair<std::vector<std::uint32_t>, std::vector<std::uint32_t>>>;

Results bake(const std::vector<Part>& parts, const ktWholeSettings& settings) {
    ktWholeScene scene;
    for (const Part& part : parts) {
        if (part.isLamp())
            scene.addLamp(part.lamp_mm, part.color);
        else
            scene.add(part.name, part.mesh, part.color);
    }
    scene.bake(settings);
    Results results;
    for (const Part& part : parts)
        if (!part.isLamp())
            results[part.name] = {ktBitsOf(scene.results(part.name)), ktBitsOf(scene.bakedLight(part.name))};
    return results;
}

ktWholeSettings threeBounces(int mode) {
    ktWholeSettings settings;
    settings.mode = mode;
    settings.bounces = 3;
    settings.shadowQuality = settings.gatherQuality = 0;
    settings.colorBleeding = true;
    return settings;
}

double meanLight(const Results& results) {
    double sum = 0, count = 0;
    for (const auto& [name, channels] : results)
        for (std::size_t i = 0; i < channels.first.size(); i += 4) {
            float red = 0;
            std::memcpy(&red, &channels.first[i], sizeof(red));
            sum += red;
            ++count;
        }
    return sum / count;
}

} // namespace

TEST(IndirectOrder, GivenShuffledNodes_GivesEqualBits) {
    std::vector<Part> parts = makeParts();
    for (const int mode : {0, 2}) {
        const Results first = bake(parts, threeBounces(mode));
        EXPECT_GT(meanLight(first), 0.005);
        std::mt19937 random(7);
        for (int round = 0; round < 4; ++round) {
            std::shuffle(parts.begin(), parts.end(), random);
            const Results other = bake(parts, threeBounces(mode));
            for (const auto& [name, channels] : first)
                EXPECT_TRUE(channels == other.at(name)) << name << ", mode " << mode << ", round " << round;
        }
    }
}

TEST(IndirectOrder, GivenOneTwoOrThreeThreads_GivesEqualBits) {
    const std::vector<Part> parts = makeParts();
    for (const int mode : {0, 1, 2}) {
        ktWholeSettings settings = threeBounces(mode);
        settings.threads = 1;
        const Results one = bake(parts, settings);
        EXPECT_GT(meanLight(one), 0.005);
        for (const unsigned threads : {2u, 3u}) {
            settings.threads = threads;
            EXPECT_TRUE(one == bake(parts, settings)) << threads << " threads, mode " << mode;
        }
    }
}
