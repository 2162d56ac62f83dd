// SPDX-License-Identifier: LGPL-2.1-or-later
// Setters of the settings: defaults, undo, signals, merging and limits.
#include "ktControllerFixture.h"

#include <cmath>
#include <limits>
#include <sstream>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using C = ktAmbientOcclusion;

/// One setting: how to set it to its three test values, how to read it, and the expected signals.
struct Setting {
    std::string name;
    std::string label;
    std::function<void(C&, int)> set; ///< 0: the default, 1 and 2: two other values
    std::function<std::string(const C&)> get;
    std::array<std::string, 3> values; ///< as get() returns them
    std::string signal;
};

void PrintTo(const Setting& setting, std::ostream* out) {
    *out << setting.name;
}

std::string text(double value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}
std::string text(bool value) {
    return value ? "true" : "false";
}
std::string text(int value) {
    return std::to_string(value);
}

template <class Value, class Get>
Setting makeSetting(const std::string& name, const std::string& label, void (C::*set)(Value), Get get,
                    std::array<Value, 3> values) {
    Setting setting;
    setting.name = name;
    setting.label = label;
    setting.set = [set, values](C& controller, int i) { (controller.*set)(values[i]); };
    setting.get = [get](const C& controller) { return text((controller.*get)()); };
    for (int i = 0; i < 3; ++i)
        setting.values[i] = text(values[i]);
    setting.signal = name + "Changed";
    return setting;
}

Setting makeColorSetting() {
    static const float values[3][3] = {{0.7f, 0.7f, 0.7f}, {1, 0.5f, 0.25f}, {0, 0.125f, 1}};
    Setting setting;
    setting.name = "materialColor";
    setting.label = "Ambient Occlusion Material Color";
    setting.set = [](C& controller, int i) { controller.setMaterialColor(values[i][0], values[i][1], values[i][2]); };
    setting.get = [](const C& controller) {
        const osg::Color3f color = controller.getMaterialColor();
        return text(color[0]) + ", " + text(color[1]) + ", " + text(color[2]);
    };
    setting.values = {"0.7, 0.7, 0.7", "1, 0.5, 0.25", "0, 0.125, 1"};
    setting.signal = "materialColorChanged";
    return setting;
}

Setting makeModeSetting() {
    Setting setting;
    setting.name = "mode";
    setting.label = "Ambient Occlusion Mode";
    setting.set = [](C& controller, int i) { controller.setMode(C::DirectLightMode(i)); };
    setting.get = [](const C& controller) { return text(int(controller.getMode())); };
    setting.values = {"0", "1", "2"};
    setting.signal = "modeChanged";
    return setting;
}

std::vector<Setting> allSettings() {
    return {
        makeSetting<int>("shadowQuality", "Ambient Occlusion Shadow Quality", &C::setShadowQuality,
                         &C::getShadowQuality, {2, 4, 5}),
        makeSetting<float>("minDistance", "Ambient Occlusion Min Distance", &C::setMinDistance, &C::getMinDistance,
                           {1.0f, 2.5f, 0.0f}),
        makeSetting<float>("maxDistance", "Ambient Occlusion Max Distance", &C::setMaxDistance, &C::getMaxDistance,
                           {3000.0f, 10.5f, 8.0f}),
        makeModeSetting(),
        makeSetting<bool>("indirectIllumination", "Ambient Occlusion Indirect Illumination",
                          &C::setIndirectIlluminationEnabled, &C::isIndirectIlluminationEnabled, {true, false, true}),
        makeSetting<int>("gatherQuality", "Ambient Occlusion Gather Quality", &C::setGatherQuality,
                         &C::getGatherQuality, {2, 0, 4}),
        makeSetting<int>("numOfIndirections", "Ambient Occlusion Number of Indirections", &C::setNumOfIndirections,
                         &C::getNumOfIndirections, {1, 3, 0}),
        makeSetting<bool>("colorBleeding", "Ambient Occlusion Color Bleeding", &C::setColorBleedingEnabled,
                          &C::isColorBleedingEnabled, {false, true, false}),
        makeSetting<bool>("overrideMaterialColor", "Ambient Occlusion Override Material Color",
                          &C::setOverrideMaterialColorEnabled, &C::isOverrideMaterialColorEnabled, {true, false, true}),
        makeColorSetting(),
        makeSetting<bool>("subdivide", "Ambient Occlusion Subdivide", &C::setSubdivideEnabled, &C::isSubdivideEnabled,
                          {false, true, false}),
        makeSetting<int>("subdivisionQuality", "Ambient Occlusion Subdivide Quality", &C::setSubdivisionQuality,
                         &C::getSubdivisionQuality, {0, 1, 2}),
        makeSetting<double>("minEdgeLength", "Ambient Occlusion Min Edge Length", &C::setMinEdgeLength,
                            &C::getMinEdgeLength, {1.0, 0.5, 4.0}),
        makeSetting<double>("intensityThreshold", "Ambient Occlusion Intensity Threshold", &C::setIntensityThreshold,
                            &C::getIntensityThreshold, {0.05, 0.04, 0.25}),
    };
}

