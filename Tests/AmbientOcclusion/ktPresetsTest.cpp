// SPDX-License-Identifier: LGPL-2.1-or-later
// Presets in memory: applied, added, deleted, listed.
#include "ktControllerFixture.h"
#include "ktMessage.h"

#include <cfloat>
#include <climits>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class Presets : public ktControllerFixture {
protected:
    Presets() { presets.clear(); }

    static AOPreset unusual() {
        AOPreset preset;
        preset.name = "unusual";
        preset.quality = 17;
        preset.minDistance = 0.25f;
        preset.maxDistance = 99.5f;
        preset.indirect = false;
        preset.indirectQuality = 15;
        preset.materialOverride = false;
        preset.materialColor = osg::Color3f(0.25f, 0.5f, 0.75f);
        preset.colorBleeding = true;
        preset.numIndirections = 3;
        preset.subdivision = true;
        preset.subdivisionQuality = 2;
        preset.minEdgeLength = 0.1f;
        preset.intensityThreshold = 0.125f;
        return preset;
    }

    std::vector<AOPreset>& presets = Access::presets(controller);
};

} // namespace

TEST_F(Presets, GivenPreset_AppliesEverySettingInOrderAsOneStep) {
    presets = {unusual()};
    controller.applyPreset(0);
    EXPECT_THAT(log,
                ElementsAre("add \"Ambient Occlusion Shadow Quality\"", "signal shadowQualityChanged(4)",
                            "add \"Ambient Occlusion Min Distance\"", "signal minDistanceChanged(0.25)",
                            "add \"Ambient Occlusion Max Distance\"", "signal maxDistanceChanged(99.5)",
                            "add \"Ambient Occlusion Indirect Illumination\"",
                            "signal indirectIlluminationChanged(false)", "add \"Ambient Occlusion Color Bleeding\"",
                            "signal colorBleedingChanged(true)", "add \"Ambient Occlusion Override Material Color\"",
                            "signal overrideMaterialColorChanged(false)", "add \"Ambient Occlusion Material Color\"",
                            "signal materialColorChanged(0.25, 0.5, 0.75)", "add \"Ambient Occlusion Gather Quality\"",
                            "signal gatherQualityChanged(3)", "add \"Ambient Occlusion Number of Indirections\"",
                            "signal numOfIndirectionsChanged(3)", "add \"Ambient Occlusion Min Edge Length\"",
                            "signal minEdgeLengthChanged(0.1)", "add \"Ambient Occlusion Subdivide\"",
                            "signal subdivideChanged(true)", "add \"Ambient Occlusion Intensity Threshold\"",
                            "signal intensityThresholdChanged(0.125)", "add \"Ambient Occlusion Subdivide Quality\"",
                            "signal subdivisionQualityChanged(2)", "signal presetApplied(0)"));
    EXPECT_EQ(undoStack.count(), 1);
    EXPECT_EQ(undoStack.undoText(), "Apply Ambient Occlusion Preset");
    EXPECT_EQ(controller.getMinEdgeLength(), double(0.1f)) << "single precision, converted to double";
}

TEST_F(Presets, GivenUndoAndRedo_RestoresAllInOneStepWithEachSignalOnce) {
    presets = {unusual()};
    controller.applyPreset(0);
    for (int round = 0; round < 2; ++round) {
        log.clear();
        undoStack.undo();
        EXPECT_EQ(undoStack.index(), 0);
        EXPECT_THAT(log, testing::UnorderedElementsAre(
                             "signal shadowQualityChanged(2)", "signal minDistanceChanged(1)",
                             "signal maxDistanceChanged(3000)", "signal indirectIlluminationChanged(true)",
                             "signal colorBleedingChanged(false)", "signal overrideMaterialColorChanged(true)",
                             "signal materialColorChanged(0.7, 0.7, 0.7)", "signal gatherQualityChanged(2)",
                             "signal numOfIndirectionsChanged(1)", "signal minEdgeLengthChanged(1)",
                             "signal subdivideChanged(false)", "signal intensityThresholdChanged(0.05)",
                             "signal subdivisionQualityChanged(0)"));
        EXPECT_EQ(controller.getShadowQuality(), 2);
        EXPECT_EQ(controller.getMinEdgeLength(), 1.0);
        EXPECT_EQ(controller.getIntensityThreshold(), 0.05);
        EXPECT_EQ(controller.getMaterialColor(), osg::Color3f(0.7f, 0.7f, 0.7f));
        log.clear();
        undoStack.redo();
        EXPECT_THAT(log, SizeIs(13));
        EXPECT_EQ(controller.getShadowQuality(), 4);
        EXPECT_EQ(controller.getGatherQuality(), 3);
        EXPECT_EQ(controller.getSubdivisionQuality(), 2);
    }
}

