// SPDX-License-Identifier: LGPL-2.1-or-later
// Settings, texts and locks of nodes in the `extras` of glTF files.
#include "ktNodeMarks.h"
#include "ktNodePermission.h"
#include "ktSavedScene.h"
#include "ktSceneState.h"
#include "ktSettingRows.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"
#include "OSGValuePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

typedef osg::AmbientOcclusionSettingsAttachment Settings;
typedef osg::AmbientOcclusionSettingsAttachmentPtr SettingsPtr;

SettingsPtr settingsOf(const osg::NodePtr& node) {
    return SettingsPtr::dcast(node->findAttachment(Settings::getClassType()));
}

osg::ValuePairPtr textsOf(const osg::NodePtr& node) {
    return osg::ValuePairPtr::dcast(node->findAttachment(osg::ValuePair::getClassType()));
}

class NodeExtras : public testing::Test {
protected:
    std::unique_ptr<ktSceneFile> open(const ktJson& extras) const {
        ktTestGltf gltf = ktSquare();
        gltf.json["nodes"][0]["extras"] = extras;
        gltf.saveGlb(folder.path("in.glb"));
        return ktOpenTestScene(folder.path("in.glb"));
    }
    ktJson save(ktSceneFile& file) const {
        ktSaveTestScene(file, folder.path("out.glb"));
        const ktJson node = ktJsonOfFile(folder.path("out.glb"))["nodes"][0];
        return node.contains("extras") ? node["extras"] : ktJson("no extras");
    }

    ktTestFolder folder;
};

const ktJson allSettings = {{"mode", 2},
                            {"shadowQuality", 4},
                            {"minDistance", 0.25},
                            {"maxDistance", 1234},
                            {"indirectIllumination", true},
                            {"gatherQuality", 1},
                            {"numIndirections", 3},
                            {"colorBleeding", true},
                            {"overrideMaterialColor", true},
                            {"materialColor", {0.1, 0.2, 0.3}},
                            {"subdivide", true},
                            {"subdivisionQuality", 2},
                            {"minEdgeLength", 0.123456789},
                            {"intensityThreshold", 0.04}};

} // namespace

TEST_F(NodeExtras, GivenSettings_AttachesThemToTheNodeAndItsGeometry) {
    const auto file = open({{"ambientOcclusion", allSettings}});
    const osg::NodePtr node = file->getTopNodes()[0];
    const SettingsPtr settings = settingsOf(node);
    ASSERT_NE(settings, osg::NullFC);
    EXPECT_EQ(settingsOf(node->getChild(0)), settings);
    EXPECT_EQ(settings->getMode(), 2);
    EXPECT_EQ(settings->getShadowQuality(), 4);
    EXPECT_EQ(settings->getMinDistance(), 0.25f);
    EXPECT_EQ(settings->getMaxDistance(), 1234.0f);
    EXPECT_TRUE(settings->getIndirectIllumination());
    EXPECT_EQ(settings->getGatherQuality(), 1);
    EXPECT_EQ(settings->getNumIndirections(), 3);
    EXPECT_TRUE(settings->getColorBleeding());
    EXPECT_TRUE(settings->getOverrideMaterialColor());
    EXPECT_EQ(settings->getMaterialColor(), osg::Color3f(0.1f, 0.2f, 0.3f));
    EXPECT_TRUE(settings->getSubdivide());
    EXPECT_EQ(settings->getSubdivisionQuality(), 2);
    EXPECT_EQ(settings->getMinEdgeLength(), 0.123456789f);
    EXPECT_EQ(settings->getIntensityThreshold(), 0.04f);
}

TEST_F(NodeExtras, GivenNothingChanged_StaysByteForByte) {
    ktJson settings = allSettings;
    settings["somethingNewer"] = {1, 2};
    settings["maxDistance"] = 1234.0;
    for (const ktJson& extras :
         {ktJson{{"z", 1}, {"ambientOcclusion", settings}, {"text", "ü"}, {"locked", true}, {"list", {1}}},
          ktJson::object(), ktJson(7), ktJson("text"), ktJson::array({1}),
          ktJson{{"ambientOcclusion", "not an object"}, {"locked", "no truth value"}}})
        EXPECT_EQ(save(*open(extras)).dump(), extras.dump());
}

TEST_F(NodeExtras, GivenNewAttachment_WritesAllSettingsInOrder) {
    const auto file = open({{"own", 1}});
    const SettingsPtr settings = Settings::create();
    settings->setMinEdgeLength(0.05f);
    settings->setMaterialColor(osg::Color3f(1.0f / 3.0f, 0, 1));
    file->getTopNodes()[0]->addAttachment(settings);
    const ktJson extras = save(*file);
    std::vector<std::string> names, expected;
    for (const auto& entry : extras["ambientOcclusion"].items())
        names.push_back(entry.key());
    for (const auto& entry : allSettings.items())
        expected.push_back(entry.key());
    EXPECT_EQ(names, expected);
    EXPECT_EQ(extras["ambientOcclusion"]["minEdgeLength"].dump(), "0.05");
    EXPECT_EQ(extras["own"], 1);
    // Reading restores the values bit for bit.
    const auto again = ktOpenTestScene(folder.path("out.glb"));
    EXPECT_EQ(settingsOf(again->getTopNodes()[0])->getMaterialColor(), osg::Color3f(1.0f / 3.0f, 0, 1));
    EXPECT_EQ(settingsOf(again->getTopNodes()[0])->getMinEdgeLength(), 0.05f);
}

