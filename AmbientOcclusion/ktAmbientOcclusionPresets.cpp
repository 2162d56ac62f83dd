// SPDX-License-Identifier: LGPL-2.1-or-later
// The presets: named parameter sets. The controller's constructor calls addPreset() and addDefaultPresets().
#include "ktAmbientOcclusion.h"
#include "ktUndoStack.h"

#include <type_traits>

namespace {

namespace Settings = ktAmbientOcclusionSettings;

/// Writes a controller's value to a preset, in the preset's type and units. Wraps if the number does not fit.
template <class Row>
void setInPreset(Row row, AOPreset& preset, const typename Row::Value& value) {
    auto& member = row.inPreset(preset);
    if constexpr (row.presetUnits != 1)
        member = static_cast<int>(static_cast<unsigned int>(value) * static_cast<unsigned int>(row.presetUnits));
    else
        member = static_cast<std::decay_t<decltype(member)>>(value);
}

/// A preset's value in the controller's units, rounded toward zero.
template <class Row>
typename Row::Value getFromPreset(Row row, const AOPreset& preset) {
    if constexpr (row.presetUnits != 1)
        return row.inPreset(preset) / row.presetUnits;
    else
        return row.inPreset(preset);
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

// All other settings have their initial values. The ground plane presets have an indirect quality though it is off.
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
    // A copy, because listeners of a setting may change the list of presets.
    const AOPreset preset = presets[static_cast<std::size_t>(index)];
    ktUndoStack* undoStack = ktUndoStack::get(0);
    undoStack->beginMacro(tr("Apply Ambient Occlusion Preset"));
    Settings::forEachSetting<&Settings::Places::presets>([&](auto row) { row.set(*this, getFromPreset(row, preset)); });
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
    Settings::forEachSetting<&Settings::Places::presets>([&](auto row) { setInPreset(row, preset, row.get(*this)); });
    presets.push_back(preset);
    writePreset();
}

void ktAmbientOcclusion::addDefaultPresets() {
    for (const BuiltInPreset& builtIn : builtInPresets) {
        AOPreset preset;
        preset.name = tr(builtIn.name).toUtf8().toStdString();
        Settings::forEachSetting<&Settings::Places::presets>([&](auto row) { setInPreset(row, preset, row.initial); });
        preset.quality = builtIn.quality;
        preset.indirect = builtIn.indirect;
        preset.indirectQuality = builtIn.indirectQuality;
        preset.subdivision = builtIn.subdivision;
        preset.subdivisionQuality = builtIn.subdivisionQuality;
        preset.intensityThreshold = builtIn.intensityThreshold;
        presets.push_back(preset);
    }
    writePreset();
}
