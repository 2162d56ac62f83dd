// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the host's attachments: settings, marks, source indices and named texts.
#include "ktSceneFixture.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"
#include "OSGSourceIndexAttachment.h"
#include "OSGValuePair.h"

#include <OpenSG/OSGRefPtr.h>
#include <string>

namespace {

using Settings = osg::AmbientOcclusionSettingsAttachment;
using SettingsPtr = osg::AmbientOcclusionSettingsAttachmentPtr;

class HostAttachments : public ktSceneFixture {};

class ValuePairTest : public testing::Test {
protected:
    osg::RefPtr<osg::ValuePairPtr> pairs{osg::ValuePair::create()};
};

} // namespace

TEST_F(HostAttachments, GivenNewSettings_HoldTheControllersDefaults) {
    const osg::RefPtr<SettingsPtr> settings(Settings::create());
    EXPECT_EQ(settings->getMode(), 0);
    EXPECT_EQ(settings->getShadowQuality(), 2);
    EXPECT_EQ(settings->getMinDistance(), 1.0f);
    EXPECT_EQ(settings->getMaxDistance(), 3000.0f);
    EXPECT_TRUE(settings->getIndirectIllumination());
    EXPECT_EQ(settings->getGatherQuality(), 2);
    EXPECT_EQ(settings->getNumIndirections(), 1);
    EXPECT_FALSE(settings->getColorBleeding());
    EXPECT_TRUE(settings->getOverrideMaterialColor());
    EXPECT_EQ(settings->getMaterialColor(), osg::Color3f(0.7f, 0.7f, 0.7f));
    EXPECT_FALSE(settings->getSubdivide());
    EXPECT_EQ(settings->getSubdivisionQuality(), 0);
    EXPECT_EQ(settings->getMinEdgeLength(), 1.0f);
    EXPECT_EQ(settings->getIntensityThreshold(), 0.05f);
}

TEST_F(HostAttachments, GivenSettingsFields_HaveFourteenBitsOfTheirOwnInOrder) {
    const osg::BitVector masks[] = {Settings::ModeFieldMask,
                                    Settings::ShadowQualityFieldMask,
                                    Settings::MinDistanceFieldMask,
                                    Settings::MaxDistanceFieldMask,
                                    Settings::IndirectIlluminationFieldMask,
                                    Settings::GatherQualityFieldMask,
                                    Settings::NumIndirectionsFieldMask,
                                    Settings::ColorBleedingFieldMask,
                                    Settings::OverrideMaterialColorFieldMask,
                                    Settings::MaterialColorFieldMask,
                                    Settings::SubdivideFieldMask,
                                    Settings::SubdivisionQualityFieldMask,
                                    Settings::MinEdgeLengthFieldMask,
                                    Settings::IntensityThresholdFieldMask};
    for (int i = 0; i < 14; ++i)
        EXPECT_EQ(masks[i], osg::BitVector(1) << (Settings::ModeFieldId + i));
}

TEST_F(HostAttachments, GivenSettingsOnTwoNodes_AreOneObjectAndDieWithTheLast) {
    const osg::NodePtr a = addNode(root, "a");
    const osg::NodePtr b = addNode(root, "b");
    osg::RefPtr<SettingsPtr> settings(Settings::create());
    settings->setShadowQuality(4);
    a->addAttachment(settings);
    b->addAttachment(settings);
    EXPECT_EQ(settings.get().getRefCount(), 3);
    settings = osg::NullFC;
    const auto found = SettingsPtr::dcast(b->findAttachment(Settings::getClassType()));
    ASSERT_NE(found, osg::NullFC);
    EXPECT_EQ(found->getShadowQuality(), 4);
    EXPECT_EQ(found, SettingsPtr::dcast(a->findAttachment(Settings::getClassType())));
}

TEST_F(HostAttachments, GivenAllKindsOnOneNode_DoNotDisplaceEachOther) {
    const osg::NodePtr node = addNode(root, "node");
    node->addAttachment(Settings::create());
    node->addAttachment(osg::ValuePair::create());
    node->addAttachment(osg::SourceIndexAttachment::create());
    EXPECT_NE(SettingsPtr::dcast(node->findAttachment(Settings::getClassType())), osg::NullFC);
    EXPECT_NE(osg::ValuePairPtr::dcast(node->findAttachment(osg::ValuePair::getClassType())), osg::NullFC);
    EXPECT_NE(osg::SourceIndexAttachmentPtr::dcast(node->findAttachment(osg::SourceIndexAttachment::getClassType())),
              osg::NullFC);
}

TEST_F(HostAttachments, GivenNewSourceIndex_HasNoPlace) {
    const osg::RefPtr<osg::SourceIndexAttachmentPtr> index(osg::SourceIndexAttachment::create());
    EXPECT_EQ(index->getNodeIndex(), -1);
    EXPECT_EQ(index->getMeshIndex(), -1);
    EXPECT_EQ(index->getPrimitiveIndex(), -1);
}

TEST_F(ValuePairTest, GivenValues_KeepTheOrderOfFirstSetting) {
    pairs->set("b", "1");
    pairs->set("a", "2");
    pairs->set("b", "3");
    ASSERT_EQ(pairs->getSize(), 2u);
    EXPECT_EQ(pairs->getKey(0), "b");
    EXPECT_EQ(pairs->getValue(0), "3");
    EXPECT_EQ(pairs->getKey(1), "a");
    EXPECT_EQ(pairs->getValue(1), "2");
}

TEST_F(ValuePairTest, GivenKey_GetsItsValueOrLeavesTheOutputAlone) {
    pairs->set("key", "value");
    std::string value = "before";
    EXPECT_FALSE(pairs->get("Key", value));
    EXPECT_EQ(value, "before");
    EXPECT_TRUE(pairs->get("key", value));
    EXPECT_EQ(value, "value");
}

TEST_F(ValuePairTest, GivenEmptyTexts_AreTextsLikeOthers) {
    pairs->set("", "nameless");
    pairs->set("empty", "");
    std::string value = "before";
    EXPECT_TRUE(pairs->get("", value));
    EXPECT_EQ(value, "nameless");
    EXPECT_TRUE(pairs->get("empty", value));
    EXPECT_EQ(value, "");
}

TEST_F(ValuePairTest, GivenDeletion_KeepsTheOthersInOrder) {
    for (const char* key : {"a", "b", "c"})
        pairs->set(key, std::string(key) + "!");
    EXPECT_FALSE(pairs->del("d"));
    EXPECT_TRUE(pairs->del("b"));
    EXPECT_FALSE(pairs->del("b"));
    ASSERT_EQ(pairs->getSize(), 2u);
    EXPECT_EQ(pairs->getKey(0), "a");
    EXPECT_EQ(pairs->getValue(0), "a!");
    EXPECT_EQ(pairs->getKey(1), "c");
    EXPECT_EQ(pairs->getValue(1), "c!");
}
