// SPDX-License-Identifier: LGPL-2.1-or-later
// The functions for scripts, which use the only instance of the process.
#include "ktCalculationFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using C = ktAmbientOcclusion;
using osg::Vec4f;

class Scripting : public ktCalculationFixture {
protected:
    Scripting() : instance(*C::the()) {
        recordSignals(instance);
        setDefaults();
        undoStack.clear();
        log.clear();
    }
    ~Scripting() override {
        host.onEntry = nullptr;
        setDefaults();
        QObject::disconnect(&instance, nullptr, nullptr, nullptr);
        undoStack.clear();
    }
    void setDefaults() {
        instance.setMode(C::Classic);
        instance.setShadowQuality(2);
        instance.setMinDistance(1);
        instance.setMaxDistance(3000);
        instance.setIndirectIlluminationEnabled(true);
        instance.setGatherQuality(2);
        instance.setNumOfIndirections(1);
        instance.setColorBleedingEnabled(false);
        instance.setOverrideMaterialColorEnabled(true);
        instance.setMaterialColor(0.7f, 0.7f, 0.7f);
        instance.setSubdivideEnabled(false);
        instance.setSubdivisionQuality(0);
        instance.setMinEdgeLength(1);
        instance.setIntensityThreshold(0.05);
    }
    std::vector<std::string> settingSignals() const {
        std::vector<std::string> found;
        for (const std::string& entry : entriesWith(log, "signal "))
            if (entry.find("Changed(") != std::string::npos)
                found.push_back(entry);
        return found;
    }

    C& instance;
    const std::vector<std::string> expectedSignals{"signal shadowQualityChanged(3)",
                                                   "signal minDistanceChanged(0.5)",
                                                   "signal maxDistanceChanged(250)",
                                                   "signal indirectIlluminationChanged(false)",
                                                   "signal colorBleedingChanged(true)",
                                                   "signal overrideMaterialColorChanged(false)",
                                                   "signal materialColorChanged(0.1, 0.2, 0.3)",
                                                   "signal gatherQualityChanged(4)",
                                                   "signal numOfIndirectionsChanged(3)",
                                                   "signal minEdgeLengthChanged(2.5)",
                                                   "signal subdivideChanged(true)",
                                                   "signal intensityThresholdChanged(0.25)",
                                                   "signal subdivisionQualityChanged(2)"};
};

} // namespace

TEST_F(Scripting, GivenAllArguments_SetsInOrderAndCalculates) {
    C::computeAmbientOcclusion(3, 0.5f, 250, false, true, 4, 3, true, 2.5f, false, 0.1f, 0.2f, 0.3f, 2, 0.25f);
    EXPECT_THAT(settingSignals(), testing::ElementsAreArray(expectedSignals));
    EXPECT_EQ(undoStack.count(), 13) << "one step per setting, no macro";
    EXPECT_EQ(log.back(), "signal calculationStarted(false)");
    EXPECT_THAT(raytracing.directPasses, SizeIs(2));
}

TEST_F(Scripting, GivenAllArgumentsOfMissing_SetsInOrderAndCalculatesWhatIsMissing) {
    setChannel7(geometryOfNode(a), makeChannel(std::vector<Vec4f>(3, Vec4f(0, 0, 0, 1))));
    C::computeMissingAmbientOcclusion(3, 0.5f, 250, false, true, 4, 3, true, 2.5f, 0.25f, false, 0.1f, 0.2f, 0.3f, 2);
    EXPECT_THAT(settingSignals(), testing::ElementsAreArray(expectedSignals));
    EXPECT_EQ(log.back(), "signal calculationStarted(true)");
    EXPECT_THAT(raytracing.directPasses, SizeIs(1));
}

TEST_F(Scripting, GivenNineArguments_FillsInTheDefaults) {
    instance.setMaterialColor(0, 0, 0);
    instance.setIntensityThreshold(0.5);
    C::computeAmbientOcclusion(2, 1, 3000, true, false, 2, 1, false, 1);
    EXPECT_FALSE(instance.isOverrideMaterialColorEnabled());
    EXPECT_EQ(instance.getMaterialColor(), osg::Color3f(0.7f, 0.7f, 0.7f));
    EXPECT_EQ(instance.getSubdivisionQuality(), 1);
    EXPECT_EQ(instance.getIntensityThreshold(), double(0.05f)) << "single precision, converted to double";
}