class Setters : public ktControllerFixture, public testing::WithParamInterface<Setting> {
protected:
    std::string signalWith(int i) const { return "signal " + GetParam().signal + "(" + GetParam().values[i] + ")"; }
};

using Settings = ktControllerFixture;

} // namespace

TEST_P(Setters, GivenFreshController_HaveDefault) {
    EXPECT_EQ(GetParam().get(controller), GetParam().values[0]);
}

TEST_P(Setters, GivenEqualValue_DoNothing) {
    GetParam().set(controller, 0);
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(undoStack.count(), 0);
}

TEST_P(Setters, GivenNewValue_PushLabelledCommandThatWritesAndSignals) {
    std::string seenInSlot;
    host.onEntry = [&](const std::string& entry) {
        if (entry.rfind("signal", 0) == 0)
            seenInSlot = GetParam().get(controller);
    };
    GetParam().set(controller, 1);
    EXPECT_EQ(GetParam().get(controller), GetParam().values[1]);
    EXPECT_THAT(log, ElementsAre("add \"" + GetParam().label + "\"", signalWith(1)));
    EXPECT_EQ(seenInSlot, GetParam().values[1]) << "a slot reads the new value";
    EXPECT_EQ(undoStack.count(), 1);
    EXPECT_EQ(undoStack.undoText().toStdString(), GetParam().label);
}

TEST_P(Setters, GivenUndoAndRedo_RestoreAndSignal) {
    GetParam().set(controller, 1);
    log.clear();
    undoStack.undo();
    EXPECT_EQ(GetParam().get(controller), GetParam().values[0]);
    EXPECT_THAT(log, ElementsAre(signalWith(0)));
    log.clear();
    undoStack.redo();
    EXPECT_EQ(GetParam().get(controller), GetParam().values[1]);
    EXPECT_THAT(log, ElementsAre(signalWith(1)));
}

TEST_P(Setters, GivenSeveralChanges_MergeIntoOneStep) {
    GetParam().set(controller, 1);
    GetParam().set(controller, 2);
    GetParam().set(controller, 1);
    GetParam().set(controller, 2);
    EXPECT_EQ(undoStack.count(), 1);
    log.clear();
    undoStack.undo();
    EXPECT_EQ(GetParam().get(controller), GetParam().values[0]);
    EXPECT_THAT(log, ElementsAre(signalWith(0)));
    log.clear();
    undoStack.redo();
    EXPECT_EQ(GetParam().get(controller), GetParam().values[2]);
    EXPECT_THAT(log, ElementsAre(signalWith(2)));
}

INSTANTIATE_TEST_SUITE_P(All, Setters, testing::ValuesIn(allSettings()),
                         [](const auto& setting) { return setting.param.name; });

TEST_F(Settings, GivenFreshController_HaveWorkingDefaults) {
    EXPECT_EQ(Access::directOption(controller), 1);
    EXPECT_EQ(Access::directSampleCountU(controller), 32);
    EXPECT_EQ(Access::directSampleCountV(controller), 32);
    EXPECT_EQ(Access::gatherSampleCount(controller), 32); // gather quality 2 means 24, but only after it was set
    EXPECT_EQ(Access::threadCount(controller), 12u);
    EXPECT_EQ(Access::directThreshold(controller), 0.0);
    EXPECT_EQ(Access::indirectThreshold(controller), 0.0);
    EXPECT_FALSE(Access::refineDirect(controller));
    EXPECT_FALSE(Access::refineIndirect(controller));
    EXPECT_FALSE(Access::calculating(controller));
    EXPECT_FALSE(Access::keepRunning(controller));
    EXPECT_EQ(Access::directSampler(controller), nullptr);
    EXPECT_EQ(Access::gatherSampler(controller), nullptr);
    EXPECT_THAT(Access::geometryNodes(controller), IsEmpty());
    EXPECT_THAT(Access::occluderNodes(controller), IsEmpty());
    EXPECT_THAT(Access::visibleGeometryNodes(controller), IsEmpty());
    EXPECT_THAT(Access::visibleLightNodes(controller), IsEmpty());
    EXPECT_FALSE(Access::missingOnly(controller));
    EXPECT_TRUE(Access::passOption(controller));
    EXPECT_THAT(Access::subdivisionLists(controller), IsEmpty());
    EXPECT_EQ(Access::progressCounter(controller), 0u);
}

