// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests defaults, transparency, copies and references of the host's materials.
#include "OSGUberMaterial.h"
#include "OSGUEnvironmentMaterial.h"
#include "OSGUEnvironmentSwitchMaterial.h"
#include "OSGUShadowMaterial.h"

#include <gtest/gtest.h>
#include <memory>
#include <OpenSG/OSGRefPtr.h>

namespace {

template <class PtrT>
osg::RefPtr<PtrT> make() {
    return osg::RefPtr<PtrT>(PtrT::StoredObjectType::create());
}

} // namespace

TEST(UberMaterial, GivenNewMaterial_IsWhiteAndOpaque) {
    const auto material = make<osg::UberMaterialPtr>();
    EXPECT_EQ(material->getColor(), osg::Color3f(1, 1, 1));
    EXPECT_EQ(material->getAlpha(), 1.0f);
    EXPECT_EQ(material->getSourceIndex(), -1);
    EXPECT_EQ(material->getTexture().image, nullptr);
    EXPECT_FALSE(material->isTransparent());
}

TEST(UberMaterial, GivenBlendOrTransmission_IsTransparent) {
    const auto material = make<osg::UberMaterialPtr>();
    material->setAlphaMode(osg::UberMaterial::Blend);
    EXPECT_TRUE(material->isTransparent());
    material->setAlphaMode(osg::UberMaterial::Mask);
    EXPECT_FALSE(material->isTransparent());
    material->setTransmission(0.1f);
    EXPECT_TRUE(material->isTransparent());
}

TEST(UberMaterial, GivenAlphaWithoutBlending_IsOpaque) {
    const auto material = make<osg::UberMaterialPtr>();
    material->setAlpha(0.2f);
    EXPECT_FALSE(material->isTransparent());
}

TEST(UberMaterial, GivenCopy_SharesThePictureAndHasItsOwnFields) {
    const auto material = make<osg::UberMaterialPtr>();
    osg::UberMaterialTexture texture;
    texture.image = std::make_shared<ktImage>();
    texture.texCoords = 3;
    material->setTexture(texture);
    material->setColor(osg::Color3f(0.5f, 0, 0));
    const osg::RefPtr<osg::UberMaterialPtr> copy(osg::UberMaterialPtr::dcast(material->shallowCopy()));
    EXPECT_EQ(copy->getTexture().image, texture.image);
    EXPECT_EQ(copy->getTexture().texCoords, 3);
    copy->setColor(osg::Color3f(0, 1, 0));
    EXPECT_EQ(material->getColor(), osg::Color3f(0.5f, 0, 0));
}

TEST(HostMaterials, GivenEachKind_CastsToMaterialAndToItsOwnKindOnly) {
    const auto uber = make<osg::UberMaterialPtr>();
    const auto shadow = make<osg::UShadowMaterialPtr>();
    const auto environment = make<osg::UEnvironmentMaterialPtr>();
    const auto choice = make<osg::UEnvironmentSwitchMaterialPtr>();
    const osg::MaterialPtr materials[] = {uber.get(), shadow.get(), environment.get(), choice.get()};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(osg::UberMaterialPtr::dcast(materials[i]) != osg::NullFC, i == 0);
        EXPECT_EQ(osg::UShadowMaterialPtr::dcast(materials[i]) != osg::NullFC, i == 1);
        EXPECT_EQ(osg::UEnvironmentMaterialPtr::dcast(materials[i]) != osg::NullFC, i == 2);
        EXPECT_EQ(osg::UEnvironmentSwitchMaterialPtr::dcast(materials[i]) != osg::NullFC, i == 3);
        EXPECT_EQ(materials[i]->isTransparent(), i == 1);
        EXPECT_TRUE(materials[i]->getType().isDerivedFrom(osg::Material::getClassType()));
    }
}

TEST(EnvironmentSwitchMaterial, GivenChoice_ShowsThatEnvironment) {
    const auto choice = make<osg::UEnvironmentSwitchMaterialPtr>();
    EXPECT_EQ(choice->getChosenEnvironment(), osg::NullFC);
    const auto day = make<osg::UEnvironmentMaterialPtr>();
    const auto night = make<osg::UEnvironmentMaterialPtr>();
    choice->addEnvironment(day);
    choice->addEnvironment(osg::NullFC);
    choice->addEnvironment(night);
    EXPECT_EQ(choice->getNEnvironments(), 2u);
    EXPECT_EQ(choice->getChosenEnvironment(), day.get());
    choice->setChoice(1);
    EXPECT_EQ(choice->getChosenEnvironment(), night.get());
    for (const int none : {-1, 2}) {
        choice->setChoice(none);
        EXPECT_EQ(choice->getChosenEnvironment(), osg::NullFC);
    }
}

TEST(EnvironmentSwitchMaterial, GivenItsLife_KeepsAndGivesBackReferences) {
    const auto day = make<osg::UEnvironmentMaterialPtr>();
    {
        const auto choice = make<osg::UEnvironmentSwitchMaterialPtr>();
        choice->addEnvironment(day);
        EXPECT_EQ(day.get().getRefCount(), 2);
        const osg::RefPtr<osg::UEnvironmentSwitchMaterialPtr> copy(
            osg::UEnvironmentSwitchMaterialPtr::dcast(choice->shallowCopy()));
        EXPECT_EQ(day.get().getRefCount(), 3);
        copy->subEnvironment(0);
        copy->subEnvironment(0);
        EXPECT_EQ(copy->getNEnvironments(), 0u);
        EXPECT_EQ(day.get().getRefCount(), 2);
    }
    EXPECT_EQ(day.get().getRefCount(), 1);
}
