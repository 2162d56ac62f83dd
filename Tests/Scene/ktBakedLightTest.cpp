// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the light that is read from baked shadows, lamps and indirect light.
#include "ktBakedLight.h"
#include "ktSceneFixture.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"
#include "OSGUberMaterial.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

osg::GeoTexCoords4fPtr makeChannel(const std::vector<osg::Vec4f>& values) {
    osg::GeoTexCoords4fPtr channel = osg::GeoTexCoords4f::create();
    for (const osg::Vec4f& value : values)
        channel->getFieldPtr()->push_back(value);
    return channel;
}

class BakedLight : public ktSceneFixture {
protected:
    const osg::GeometryPtr geometry = makeGeometry({osg::Pnt3f(0, 0, 0), osg::Pnt3f(1, 0, 0)});
    const osg::NodePtr node = addNode(root, "part", geometry);
};

} // namespace

TEST_F(BakedLight, GivenNoResult_IsEmpty) {
    EXPECT_THAT(ktReadBakedLight(node, osg::NullFC), IsEmpty());
    EXPECT_THAT(ktReadBakedLight(node, geometry), IsEmpty());
    geometry->setTexCoords7(makeChannel({osg::Vec4f(0, 0, 0, 1)}));
    EXPECT_THAT(ktReadBakedLight(node, geometry), IsEmpty()) << "too short";
    geometry->setTexCoords7(makeChannel({osg::Vec4f(1, 1, 1, 1e-6f), osg::Vec4f(1, 1, 1, 0)}));
    EXPECT_THAT(ktReadBakedLight(node, geometry), IsEmpty()) << "never calculated";
}

TEST_F(BakedLight, GivenShadows_IsGrey) {
    geometry->setTexCoords7(makeChannel({osg::Vec4f(0, 0, 0, 0.25f), osg::Vec4f(0, 0, 0, 2e-6f)}));
    EXPECT_THAT(ktReadBakedLight(node, geometry),
                ElementsAre(ElementsAre(0.25f, 0.25f, 0.25f), ElementsAre(2e-6f, 2e-6f, 2e-6f)));
}

TEST_F(BakedLight, GivenLamps_TakesTheirColorInPlaceOfTheShadow) {
    geometry->setTexCoords7(makeChannel({osg::Vec4f(0, 0, 0, 0.25f), osg::Vec4f(0, 0, 0, 0.25f)}));
    geometry->setTexCoords5(makeChannel({osg::Vec4f(0.5f, 1, 2, 2.25f), osg::Vec4f(0, 0, 0, 2.25f)}));
    EXPECT_THAT(ktReadBakedLight(node, geometry), ElementsAre(ElementsAre(0.5f, 1, 2), ElementsAre(0, 0, 0)));
}

TEST_F(BakedLight, GivenIndirectLight_DividesTheSurfaceColorOut) {
    geometry->setTexCoords7(makeChannel({osg::Vec4f(0.25f, 0.25f, 0, 0.5f), osg::Vec4f(0, 0, 0, 0.5f)}));
    EXPECT_THAT(ktReadBakedLight(node, geometry)[0], ElementsAre(0.75f, 0.75f, 0.5f)) << "no material: white";

    osg::UberMaterialPtr material = osg::UberMaterial::create();
    material->setColor(osg::Color3f(0.5f, 0.25f, 0));
    geometry->setMaterial(material);
    const float luminance = 0.212671f * 0.5f + 0.71516f * 0.25f;
    EXPECT_THAT(ktReadBakedLight(node, geometry)[0],
                ElementsAre(0.5f + 0.25f / luminance, 0.5f + 0.25f / luminance, 0.5f))
        << "baked without colour bleeding";

    osg::AmbientOcclusionSettingsAttachmentPtr settings = osg::AmbientOcclusionSettingsAttachment::create();
    settings->setColorBleeding(true);
    node->addAttachment(settings);
    EXPECT_THAT(ktReadBakedLight(node, geometry)[0], ElementsAre(1.0f, 1.5f, 0.5f)) << "black takes no light";
}