TEST_F(NodeExtras, GivenEverySettingChanged_RestoresEach) {
    const auto file = open({{"own", 1}});
    const SettingsPtr settings = Settings::create();
    ktAmbientOcclusionSettings::forEachSetting([&](auto row) { row.setOnNode(*settings, otherThanInitial(row)); });
    file->getTopNodes()[0]->addAttachment(settings);
    save(*file);
    const auto again = ktOpenTestScene(folder.path("out.glb"));
    const SettingsPtr read = settingsOf(again->getTopNodes()[0]);
    ASSERT_NE(read, osg::NullFC);
    ktAmbientOcclusionSettings::forEachSetting([&](auto row) {
        EXPECT_EQ(row.getOnNode(*read), static_cast<typename decltype(row)::Field>(otherThanInitial(row)))
            << row.names.json;
    });
}

TEST_F(NodeExtras, GivenChangedSetting_ChangesOnlyThatMember) {
    const auto file = open({{"ambientOcclusion", {{"newer", 5}, {"shadowQuality", 3}, {"minDistance", 1}}}});
    settingsOf(file->getTopNodes()[0])->setShadowQuality(5);
    const ktJson stored = save(*file)["ambientOcclusion"];
    EXPECT_EQ(stored["newer"], 5);
    EXPECT_EQ(stored["shadowQuality"], 5);
    EXPECT_EQ(stored["minDistance"].dump(), "1");
}

TEST_F(NodeExtras, GivenSettingsRemoved_RemovesThemFromTheFile) {
    const auto file = open({{"ambientOcclusion", allSettings}});
    const osg::NodePtr node = file->getTopNodes()[0];
    node->subAttachment(settingsOf(node));
    EXPECT_EQ(save(*file), "no extras");
}

TEST_F(NodeExtras, GivenStrings_AreNamedTextsBothWays) {
    const auto file = open({{"AOShadowQuality", "3"}, {"number", 5}, {"colour", "blau \"ü\" 😀"}});
    const osg::ValuePairPtr texts = textsOf(file->getTopNodes()[0]);
    ASSERT_NE(texts, osg::NullFC);
    std::string value;
    EXPECT_EQ(texts->getSize(), 2u);
    EXPECT_TRUE(texts->get("colour", value));
    EXPECT_EQ(value, "blau \"ü\" 😀");
    texts->del("AOShadowQuality");
    texts->set("AOMinDistance", "0.5");
    texts->set("latin", "gr\xfcn");
    texts->set("number", "a text of that name");
    const ktJson expected = {{"number", 5}, {"colour", "blau \"ü\" 😀"}, {"AOMinDistance", "0.5"}, {"latin", "grün"}};
    EXPECT_EQ(save(*file).dump(), expected.dump());
}

TEST_F(NodeExtras, GivenManyTexts_FindsEach) {
    ktJson extras;
    for (int i = 0; i < 100; ++i)
        extras["key" + std::to_string(i)] = "value" + std::to_string(i);
    const auto file = open(extras);
    const osg::ValuePairPtr texts = textsOf(file->getTopNodes()[0]);
    ASSERT_EQ(texts->getSize(), 100u);
    std::string value;
    EXPECT_TRUE(texts->get("key77", value));
    EXPECT_EQ(value, "value77");
    texts->set("key77", "new");
    texts->set("added", "last");
    EXPECT_TRUE(texts->del("key3"));
    EXPECT_FALSE(texts->get("key3", value));
    EXPECT_TRUE(texts->get("added", value));
    EXPECT_EQ(value, "last");
    EXPECT_TRUE(texts->get("key77", value));
    EXPECT_EQ(value, "new");
    EXPECT_EQ(texts->getKey(99), "added");
}

TEST_F(NodeExtras, GivenLock_LocksTheNodeBothWays) {
    const auto file = open({{"locked", true}});
    ktSceneState::setRootNode(file->getRoot());
    const osg::NodePtr node = file->getTopNodes()[0];
    EXPECT_FALSE(ktNodePermission::allows(node->getChild(0), ktNodePermission::ChangeIllumination));
    ktNodeMarks::setLocked(node, false);
    EXPECT_EQ(save(*file), "no extras");
    ktNodeMarks::setLocked(node, true);
    EXPECT_EQ(save(*file), (ktJson{{"locked", true}}));
    ktSceneState::setRootNode(osg::NullFC);
    EXPECT_TRUE(
        ktNodePermission::allows(open({{"locked", 1}})->getTopNodes()[0], ktNodePermission::ChangeIllumination));
}

TEST_F(NodeExtras, GivenExtrasThatAreNoObject_LeavesThemAndSaysSo) {
    const auto file = open("a text");
    file->getTopNodes()[0]->addAttachment(Settings::create());
    EXPECT_THAT(ktSaveTestScene(*file, folder.path("out.glb")),
                ElementsAre(HasSubstr("/nodes/0/extras: are no object")));
    EXPECT_EQ(ktJsonOfFile(folder.path("out.glb"))["nodes"][0]["extras"], "a text");
}

TEST_F(NodeExtras, GivenAbsurdValues_KeepsDefaults) {
    const auto file = open({{"ambientOcclusion",
                             {{"mode", 1e18},
                              {"shadowQuality", 2.5},
                              {"minDistance", 1e300},
                              {"subdivide", 1},
                              {"materialColor", {1, 2}}}}});
    const SettingsPtr settings = settingsOf(file->getTopNodes()[0]);
    const SettingsPtr fresh = Settings::create();
    EXPECT_EQ(settings->getMode(), fresh->getMode());
    EXPECT_EQ(settings->getShadowQuality(), fresh->getShadowQuality());
    EXPECT_EQ(settings->getMinDistance(), fresh->getMinDistance());
    EXPECT_EQ(settings->getSubdivide(), fresh->getSubdivide());
    EXPECT_EQ(settings->getMaterialColor(), fresh->getMaterialColor());
}
