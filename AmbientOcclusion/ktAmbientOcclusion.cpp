// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktAmbientOcclusion.h"

#include "ktTBBInit.h"

// Nothing that this constructor reaches may call the(): the instance is still being made.
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
