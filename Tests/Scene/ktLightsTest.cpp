// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests which nodes count as lights and as ray file lights.
#include "ktLights.h"

#include "ktNodeMarks.h"
#include "ktSceneFixture.h"

#include <OpenSG/OSGDirectionalLight.h>
#include <OpenSG/OSGPointLight.h>
#include <OpenSG/OSGSpotLight.h>

namespace {

class Lights : public ktSceneFixture {};

} // namespace

TEST_F(Lights, GivenLightOfAnyKind_IsLight) {
    EXPECT_TRUE(ktLights::isLight(addNode(root, "sun", osg::DirectionalLight::create())));
    EXPECT_TRUE(ktLights::isLight(addNode(root, "bulb", osg::PointLight::create())));
    EXPECT_TRUE(ktLights::isLight(addNode(root, "torch", osg::SpotLight::create())));
}

TEST_F(Lights, GivenOtherNodes_IsNoLight) {
    EXPECT_FALSE(ktLights::isLight(osg::NullFC));
    EXPECT_FALSE(ktLights::isLight(root));
    EXPECT_FALSE(ktLights::isLight(addNode(root, "body", makeGeometry())));
    const osg::NodePtr bare = addNode(root, "bare");
    bare->setCore(osg::NullFC);
    EXPECT_FALSE(ktLights::isLight(bare));
}

TEST_F(Lights, GivenRayFileMark_LightAndItsCloneAreRayFileLights) {
    const osg::NodePtr lamp = addNode(root, "lamp", osg::PointLight::create());
    const osg::NodePtr clone = keep(osg::cloneTree(lamp));
    EXPECT_FALSE(ktLights::isRayFileLight(lamp));
    ktNodeMarks::setRayFileLight(lamp, true);
    EXPECT_TRUE(ktLights::isRayFileLight(lamp));
    EXPECT_TRUE(ktLights::isRayFileLight(clone));
}

TEST_F(Lights, GivenRayFileMarkOnOtherNode_IsNoRayFileLight) {
    const osg::NodePtr body = addNode(root, "body", makeGeometry());
    ktNodeMarks::setRayFileLight(body, true);
    EXPECT_FALSE(ktLights::isRayFileLight(body));
    EXPECT_FALSE(ktLights::isRayFileLight(osg::NullFC));
}
