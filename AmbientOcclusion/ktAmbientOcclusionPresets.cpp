// SPDX-License-Identifier: LGPL-2.1-or-later
// The catalogue of named parameter sets. The constructor reaches addPreset() and addDefaultPresets().
#include "ktAmbientOcclusion.h"
#include "ktUndoStack.h"

namespace {

/// Presets keep qualities four times finer than the controller. Wraps where the number does not fit.
int toPresetUnits(int quality) {
    return static_cast<int>(static_cast<unsigned int>(quality) * 4u);
}

struct BuiltInPreset {
    const char* name;
    int quality;
    bool indirect;
    int indirectQuality;
    bool subdivision;
    int subdivisionQuality;
    float intensityThreshold;
};

// The rest is the same in all of them. Those of the ground plane keep an indirect quality though it is off.
const BuiltInPreset builtInPresets[] = {
    {QT_TRANSLATE_NOOP("ktAmbientOcclusion", "Car Low Quality"), 0, true, 0, false, 0, 0.05f},
    {QT_TRANSLATE_NOOP("ktAmbientOcclusion", "Car Medium Quality"), 8, true, 8, false, 0, 0.05f},
    {QT_TRANSLATE_NOOP("ktAmbientOcclusion", "Car High Quality"), 12, true, 12, true, 0, 0.05f},
    {QT_TRANSLATE_NOOP("ktAmbientOcclusion", "Car Highest Quality"), 16, true, 16, true, 2, 0.04f},
    {QT_TRANSLATE_NOOP("ktAmbientOcclusion", "Groundplane Low Quality"), 8, false, 12, true, 0, 0.05f},
    {QT_TRANSLATE_NOOP("ktAmbientOcclusion", "Groundplane High Quality"), 16, false, 16, true, 2, 0.04f},
};

} // namespace

void ktAmbientOcclusion::applyPreset(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= presets.size())
        return;
    // A copy: what listens to a setting may change the catalogue.
    const AOPreset preset = presets[static_cast<std::size_t>(index)];
    ktUndoStack* undoStack = ktUndoStack::get(0);
    undoStack->beginMacro(tr("Apply Ambient Occlusion Preset"));
    setShadowQuality(preset.quality / 4);
    setMinDistance(preset.minDistance);
    setMaxDistance(preset.maxDistance);
    setIndirectIlluminationEnabled(preset.indirect);
    setColorBleedingEnabled(preset.colorBleeding);
    setOverrideMaterialColorEnabled(preset.materialOverride);
    setMaterialColor(preset.materialColor[0], preset.materialColor[1], preset.materialColor[2]);
    setGatherQuality(preset.indirectQuality / 4);
    setNumOfIndirections(preset.numIndirections);
    setMinEdgeLength(preset.minEdgeLength);
    setSubdivideEnabled(preset.subdivision);
    setIntensityThreshold(preset.intensityThreshold);
    setSubdivisionQuality(preset.subdivisionQuality);
    undoStack->endMacro();
    Q_EMIT presetApplied(index);
}

void ktAmbientOcclusion::deletePreset(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= presets.size())
        return;
    presets.erase(presets.begin() + index);
    Q_EMIT presetDeleted(index);
}

QList<QString> ktAmbientOcclusion::getPresetNames() {
    QList<QString> names;
    for (const AOPreset& preset : presets)
        names.append(QString::fromUtf8(preset.name.c_str()));
    return names;
}

void ktAmbientOcclusion::addPreset(const QString& name) {
    AOPreset preset;
    preset.name = name.toUtf8().toStdString();
    preset.quality = toPresetUnits(shadowQuality);
    preset.minDistance = minDistance;
    preset.maxDistance = maxDistance;
    preset.indirect = indirectIllumination;
    preset.indirectQuality = toPresetUnits(gatherQuality);
    preset.materialOverride = overrideMaterialColor;
    preset.materialColor = materialColor;
    preset.colorBleeding = colorBleeding;
    preset.numIndirections = numOfIndirections;
    preset.subdivision = subdivide;
    preset.subdivisionQuality = subdivisionQuality;
    preset.minEdgeLength = static_cast<float>(minEdgeLength);
    preset.intensityThreshold = static_cast<float>(intensityThreshold);
    presets.push_back(preset);
    writePreset();
}

void ktAmbientOcclusion::addDefaultPresets() {
    for (const BuiltInPreset& builtIn : builtInPresets) {
        AOPreset preset;
        preset.name = tr(builtIn.name).toUtf8().toStdString();
        preset.quality = builtIn.quality;
        preset.minDistance = 1.0f;
        preset.maxDistance = 3000.0f;
        preset.indirect = builtIn.indirect;
        preset.indirectQuality = builtIn.indirectQuality;
        preset.materialOverride = true;
        preset.materialColor = osg::Color3f(0.7f, 0.7f, 0.7f);
        preset.colorBleeding = false;
        preset.numIndirections = 1;
        preset.subdivision = builtIn.subdivision;
        preset.subdivisionQuality = builtIn.subdivisionQuality;
        preset.minEdgeLength = 1.0f;
        preset.intensityThreshold = builtIn.intensityThreshold;
        presets.push_back(preset);
    }
    writePreset();
}
