// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktAmbientOcclusion.h"

#include "ktTBBInit.h"

// Nothing that this constructor reaches may call the(): the instance is still being made.
ktAmbientOcclusion::ktAmbientOcclusion()
    : shadowQuality(2), minDistance(1.0f), maxDistance(3000.0f), mode(Classic), indirectIllumination(true),
      gatherQuality(2), numOfIndirections(1), colorBleeding(false), overrideMaterialColor(true),
      materialColor(0.7f, 0.7f, 0.7f), subdivide(false), subdivisionQuality(0), minEdgeLength(1.0),
      intensityThreshold(0.05), directOption(1), directSampleCountU(32), directSampleCountV(32),
      gatherSampleCount(32), // until the first change of the gather quality, which has its own table
      threadCount(ktTBBInit::the()->getNumLogicalCores()), directThreshold(0.0), indirectThreshold(0.0),
      refineDirect(false), refineIndirect(false), calculating(false), keepRunning(false), directSampler(nullptr),
      gatherSampler(nullptr), missingOnly(false), passOption(true), progressCounter(0) {
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

int ktAmbientOcclusion::getShadowQuality() const {
    return shadowQuality;
}
float ktAmbientOcclusion::getMinDistance() const {
    return minDistance;
}
float ktAmbientOcclusion::getMaxDistance() const {
    return maxDistance;
}
ktAmbientOcclusion::DirectLightMode ktAmbientOcclusion::getMode() const {
    return mode;
}
bool ktAmbientOcclusion::isIndirectIlluminationEnabled() const {
    return indirectIllumination;
}
int ktAmbientOcclusion::getGatherQuality() const {
    return gatherQuality;
}
int ktAmbientOcclusion::getNumOfIndirections() const {
    return numOfIndirections;
}
bool ktAmbientOcclusion::isColorBleedingEnabled() const {
    return colorBleeding;
}
bool ktAmbientOcclusion::isOverrideMaterialColorEnabled() const {
    return overrideMaterialColor;
}
osg::Color3f ktAmbientOcclusion::getMaterialColor() const {
    return materialColor;
}
bool ktAmbientOcclusion::isSubdivideEnabled() const {
    return subdivide;
}
int ktAmbientOcclusion::getSubdivisionQuality() const {
    return subdivisionQuality;
}
double ktAmbientOcclusion::getMinEdgeLength() const {
    return minEdgeLength;
}
double ktAmbientOcclusion::getIntensityThreshold() const {
    return intensityThreshold;
}

void ktAmbientOcclusion::cleanup() {}

const char* getPluginVersion() {
    return "10.0";
}
