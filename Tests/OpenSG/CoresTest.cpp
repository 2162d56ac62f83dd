// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the fields, defaults and references of switches, materials, material groups and lights.
#include "ByLibrary.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGDirectionalLight.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMaterialGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGPointLight.h>
#include <OpenSG/OSGSimpleMaterial.h>
#include <OpenSG/OSGSpotLight.h>
#include <OpenSG/OSGSwitch.h>

using namespace osg;

TEST(Switch, GivenNewSwitch_ShowsNothing) {
    const SwitchRefPtr choice(Switch::create());
    EXPECT_EQ(-1, choice->getChoice());
    EXPECT_EQ(-2, Switch::ALL);
    EXPECT_EQ(-1, Switch::NONE);
    choice->setChoice(Switch::ALL);
    const FieldContainerRefPtr copy(choice->shallowCopy());
    EXPECT_EQ(Switch::ALL, SwitchPtr::dcast(copy.get())->getChoice());
}

TEST(Material, GivenTransparencyMode_DecidesTransparency) {
    const RefPtr<ChunkMaterialPtr> chunk(ChunkMaterial::create());
    EXPECT_FALSE(chunk->isTransparent());
    chunk->setTransparencyMode(Material::TransparencyForceTransparent);
    EXPECT_TRUE(chunk->isTransparent());

    const RefPtr<SimpleMaterialPtr> simple(SimpleMaterial::create());
    EXPECT_FALSE(simple->isTransparent());
    simple->setTransparency(0.5f);
    EXPECT_TRUE(simple->isTransparent());
    simple->setTransparencyMode(Material::TransparencyForceOpaque);
    EXPECT_TRUE(simple->isTransparent()) << "the field overrides the mode";
    simple->setTransparency(0.0f);
    EXPECT_FALSE(simple->isTransparent());
    simple->setTransparencyMode(Material::TransparencyForceTransparent);
    EXPECT_TRUE(simple->isTransparent());
}

TEST(Material, GivenCopy_HasTheSameFields) {
    const RefPtr<SimpleMaterialPtr> material(SimpleMaterial::create());
    EXPECT_EQ(Color3f(0, 0, 0), material->getDiffuse());
    EXPECT_FLOAT_EQ(1.0f, material->getShininess());
    material->setDiffuse(Color3f(1, 2, 3));
    material->setShininess(7);
    material->setSortKey(4);
    const FieldContainerRefPtr container(material->shallowCopy());
    const SimpleMaterialPtr copy = SimpleMaterialPtr::dcast(container.get());
    EXPECT_EQ(Color3f(1, 2, 3), copy->getDiffuse());
    EXPECT_FLOAT_EQ(7.0f, copy->getShininess());
    EXPECT_EQ(4, copy->getSortKey());
    EXPECT_TRUE(copy->getLit());
}

TEST(MaterialGroup, GivenMaterial_ReferencesIt) {
    const MaterialPtr material = SimpleMaterial::create();
    {
        const RefPtr<MaterialGroupPtr> group(MaterialGroup::create());
        EXPECT_TRUE(group->getMaterial() == NullFC);
        group->setMaterial(material);
        group->setMaterial(material);
        EXPECT_EQ(1, material.getRefCount());
        const RefPtr<MaterialGroupPtr> copy(MaterialGroupPtr::dcast(group->shallowCopy()));
        // In OpenSG 1.8, a copy does not reference the material that it releases later, once per aspect.
        if (isOpenSG18)
            addRefCP(material);
        EXPECT_EQ(2, material.getRefCount());
        const RefPtr<GeometryPtr> geometry(Geometry::create());
        geometry->setMaterial(material);
        EXPECT_EQ(3, material.getRefCount());
        EXPECT_TRUE(geometry->getMaterial() == material);
        group->setMaterial(NullFC);
        EXPECT_EQ(2, material.getRefCount());
        addRefCP(material);
        if (isOpenSG18)
            addRefCP(material);
    }
    EXPECT_EQ(1, material.getRefCount());
    subRefCP(material);
}

TEST(Light, GivenNewLights_HaveTheirDefaults) {
    const RefPtr<SpotLightPtr> spot(SpotLight::create());
    EXPECT_TRUE(spot->getOn());
    EXPECT_EQ(Color4f(1, 1, 1, 1), spot->getDiffuse());
    EXPECT_EQ(Color4f(0, 0, 0, 1), spot->getAmbient());
    EXPECT_FLOAT_EQ(1.0f, spot->getConstantAttenuation());
    EXPECT_FLOAT_EQ(0.0f, spot->getQuadraticAttenuation());
    EXPECT_EQ(Vec3f(0, 0, 1), spot->getDirection());
    EXPECT_EQ(Pnt3f(0, 0, 0), spot->getPosition());
    spot->setSpotCutOffDeg(90);
    EXPECT_FLOAT_EQ(Pi / 2, spot->getSpotCutOff());
    EXPECT_TRUE(PointLightPtr::dcast(spot.get()) != NullFC) << "a spot light is a point light";
    const RefPtr<DirectionalLightPtr> sun(DirectionalLight::create());
    EXPECT_EQ(Vec3f(0, 0, 1), sun->getDirection());
    EXPECT_TRUE(LightPtr::dcast(sun.get()) != NullFC);
    EXPECT_TRUE(PointLightPtr::dcast(sun.get()) == NullFC);
}

TEST(SimpleMaterial, GivenFieldIds_LeaveOutThoseOfDrawing) {
    EXPECT_EQ(Material::NextFieldId + 2, int(SimpleMaterial::AmbientFieldId));
    EXPECT_EQ(BitVector(1) << SimpleMaterial::AmbientFieldId, SimpleMaterial::AmbientFieldMask);
}

TEST(Light, GivenBeacon_KeepsItWithoutAReference) {
    const NodeRefPtr beacon(Node::create());
    {
        const RefPtr<PointLightPtr> light(PointLight::create());
        light->setBeacon(beacon.get());
        EXPECT_EQ(1, beacon.get().getRefCount());
        light->setDiffuse(1, 0.5f, 0.25f, 1);
        light->setPosition(1, 2, 3);
        const FieldContainerRefPtr container(light->shallowCopy());
        const PointLightPtr copy = PointLightPtr::dcast(container.get());
        EXPECT_TRUE(copy->getBeacon() == beacon.get());
        EXPECT_EQ(1, beacon.get().getRefCount());
        EXPECT_EQ(Color4f(1, 0.5f, 0.25f, 1), copy->getDiffuse());
        EXPECT_EQ(Pnt3f(1, 2, 3), copy->getPosition());
    }
    EXPECT_EQ(1, beacon.get().getRefCount());
}
