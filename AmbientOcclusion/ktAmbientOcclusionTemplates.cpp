// SPDX-License-Identifier: LGPL-2.1-or-later
// The file that keeps the presets, by column: one list a field, entry i of each is preset i's. The constructor ends
// with readPreset(), so nothing here may ask for the instance.
#include "ktAmbientOcclusion.h"
#include "ktGetFromMessage.h"
#include "ktLog.h"
#include "ktMessage.h"
#include "ktMessageRW.h"
#include "ktPreferences.h"

namespace {

std::string templatesPath() {
    return (ktPreferences::getPreferencesDir() + "aotemplates.xml").toUtf8().toStdString();
}

template <class T, class GetField>
void setColumn(ktMessage& message, const char* name, const std::vector<AOPreset>& presets, GetField getField) {
    std::vector<T> column;
    column.reserve(presets.size());
    for (const AOPreset& preset : presets)
        column.push_back(getField(preset));
    message.set(name, std::move(column), true);
}

/// One list of the file, and what stands for entries that it lacks.
template <class T>
class Column {
public:
    Column(const ktMessage& message, const char* name, T entryWhenMissing) : whenMissing(entryWhenMissing) {
        getFromMessage(message, name, entries);
    }
    T operator[](std::size_t index) const { return index < entries.size() ? T(entries[index]) : whenMissing; }

private:
    std::vector<T> entries;
    T whenMissing;
};

} // namespace

void ktAmbientOcclusion::writePreset() {
    const std::string path = templatesPath();
    ktMessage message;
    message.set("AOPreset", static_cast<unsigned long>(presets.size()), true);
    setColumn<std::string>(message, "name", presets, [](const AOPreset& p) { return p.name; });
    setColumn<int>(message, "quality", presets, [](const AOPreset& p) { return p.quality; });
    setColumn<float>(message, "minDistance", presets, [](const AOPreset& p) { return p.minDistance; });
    setColumn<float>(message, "maxDistance", presets, [](const AOPreset& p) { return p.maxDistance; });
    setColumn<bool>(message, "indirect", presets, [](const AOPreset& p) { return p.indirect; });
    setColumn<int>(message, "indirectQuality", presets, [](const AOPreset& p) { return p.indirectQuality; });
    setColumn<bool>(message, "colorBleeding", presets, [](const AOPreset& p) { return p.colorBleeding; });
    setColumn<bool>(message, "materialOverride", presets, [](const AOPreset& p) { return p.materialOverride; });
    setColumn<float>(message, "materialColorR", presets, [](const AOPreset& p) { return p.materialColor[0]; });
    setColumn<float>(message, "materialColorG", presets, [](const AOPreset& p) { return p.materialColor[1]; });
    setColumn<float>(message, "materialColorB", presets, [](const AOPreset& p) { return p.materialColor[2]; });
    setColumn<int>(message, "numIndirections", presets, [](const AOPreset& p) { return p.numIndirections; });
    setColumn<bool>(message, "subdivision", presets, [](const AOPreset& p) { return p.subdivision; });
    setColumn<int>(message, "subdivisionQuality", presets, [](const AOPreset& p) { return p.subdivisionQuality; });
    setColumn<float>(message, "minEdgeLength", presets, [](const AOPreset& p) { return p.minEdgeLength; });
    setColumn<float>(message, "intensityThreshold", presets, [](const AOPreset& p) { return p.intensityThreshold; });
    if (!ktMessageRW::write(message, path.c_str()))
        ktLog::error("Couldn't write ambient occlusion templates file!");
}

void ktAmbientOcclusion::readPreset() {
    const std::string path = templatesPath();
    ktMessage message;
    if (!ktMessageRW::read(message, path.c_str(), "")) {
        // UTF-8 bytes taken for Latin-1: a translation beyond ASCII has always got its name this way.
        addPreset(QString::fromLatin1(tr("Default").toUtf8()));
        addDefaultPresets();
        writePreset();
        ktMessageRW::read(message, path.c_str(), "");
        return;
    }

    unsigned long count = 0; // for people who look into the file
    getFromMessage(message, "AOPreset", count);
    std::vector<std::string> names;
    const bool hasNames = getFromMessage(message, "name", names);
    const Column<int> quality(message, "quality", 2);
    const Column<float> minDistances(message, "minDistance", 1.0f);
    const Column<float> maxDistances(message, "maxDistance", 3000.0f);
    const Column<bool> indirect(message, "indirect", false);
    const Column<int> indirectQuality(message, "indirectQuality", 2);
    const Column<bool> colorBleedings(message, "colorBleeding", false);
    const Column<bool> materialOverride(message, "materialOverride", false);
    const Column<float> red(message, "materialColorR", 0.7f);
    const Column<float> green(message, "materialColorG", 0.7f);
    const Column<float> blue(message, "materialColorB", 0.7f);
    const Column<int> numIndirections(message, "numIndirections", 1);
    const Column<bool> subdivision(message, "subdivision", false);
    const Column<int> subdivisionQualities(message, "subdivisionQuality", 0);
    const Column<float> minEdgeLengths(message, "minEdgeLength", 5.0f);
    const Column<float> intensityThresholds(message, "intensityThreshold", 0.05f);
    if (!hasNames) {
        ktLog::error("Couldn't read ambient occlusion templates file!");
        return;
    }

    presets.clear();
    presets.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        AOPreset preset;
        preset.name = std::move(names[i]);
        preset.quality = quality[i];
        preset.minDistance = minDistances[i];
        preset.maxDistance = maxDistances[i];
        preset.indirect = indirect[i];
        preset.indirectQuality = indirectQuality[i];
        preset.materialOverride = materialOverride[i];
        preset.materialColor = osg::Color3f(red[i], green[i], blue[i]);
        preset.colorBleeding = colorBleedings[i];
        preset.numIndirections = numIndirections[i];
        preset.subdivision = subdivision[i];
        preset.subdivisionQuality = subdivisionQualities[i];
        preset.minEdgeLength = minEdgeLengths[i];
        preset.intensityThreshold = intensityThresholds[i];
        presets.push_back(std::move(preset));
    }
}
