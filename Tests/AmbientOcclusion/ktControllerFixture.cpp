// SPDX-License-Identifier: LGPL-2.1-or-later
// Creates a plug-in controller for each test, and records the signals that it emits.
#include "ktControllerFixture.h"

#include "ktAmbientOcclusionInternal.h"
#include "ktGeoSubdivisionList.h"

#include <sstream>

namespace {

template <class... Values>
void recordSignal(const char* name, const Values&... values) {
    std::ostringstream entry;
    entry << std::boolalpha << "signal " << name << "(";
    [[maybe_unused]] const char* separator = "";
    ((entry << separator << values, separator = ", "), ...);
    entry << ")";
    ktRecordingHost::the().record(entry.str());
}

std::int64_t testClock_us = 0;

std::unique_ptr<ktAmbientOcclusion, void (*)(ktAmbientOcclusion*)> makeController() {
    ktRecordingHost::the().reset();
    ktRecordingRaytracing::the().reset();
    testClock_us = 1000000000;
    ktAmbientOcclusionInternal::wallClock_us = [] { return testClock_us; };
    ktAmbientOcclusionInternal::lastStateReport_us = -1;
    ktAmbientOcclusionInternal::numRays = 0;
    return {ktAmbientOcclusionAccess::make(), ktAmbientOcclusionAccess::destroy};
}

} // namespace

void recordSignals(ktAmbientOcclusion& controller) {
    using C = ktAmbientOcclusion;
    const auto plain = [&controller](const char* name, void (C::*signal)()) {
        QObject::connect(&controller, signal, [name] { recordSignal(name); });
    };
    const auto integer = [&controller](const char* name, void (C::*signal)(int)) {
        QObject::connect(&controller, signal, [name](int value) { recordSignal(name, value); });
    };
    const auto boolean = [&controller](const char* name, void (C::*signal)(bool)) {
        QObject::connect(&controller, signal, [name](bool value) { recordSignal(name, value); });
    };
    integer("shadowQualityChanged", &C::shadowQualityChanged);
    integer("gatherQualityChanged", &C::gatherQualityChanged);
    integer("numOfIndirectionsChanged", &C::numOfIndirectionsChanged);
    integer("subdivisionQualityChanged", &C::subdivisionQualityChanged);
    integer("progressStarted", &C::progressStarted);
    integer("progressStep", &C::progressStep);
    integer("presetApplied", &C::presetApplied);
    integer("presetDeleted", &C::presetDeleted);
    boolean("indirectIlluminationChanged", &C::indirectIlluminationChanged);
    boolean("colorBleedingChanged", &C::colorBleedingChanged);
    boolean("overrideMaterialColorChanged", &C::overrideMaterialColorChanged);
    boolean("subdivideChanged", &C::subdivideChanged);
    boolean("calculationStarted", &C::calculationStarted);
    plain("calculationFailedNoSelection", &C::calculationFailedNoSelection);
    plain("calculationFailedLockedSelection", &C::calculationFailedLockedSelection);
    plain("calculationCanceled", &C::calculationCanceled);
    plain("progressStopped", &C::progressStopped);
    plain("activeShadowsCleared", &C::activeShadowsCleared);
    plain("allShadowsCleared", &C::allShadowsCleared);
    plain("activeIndirectCleared", &C::activeIndirectCleared);
    plain("allIndirectCleared", &C::allIndirectCleared);
    QObject::connect(&controller, &C::minDistanceChanged, [](float v) { recordSignal("minDistanceChanged", v); });
    QObject::connect(&controller, &C::maxDistanceChanged, [](float v) { recordSignal("maxDistanceChanged", v); });
    QObject::connect(&controller, &C::minEdgeLengthChanged, [](double v) { recordSignal("minEdgeLengthChanged", v); });
    QObject::connect(&controller, &C::intensityThresholdChanged,
                     [](double v) { recordSignal("intensityThresholdChanged", v); });
    QObject::connect(&controller, &C::modeChanged, [](C::DirectLightMode v) { recordSignal("modeChanged", int(v)); });
    QObject::connect(&controller, &C::materialColorChanged,
                     [](osg::Color3f v) { recordSignal("materialColorChanged", v[0], v[1], v[2]); });
    QObject::connect(&controller, &C::stateChanged, [](C::CalculationState state, unsigned int node) {
        recordSignal("stateChanged", int(state), node);
    });
}

std::int64_t& ktControllerFixture::now_us() {
    return testClock_us;
}

ktControllerFixture::ktControllerFixture() : owner(makeController()), controller(*owner) {
    recordSignals(controller);
    log.clear();
}

ktControllerFixture::~ktControllerFixture() {
    host.onEntry = nullptr;
    for (ktGeoSubdivisionList* list : Access::subdivisionLists(controller))
        delete list; // the controller's destructor does not delete them
    owner.reset();
    undoStack.clear();
    for (const osg::NodePtr& node : kept)
        osg::subRefCP(node);
    host.reset();
    raytracing.reset();
}

osg::NodePtr ktControllerFixture::keep(const osg::NodePtr& node) {
    osg::addRefCP(node);
    kept.push_back(node);
    return node;
}