TEST_F(Presets, GivenAnyMode_ApplyingLeavesIt) {
    controller.setMode(Controller::LightAndShadows);
    presets = {unusual()};
    controller.applyPreset(0);
    EXPECT_EQ(controller.getMode(), Controller::LightAndShadows);
}

TEST_F(Presets, GivenCarMediumQuality_SetsBothQualitiesTo2) {
    controller.addDefaultPresets();
    controller.setShadowQuality(5);
    controller.setGatherQuality(0);
    controller.applyPreset(1);
    EXPECT_EQ(controller.getShadowQuality(), 2);
    EXPECT_EQ(controller.getGatherQuality(), 2);
}

TEST_F(Presets, GivenQualitiesBetweenSteps_TruncatesTowardsZero) {
    AOPreset preset = unusual();
    preset.quality = 7;
    preset.indirectQuality = -7;
    presets = {preset};
    controller.applyPreset(0);
    EXPECT_EQ(controller.getShadowQuality(), 1);
    EXPECT_EQ(controller.getGatherQuality(), -1);
}

TEST_F(Presets, GivenIndexOutOfRange_DoesNothing) {
    presets = {unusual()};
    for (const int index : {-1, INT_MIN, 1, 2, INT_MAX}) {
        controller.applyPreset(index);
        controller.deletePreset(index);
    }
    EXPECT_THAT(log, IsEmpty());
    EXPECT_THAT(presets, SizeIs(1));
    EXPECT_EQ(undoStack.count(), 0);
}

TEST_F(Presets, GivenPresetThatChangesNothing_IsStillOneStepAndOneSignal) {
    controller.addPreset("now");
    log.clear();
    controller.applyPreset(0);
    // The preset keeps the threshold in single precision only.
    EXPECT_THAT(log, ElementsAre("add \"Ambient Occlusion Intensity Threshold\"",
                                 "signal intensityThresholdChanged(0.05)", "signal presetApplied(0)"));
    controller.applyPreset(0);
    EXPECT_EQ(undoStack.count(), 2);
    EXPECT_EQ(log.back(), "signal presetApplied(0)");
}

TEST_F(Presets, GivenListenerThatDeletesAllPresets_AppliesTheWholePreset) {
    presets = {unusual()};
    host.onEntry = [this](const std::string& entry) {
        if (entry == "signal shadowQualityChanged(4)")
            presets = std::vector<AOPreset>();
    };
    controller.applyPreset(0);
    EXPECT_EQ(controller.getMaxDistance(), 99.5f);
    EXPECT_EQ(controller.getSubdivisionQuality(), 2);
}

TEST_F(Presets, GivenDeletion_MovesLaterOnesDownAndDoesNotSave) {
    controller.addDefaultPresets();
    log.clear();
    controller.deletePreset(1);
    EXPECT_THAT(log, ElementsAre("signal presetDeleted(1)"));
    EXPECT_THAT(presets, SizeIs(5));
    EXPECT_EQ(presets[1].name, "Car High Quality");
    controller.deletePreset(4);
    EXPECT_EQ(presets.back().name, "Groundplane Low Quality");
    EXPECT_EQ(undoStack.count(), 0);
}

TEST_F(Presets, GivenDeletionAndRestart_BringsThePresetBack) {
    controller.addDefaultPresets();
    controller.deletePreset(0);
    const std::unique_ptr<Controller, void (*)(Controller*)> restarted(Access::make(), Access::destroy);
    EXPECT_THAT(Access::presets(*restarted), SizeIs(6));
    EXPECT_EQ(Access::presets(*restarted)[0].name, "Car Low Quality");
    controller.addPreset("saves");
    const std::unique_ptr<Controller, void (*)(Controller*)> again(Access::make(), Access::destroy);
    EXPECT_THAT(Access::presets(*again), SizeIs(6));
    EXPECT_EQ(Access::presets(*again)[0].name, "Car Medium Quality");
}

