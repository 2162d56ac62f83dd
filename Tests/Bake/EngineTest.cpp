// SPDX-License-Identifier: LGPL-2.1-or-later
// The baked engine assembly, compared with an independent reference.
#include "ktBakeProcess.h"
#include "ktReferenceScene.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>

namespace {

const std::string engine = "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";
constexpr int referenceRays = 4096;

/// Compares every n-th vertex. KT_REFERENCE_STEP=1 in the environment compares all, which takes minutes.
std::size_t referenceStep() {
    const char* const step = std::getenv("KT_REFERENCE_STEP");
    return step ? static_cast<std::size_t>(std::max(1, std::atoi(step))) : 29;
}

} // namespace

// Bakes the whole assembly as a user does, and compares it with single random rays.
TEST(BakedEngine, GivenReferenceOfSingleRays_AgreesPerVertex) {
    const ktTestFolder folder;
    const ktBakeResult result =
        runBake(folder.path, {model(engine), "-o", "engine.glb", "--no-indirect", "--fit", "vertices"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    const ktReferenceScene scene(ktBakedFile(folder.file("engine.glb")));
    EXPECT_EQ(scene.triangleCount(), 121496u);
    ASSERT_EQ(scene.vertices().size(), 55843u);

    // The size in metres is implausible, so the diagonal counts as 3 m. The default distances are 1 mm and 3 m.
    const double unitsPerMillimetre = scene.diagonal() / 3000;
    const std::size_t step = referenceStep(), count = (scene.vertices().size() + step - 1) / step;
    std::vector<double> differences(count);
    const auto compare = [&](std::size_t start) {
        for (std::size_t i = start; i < count; i += 2) {
            const ktReferenceScene::Vertex& vertex = scene.vertices()[i * step];
            std::mt19937_64 random(i);
            differences[i] = vertex.occlusion - scene.openShare(vertex, 1 * unitsPerMillimetre,
                                                                3000 * unitsPerMillimetre, referenceRays, random);
        }
    };
    std::thread other(compare, 1);
    compare(0);
    other.join();

    double sum = 0, bias = 0;
    for (double& difference : differences) {
        sum += difference * difference;
        bias += difference;
        difference = std::abs(difference);
    }
    std::sort(differences.begin(), differences.end());
    const double rootMeanSquare = std::sqrt(sum / static_cast<double>(count));
    const double percentile99 = differences[count * 99 / 100];
    std::printf("%zu vertices: root mean square difference %.4f, 99th percentile %.4f, largest %.4f, mean %.5f\n",
                count, rootMeanSquare, percentile99, differences.back(), bias / static_cast<double>(count));
    EXPECT_LT(rootMeanSquare, 0.02);
    EXPECT_LT(percentile99, 0.06);
}
