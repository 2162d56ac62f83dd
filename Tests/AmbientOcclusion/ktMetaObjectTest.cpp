// SPDX-License-Identifier: LGPL-2.1-or-later
// The controller's meta-object: signals, slots and enumerations.
#include "ktControllerFixture.h"

#include <QMetaEnum>
#include <QMetaMethod>

namespace {

/// Kind, signature and parameter names of the methods that the controller declares, in order.
std::vector<std::string> ownMethods() {
    const QMetaObject& metaObject = ktAmbientOcclusion::staticMetaObject;
    std::vector<std::string> methods;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        const QMetaMethod method = metaObject.method(i);
        std::string text = method.methodType() == QMetaMethod::Signal ? "signal " : "slot ";
        text += method.methodSignature().toStdString();
        for (const QByteArray& name : method.parameterNames())
            if (!name.isEmpty())
                text += " " + name.toStdString();
        methods.push_back(text);
    }
    return methods;
}

} // namespace

TEST(MetaObject, GivenController_ListsSignalsAndTwoSlotsInOrder) {
#ifdef KT_INSTALLED_OPENSG
    const std::string colour = "osg::Color3f"; // OSG is a macro there
#else
    const std::string colour = "OSG::Color3f";
#endif
    EXPECT_THAT(ownMethods(),
                testing::ElementsAre(
                    "signal shadowQualityChanged(int)", "signal minDistanceChanged(float)",
                    "signal maxDistanceChanged(float)", "signal modeChanged(ktAmbientOcclusion::DirectLightMode)",
                    "signal indirectIlluminationChanged(bool)", "signal colorBleedingChanged(bool)",
                    "signal overrideMaterialColorChanged(bool)", "signal materialColorChanged(" + colour + ")",
                    "signal gatherQualityChanged(int)", "signal numOfIndirectionsChanged(int)",
                    "signal minEdgeLengthChanged(double)", "signal subdivideChanged(bool)",
                    "signal intensityThresholdChanged(double)", "signal subdivisionQualityChanged(int)",
                    "signal stateChanged(ktAmbientOcclusion::CalculationState,uint) state node",
                    "signal calculationStarted(bool) missingOnly", "signal calculationFailedNoSelection()",
                    "signal calculationFailedLockedSelection()", "signal calculationCanceled()",
                    "signal progressStarted(int) maxSteps", "signal progressStep(int) counter",
                    "signal progressStopped()", "signal presetApplied(int)", "signal presetDeleted(int)",
                    "signal activeShadowsCleared()", "signal allShadowsCleared()", "signal activeIndirectCleared()",
                    "signal allIndirectCleared()", "slot shadowQualityCommand()", "slot gatherQualityCommand()"));
}

TEST(MetaObject, GivenController_DerivesFromQObjectAndCastsByName) {
    EXPECT_STREQ(ktAmbientOcclusion::staticMetaObject.className(), "ktAmbientOcclusion");
    EXPECT_STREQ(ktAmbientOcclusion::staticMetaObject.superClass()->className(), "QObject");
    QObject* object = ktAmbientOcclusion::the();
    EXPECT_EQ(object->qt_metacast("ktAmbientOcclusion"), object);
    EXPECT_EQ(object->qt_metacast("ktSomethingElse"), nullptr);
    EXPECT_EQ(qobject_cast<ktAmbientOcclusion*>(object), ktAmbientOcclusion::the());
}

TEST(MetaObject, GivenEnumerations_AreRegisteredUnderQualifiedNames) {
    ktAmbientOcclusion::the();
    for (const char* name :
         {"ktAmbientOcclusion::DirectLightMode", "ktAmbientOcclusion::CalculationState", "OSG::Color3f"})
        EXPECT_NE(QMetaType::type(name), int(QMetaType::UnknownType)) << name;
    EXPECT_EQ(QMetaType::type("OSG::Color3f"), qMetaTypeId<osg::Color3f>());
}

TEST(MetaObject, GivenEnumerations_HaveTheirValues) {
    using C = ktAmbientOcclusion;
    const auto valuesOf = [](const QMetaEnum& metaEnum) {
        std::vector<std::string> values;
        for (int i = 0; i < metaEnum.keyCount(); ++i)
            values.push_back(std::string(metaEnum.key(i)) + " " + std::to_string(metaEnum.value(i)));
        return values;
    };
    EXPECT_THAT(valuesOf(QMetaEnum::fromType<C::DirectLightMode>()),
                testing::ElementsAre("Classic 0", "Shadows 1", "LightAndShadows 2"));
    EXPECT_THAT(valuesOf(QMetaEnum::fromType<C::CalculationState>()),
                testing::ElementsAre("Idle 0", "Starting 1", "Preparing 2", "BuildingAccelerationStructure 3",
                                     "RebuildingAccelerationStructure 4", "DirectNode 5", "DirectNodeStep 6",
                                     "GatherNode 7", "GatherNodeStep 8", "Finishing 9"));
}
