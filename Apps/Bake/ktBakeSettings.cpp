// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakeSettings.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeExit.h"
#include "ktBakeOptions.h"
#include "ktBakePresets.h"
#include "ktLog.h"

#include <QJsonArray>

int applySettings(const ktBakeOptions& options, const osg::NodePtr& settingsNode, double sceneDiagonal) {
    ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
    if (!options.preset.empty()) {
        std::string message;
        const int index = findPreset(plugin->getPresetNames(), options.preset, message);
        if (index < 0) {
            ktLog::error("%s", message.c_str());
            return ktBakeExit::usage;
        }
        plugin->applyPreset(index);
    }
    if (settingsNode != osg::NullFC)
        plugin->loadFromNode(settingsNode);

    if (options.shadowQuality)
        plugin->setShadowQuality(*options.shadowQuality);
    if (options.minDistance)
        plugin->setMinDistance(static_cast<float>(options.minDistance->inWorldUnits(sceneDiagonal)));
    if (options.maxDistance)
        plugin->setMaxDistance(static_cast<float>(options.maxDistance->inWorldUnits(sceneDiagonal)));
    if (options.mode)
        plugin->setMode(static_cast<ktAmbientOcclusion::DirectLightMode>(*options.mode));
    if (options.indirect)
        plugin->setIndirectIlluminationEnabled(*options.indirect);
    if (options.gatherQuality) {
        // The number of rays follows the quality from its first change on, and what was asked for may be what it is.
        plugin->setGatherQuality(*options.gatherQuality == 0 ? 1 : 0);
        plugin->setGatherQuality(*options.gatherQuality);
    }
    if (options.bounces)
        plugin->setNumOfIndirections(*options.bounces);
    if (options.colorBleeding)
        plugin->setColorBleedingEnabled(*options.colorBleeding);
    if (options.overrideColor)
        plugin->setOverrideMaterialColorEnabled(*options.overrideColor);
    if (options.overrideColorValue) {
        const auto& color = *options.overrideColorValue;
        plugin->setMaterialColor(color[0], color[1], color[2]);
    }
    if (options.subdivide)
        plugin->setSubdivideEnabled(*options.subdivide);
    if (options.subdivisionQuality)
        plugin->setSubdivisionQuality(*options.subdivisionQuality);
    if (options.minEdgeLength)
        plugin->setMinEdgeLength(options.minEdgeLength->inWorldUnits(sceneDiagonal));
    if (options.intensityThreshold)
        plugin->setIntensityThreshold(*options.intensityThreshold);

    if (!(plugin->getMinDistance() < plugin->getMaxDistance())) {
        ktLog::error("The minimum distance (%g mm) must be smaller than the maximum distance (%g mm).",
                     static_cast<double>(plugin->getMinDistance()), static_cast<double>(plugin->getMaxDistance()));
        return ktBakeExit::usage;
    }
    return ktBakeExit::done;
}

void warnAboutSettings() {
    const ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
    if (!plugin->isSubdivideEnabled())
        return;
    const bool isDirectRefined = plugin->getShadowQuality() > 1;
    const bool hasBounces = plugin->isIndirectIlluminationEnabled() && plugin->getNumOfIndirections() > 0;
    const bool isIndirectRefined = hasBounces && plugin->getGatherQuality() > 1;
    if (!isDirectRefined && isIndirectRefined)
        ktLog::warning("Refinement by indirect light alone changes no geometry: it needs a shadow quality of 2 or more "
                       "as well.");
    else if (!isDirectRefined)
        ktLog::warning("Geometry is not refined with a shadow quality of %i; 2 or more refines.",
                       plugin->getShadowQuality());
    else if (hasBounces && !isIndirectRefined)
        ktLog::warning("Geometry is refined by shadows alone: with a gather quality of %i bounces do not refine; 2 or "
                       "more does.",
                       plugin->getGatherQuality());
}

QJsonObject describeSettings() {
    const ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    static const char* const modes[] = {"classic", "shadows", "light-and-shadows"};
    const osg::Color3f color = plugin.getMaterialColor();
    return {{"shadow-quality", plugin.getShadowQuality()},
            {"min-distance", static_cast<double>(plugin.getMinDistance())},
            {"max-distance", static_cast<double>(plugin.getMaxDistance())},
            {"mode", modes[plugin.getMode()]},
            {"indirect", plugin.isIndirectIlluminationEnabled()},
            {"gather-quality", plugin.getGatherQuality()},
            {"bounces", plugin.getNumOfIndirections()},
            {"color-bleeding", plugin.isColorBleedingEnabled()},
            {"override", plugin.isOverrideMaterialColorEnabled()},
            {"override-color",
             QJsonArray{static_cast<double>(color[0]), static_cast<double>(color[1]), static_cast<double>(color[2])}},
            {"subdivide", plugin.isSubdivideEnabled()},
            {"subdivision-quality", plugin.getSubdivisionQuality()},
            {"min-edge-length", plugin.getMinEdgeLength()},
            {"intensity-threshold", plugin.getIntensityThreshold()}};
}
