// SPDX-License-Identifier: LGPL-2.1-or-later
// Compares the light on refined ground planes with dense grids of traced points. ktRefinementReport does this for any
// model and with denser grids.
#include "ktPlaneAccuracy.h"

#include <gtest/gtest.h>

namespace {

ktPlaneAccuracy measure(const std::string& model) {
    ktRefinedModel scene(KT_MODELS "/" + model, true, {});
    return ktMeasurePlane(scene, 128);
}

} // namespace

TEST(RefinementAccuracy, GivenABoxOnTheGround_BeatsCoarseAndEvenGridsByFar) {
    const ktPlaneAccuracy plane = measure("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb");
    EXPECT_GT(plane.unrefined, 0.03);
    EXPECT_LT(plane.refined, plane.unrefined / 20);
    EXPECT_LT(plane.refined, plane.uniform / 10);
}

TEST(RefinementAccuracy, GivenAnEngineOnTheGround_BeatsCoarseAndEvenGrids) {
    const ktPlaneAccuracy plane = measure("glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb");
    EXPECT_GT(plane.unrefined, 0.03);
    EXPECT_LT(plane.refined, plane.unrefined / 10);
    EXPECT_LT(plane.refined, plane.uniform / 1.4);
}
