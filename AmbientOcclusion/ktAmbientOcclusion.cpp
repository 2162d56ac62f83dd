// SPDX-License-Identifier: LGPL-2.1-or-later
// The controller: constructor, destructor and the single instance.
#include "ktAmbientOcclusion.h"

#include "ktTBBInit.h"

// This constructor, and everything that it calls, must not call the(): the instance does not exist yet.
ktAmbientOcclusion::ktAmbientOcclusion() : threadCount(ktTBBInit::the()->getNumLogicalCores()) {
    qRegisterMetaType<DirectLightMode>("ktAmbientOcclusion::DirectLightMode");
    qRegisterMetaType<CalculationState>("ktAmbientOcclusion::CalculationState");
    qRegisterMetaType<OSG::Color3f>("OSG::Color3f");
    readPreset();
}

ktAmbientOcclusion::~ktAmbientOcclusion() = default;

ktAmbientOcclusion* ktAmbientOcclusion::the() {
    static ktAmbientOcclusion instance;
    return &instance;
}

void ktAmbientOcclusion::cleanup() {}

const char* getPluginVersion() {
    return "10.0";
}
