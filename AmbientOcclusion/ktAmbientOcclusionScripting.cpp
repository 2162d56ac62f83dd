// SPDX-License-Identifier: LGPL-2.1-or-later
// The functions that scripts call.
#include "ktAmbientOcclusion.h"
#include "ktLog.h"

namespace {

struct ScriptArguments {
    unsigned int quality;
    float minDistance, maxDistance;
    bool indirectIllumination, colorBleeding;
    unsigned int gatherQuality, numIndirections;
    bool subdivide;
    float minEdgeLength, intensityThreshold;
    bool overrideMaterialColor;
    float materialColorR, materialColorG, materialColorB;
    int subdivisionQuality;
};

void calculate(const ScriptArguments& arguments, bool missingOnly) {
    ktAmbientOcclusion* controller = ktAmbientOcclusion::the();
    controller->setShadowQuality(static_cast<int>(arguments.quality));
    controller->setMinDistance(arguments.minDistance);
    controller->setMaxDistance(arguments.maxDistance);
    controller->setIndirectIlluminationEnabled(arguments.indirectIllumination);
    controller->setColorBleedingEnabled(arguments.colorBleeding);
    controller->setOverrideMaterialColorEnabled(arguments.overrideMaterialColor);
    controller->setMaterialColor(arguments.materialColorR, arguments.materialColorG, arguments.materialColorB);
    controller->setGatherQuality(static_cast<int>(arguments.gatherQuality));
    controller->setNumOfIndirections(static_cast<int>(arguments.numIndirections));
    controller->setMinEdgeLength(arguments.minEdgeLength);
    controller->setSubdivideEnabled(arguments.subdivide);
    controller->setIntensityThreshold(arguments.intensityThreshold);
    controller->setSubdivisionQuality(arguments.subdivisionQuality);
    controller->startCalculation(missingOnly);
}

} // namespace

void ktAmbientOcclusion::computeAmbientOcclusion(unsigned int quality, float minDistance, float maxDistance,
                                                 bool indirectIllumination, bool colorBleeding,
                                                 unsigned int gatherQuality, unsigned int numIndirections,
                                                 bool subdivide, float minEdgeLength, bool overrideMaterialColor,
                                                 float materialColorR, float materialColorG, float materialColorB,
                                                 int subdivisionQuality, float intensityThreshold) {
    calculate({quality, minDistance, maxDistance, indirectIllumination, colorBleeding, gatherQuality, numIndirections,
               subdivide, minEdgeLength, intensityThreshold, overrideMaterialColor, materialColorR, materialColorG,
               materialColorB, subdivisionQuality},
              false);
}

void ktAmbientOcclusion::computeMissingAmbientOcclusion(unsigned int quality, float minDistance, float maxDistance,
                                                        bool indirectIllumination, bool colorBleeding,
                                                        unsigned int gatherQuality, unsigned int numIndirections,
                                                        bool subdivide, float minEdgeLength, float intensityThreshold,
                                                        bool overrideMaterialColor, float materialColorR,
                                                        float materialColorG, float materialColorB,
                                                        int subdivisionQuality) {
    calculate({quality, minDistance, maxDistance, indirectIllumination, colorBleeding, gatherQuality, numIndirections,
               subdivide, minEdgeLength, intensityThreshold, overrideMaterialColor, materialColorR, materialColorG,
               materialColorB, subdivisionQuality},
              true);
}

void ktAmbientOcclusion::pySetAmbientOcclusionMode(int newMode) {
    if (static_cast<unsigned int>(newMode) >= 3) { // also if negative
        ktLog::warning("Unknown ambient occlusion mode");
        return;
    }
    ktAmbientOcclusion* controller = the();
    if (controller->getMode() != newMode)
        controller->setMode(static_cast<DirectLightMode>(newMode));
}

int ktAmbientOcclusion::pyGetAmbientOcclusionMode() {
    return the()->getMode();
}