TEST_F(Presets, GivenDefaults_AppendsTheSixBuiltInOnes) {
    controller.addDefaultPresets();
    struct Row {
        const char* name;
        int quality;
        bool indirect;
        int indirectQuality;
        bool subdivision;
        int subdivisionQuality;
        float intensityThreshold;
    };
    const Row rows[] = {{"Car Low Quality", 0, true, 0, false, 0, 0.05f},
                        {"Car Medium Quality", 8, true, 8, false, 0, 0.05f},
                        {"Car High Quality", 12, true, 12, true, 0, 0.05f},
                        {"Car Highest Quality", 16, true, 16, true, 2, 0.04f},
                        {"Groundplane Low Quality", 8, false, 12, true, 0, 0.05f},
                        {"Groundplane High Quality", 16, false, 16, true, 2, 0.04f}};
    ASSERT_THAT(presets, SizeIs(6));
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(presets[i].name, rows[i].name);
        EXPECT_EQ(presets[i].quality, rows[i].quality) << rows[i].name;
        EXPECT_EQ(presets[i].minDistance, 1.0f);
        EXPECT_EQ(presets[i].maxDistance, 3000.0f);
        EXPECT_EQ(presets[i].indirect, rows[i].indirect) << rows[i].name;
        EXPECT_EQ(presets[i].indirectQuality, rows[i].indirectQuality) << rows[i].name;
        EXPECT_TRUE(presets[i].materialOverride);
        EXPECT_EQ(presets[i].materialColor, osg::Color3f(0.7f, 0.7f, 0.7f));
        EXPECT_FALSE(presets[i].colorBleeding);
        EXPECT_EQ(presets[i].numIndirections, 1);
        EXPECT_EQ(presets[i].subdivision, rows[i].subdivision) << rows[i].name;
        EXPECT_EQ(presets[i].subdivisionQuality, rows[i].subdivisionQuality) << rows[i].name;
        EXPECT_EQ(presets[i].minEdgeLength, 1.0f);
        EXPECT_EQ(presets[i].intensityThreshold, rows[i].intensityThreshold) << rows[i].name;
    }
    EXPECT_THAT(log, ElementsAre("write /preferences/aotemplates.xml"));
    controller.addDefaultPresets();
    EXPECT_THAT(presets, SizeIs(12));
}

TEST_F(Presets, GivenAdding_SavesWithoutUndoStepOrSignal) {
    controller.addPreset("one");
    EXPECT_THAT(log, ElementsAre("write /preferences/aotemplates.xml"));
    EXPECT_EQ(undoStack.count(), 0);
}

TEST_F(Presets, GivenAddingAndApplying_ReproducesTheSettings) {
    controller.setShadowQuality(5);
    controller.setGatherQuality(3);
    controller.setMinDistance(0.1f);
    controller.setMaxDistance(FLT_MAX);
    controller.setIndirectIlluminationEnabled(false);
    controller.setNumOfIndirections(7);
    controller.setColorBleedingEnabled(true);
    controller.setOverrideMaterialColorEnabled(false);
    controller.setMaterialColor(0.1f, 0.2f, 0.3f);
    controller.setSubdivideEnabled(true);
    controller.setSubdivisionQuality(2);
    controller.setMinEdgeLength(0.123456789);
    controller.setIntensityThreshold(0.0123456789);
    controller.addPreset("mine");
    EXPECT_EQ(presets[0].quality, 20);
    EXPECT_EQ(presets[0].indirectQuality, 12);
    presets.push_back(unusual());
    controller.applyPreset(1);
    controller.applyPreset(0);
    EXPECT_EQ(controller.getShadowQuality(), 5);
    EXPECT_EQ(controller.getGatherQuality(), 3);
    EXPECT_EQ(controller.getMinDistance(), 0.1f);
    EXPECT_EQ(controller.getMaxDistance(), FLT_MAX);
    EXPECT_FALSE(controller.isIndirectIlluminationEnabled());
    EXPECT_EQ(controller.getNumOfIndirections(), 7);
    EXPECT_TRUE(controller.isColorBleedingEnabled());
    EXPECT_FALSE(controller.isOverrideMaterialColorEnabled());
    EXPECT_EQ(controller.getMaterialColor(), osg::Color3f(0.1f, 0.2f, 0.3f));
    EXPECT_TRUE(controller.isSubdivideEnabled());
    EXPECT_EQ(controller.getSubdivisionQuality(), 2);
    EXPECT_EQ(controller.getMinEdgeLength(), double(0.123456789f)) << "single precision only";
    EXPECT_EQ(controller.getIntensityThreshold(), double(0.0123456789f)) << "single precision only";
}

TEST_F(Presets, GivenQualityThatDoesNotFit_Wraps) {
    controller.setShadowQuality(INT_MAX);
    controller.addPreset("huge");
    EXPECT_EQ(presets[0].quality, -4);
}

TEST_F(Presets, GivenNames_ListsThemInOrderUpToTheFirstNul) {
    controller.addPreset(QString::fromUtf8("Größe 🚗"));
    controller.addPreset(QString("cut") + QChar(0) + "off");
    controller.addPreset("Größe");
    controller.addPreset("");
    EXPECT_EQ(presets[0].name, "Größe 🚗");
    EXPECT_EQ(presets[1].name, std::string("cut\0off", 7));
    EXPECT_EQ(controller.getPresetNames(), QList<QString>({QString::fromUtf8("Größe 🚗"), "cut", "Größe", ""}));
}

TEST_F(Presets, GivenUserInterfaceMembers_AreNotInTheMetaObject) {
    for (const char* name :
         {"applyPreset(int)", "deletePreset(int)", "getPresetNames()", "addPreset(QString)", "clearActiveShadows()",
          "clearAllShadows()", "clearActiveIndirect()", "clearAllIndirect()"})
        EXPECT_EQ(controller.metaObject()->indexOfMethod(name), -1) << name;
}