TEST_F(Settings, GivenShadowQuality_SetsBothSampleCounts) {
    for (const auto& [quality, count] : std::vector<std::pair<int, int>>{
             {0, 8}, {1, 16}, {3, 48}, {4, 64}, {5, 128}, {2, 32}, {7, 32}, {0, 8}, {-1, 32}}) {
        controller.setShadowQuality(quality);
        EXPECT_EQ(controller.getShadowQuality(), quality);
        EXPECT_EQ(Access::directSampleCountU(controller), count) << quality;
        EXPECT_EQ(Access::directSampleCountV(controller), count) << quality;
    }
}

TEST_F(Settings, GivenGatherQuality_SetsSampleCount) {
    for (const auto& [quality, count] :
         std::vector<std::pair<int, int>>{{0, 8}, {1, 16}, {2, 24}, {3, 32}, {4, 48}, {5, 48}, {0, 8}, {-1, 48}}) {
        controller.setGatherQuality(quality);
        EXPECT_EQ(controller.getGatherQuality(), quality);
        EXPECT_EQ(Access::gatherSampleCount(controller), count) << quality;
    }
}

TEST_F(Settings, GivenQualityUndone_SampleCountsFollow) {
    controller.setShadowQuality(5);
    controller.setGatherQuality(0);
    undoStack.undo();
    undoStack.undo();
    EXPECT_EQ(Access::directSampleCountU(controller), 32);
    EXPECT_EQ(Access::gatherSampleCount(controller), 24) << "the table's count of level 2";
}

TEST_F(Settings, GivenColorWithinTolerance_CountsAsEqual) {
    controller.setMaterialColor(0.0f, 0.0f, 0.0f);
    log.clear();
    controller.setMaterialColor(1e-6f, -1e-6f, 5e-7f);
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(controller.getMaterialColor()[0], 0.0f);
    controller.setMaterialColor(0.0f, 0.0f, 1.0000002e-6f);
    EXPECT_EQ(log.size(), 2u) << "the last component is just outside the tolerance";
}

TEST_F(Settings, GivenOneColorComponentOutside_StoresAll) {
    for (int component = 0; component < 3; ++component) {
        float rgb[3] = {0.7f, 0.7f, 0.7f};
        rgb[component] = 0.5f;
        controller.setMaterialColor(rgb[0], rgb[1], rgb[2]);
        EXPECT_EQ(controller.getMaterialColor()[component], 0.5f);
        undoStack.undo();
    }
}

TEST_F(Settings, GivenSmallThreshold_IsRaised) {
    controller.setIntensityThreshold(0.001);
    EXPECT_EQ(controller.getIntensityThreshold(), 0.0075);
    log.clear();
    controller.setIntensityThreshold(0.0075);
    controller.setIntensityThreshold(-1);
    controller.setIntensityThreshold(std::numeric_limits<double>::quiet_NaN());
    EXPECT_THAT(log, IsEmpty());
    controller.setIntensityThreshold(0.00750001);
    EXPECT_EQ(controller.getIntensityThreshold(), 0.00750001);
}

TEST_F(Settings, GivenOtherValuesOutOfRange_StoresThemAsTheyAre) {
    controller.setMinEdgeLength(-3);
    controller.setNumOfIndirections(-2);
    controller.setSubdivisionQuality(9);
    controller.setMinDistance(-1);
    EXPECT_EQ(controller.getMinEdgeLength(), -3);
    EXPECT_EQ(controller.getNumOfIndirections(), -2);
    EXPECT_EQ(controller.getSubdivisionQuality(), 9);
    EXPECT_EQ(controller.getMinDistance(), -1);
}

TEST_F(Settings, GivenTwoSettingsOfOneType_DoNotMerge) {
    controller.setMinDistance(2);
    controller.setMaxDistance(4);
    controller.setMinDistance(3);
    EXPECT_EQ(undoStack.count(), 3);
    EXPECT_EQ(undoStack.command(0)->id(), undoStack.command(1)->id());
}

TEST_F(Settings, GivenSettingsOfDifferentTypes_HaveDifferentIds) {
    controller.setMinDistance(2);
    controller.setShadowQuality(3);
    controller.setSubdivideEnabled(true);
    controller.setMinEdgeLength(2);
    controller.setMode(C::Shadows);
    controller.setMaterialColor(0, 0, 0);
    std::set<int> ids;
    for (int i = 0; i < undoStack.count(); ++i)
        ids.insert(undoStack.command(i)->id());
    EXPECT_EQ(ids.size(), 6u);
}

TEST_F(Settings, GivenCleanup_NothingHappens) {
    controller.cleanup();
    EXPECT_THAT(log, IsEmpty());
}
