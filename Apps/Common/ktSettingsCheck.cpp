// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds settings that have no effect together with the others.
#include "ktSettingsCheck.h"

#include "ktAmbientOcclusion.h"
#include "ktFitMode.h"
#include "ktTriangleBudget.h"

std::string findUselessSettings() {
    const ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
    const bool hasBudget = ktGetTriangleBudget().number > 0;
    if (!plugin->isSubdivideEnabled())
        return hasBudget ? "A number of triangles has no effect without refinement; turn on \"subdivide\"." : "";
    if (hasBudget && ktGetFitMode() != ktFitMode::Surface)
        return "A number of triangles has no effect with the fit \"vertices\".";
    const bool isDirectRefined = plugin->getShadowQuality() > 1;
    const bool hasBounces = plugin->isIndirectIlluminationEnabled() && plugin->getNumOfIndirections() > 0;
    const bool isIndirectRefined = hasBounces && plugin->getGatherQuality() > 1;
    if (!isDirectRefined && isIndirectRefined)
        return "Refinement by indirect light alone changes no geometry: it needs a shadow quality of 2 or more as "
               "well.";
    if (!isDirectRefined)
        return "Geometry is not refined with a shadow quality of " + std::to_string(plugin->getShadowQuality()) +
               "; 2 or more refines.";
    if (hasBounces && !isIndirectRefined)
        return "Geometry is refined by shadows alone: with a gather quality of " +
               std::to_string(plugin->getGatherQuality()) + " bounces do not refine; 2 or more does.";
    return {};
}