TEST_F(Scripting, GivenTenArgumentsOfMissing_FillsInTheDefaults) {
    instance.setMaterialColor(0, 0, 0);
    C::computeMissingAmbientOcclusion(2, 1, 3000, true, false, 2, 1, false, 1, 0.125f);
    EXPECT_EQ(instance.getIntensityThreshold(), 0.125);
    EXPECT_FALSE(instance.isOverrideMaterialColorEnabled());
    EXPECT_EQ(instance.getMaterialColor(), osg::Color3f(0.7f, 0.7f, 0.7f));
    EXPECT_EQ(instance.getSubdivisionQuality(), 1);
}

TEST_F(Scripting, GivenCurrentValues_MakesNoUndoEntryButCalculates) {
    instance.setIntensityThreshold(double(0.05f));
    undoStack.clear();
    C::computeAmbientOcclusion(2, 1, 3000, true, false, 2, 1, false, 1, true, 0.7f, 0.7f, 0.7f, 0, 0.05f);
    EXPECT_EQ(undoStack.count(), 0);
    EXPECT_EQ(log.back(), "signal calculationStarted(false)");
}

TEST_F(Scripting, GivenSmallThreshold_IsClamped) {
    C::computeAmbientOcclusion(2, 1, 3000, true, false, 2, 1, false, 1, true, 0.7f, 0.7f, 0.7f, 0, 0.001f);
    EXPECT_EQ(instance.getIntensityThreshold(), 0.0075);
}

TEST_F(Scripting, GivenMode_IsNotTouchedByCalculations) {
    instance.setMode(C::LightAndShadows);
    C::computeAmbientOcclusion(2, 1, 3000, true, false, 2, 1, false, 1);
    C::computeMissingAmbientOcclusion(2, 1, 3000, true, false, 2, 1, false, 1, 0.05f);
    EXPECT_EQ(instance.getMode(), C::LightAndShadows);
}

TEST_F(Scripting, GivenMissingWithEverythingCalculated_AttachesSettingsAndSignals) {
    C::computeAmbientOcclusion(2, 1, 3000, true, false, 2, 1, false, 1);
    raytracing.reset();
    log.clear();
    C::computeMissingAmbientOcclusion(2, 1, 3000, true, false, 2, 1, false, 1, 0.05f);
    EXPECT_THAT(raytracing.directPasses, IsEmpty());
    EXPECT_EQ(log.back(), "signal calculationStarted(true)");
}

TEST_F(Scripting, GivenModeNumber_SetsItUndoably) {
    C::pySetAmbientOcclusionMode(1);
    EXPECT_EQ(C::pyGetAmbientOcclusionMode(), 1);
    EXPECT_THAT(log, ElementsAre("add \"Ambient Occlusion Mode\"", "signal modeChanged(1)"));
    undoStack.undo();
    EXPECT_EQ(C::pyGetAmbientOcclusionMode(), 0);
}

TEST_F(Scripting, GivenUnknownModeNumber_WarnsAndKeepsTheMode) {
    C::pySetAmbientOcclusionMode(2);
    undoStack.clear();
    log.clear();
    for (const int mode : {3, -1, 100})
        C::pySetAmbientOcclusionMode(mode);
    EXPECT_THAT(log, testing::Each("warning: Unknown ambient occlusion mode"));
    EXPECT_EQ(log.size(), 3u);
    EXPECT_EQ(C::pyGetAmbientOcclusionMode(), 2);
    EXPECT_EQ(undoStack.count(), 0);
}

TEST_F(Scripting, GivenCurrentModeNumber_LeavesTheUndoStackAlone) {
    C::pySetAmbientOcclusionMode(C::pyGetAmbientOcclusionMode());
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(undoStack.count(), 0);
}

TEST_F(Scripting, GivenInstance_IsAlwaysTheSame) {
    EXPECT_EQ(C::the(), C::the());
}
