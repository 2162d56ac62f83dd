// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads and writes the templates file, which holds the presets by column: one list per field, entry i of each list
// belongs to preset i. The controller's constructor calls readPreset(), so this file must not call the().
#include "ktAmbientOcclusion.h"
#include "ktGetFromMessage.h"
#include "ktLog.h"
#include "ktMessage.h"
#include "ktMessageRW.h"
#include "ktPreferences.h"

#include <type_traits>
#include <utility>

namespace {

namespace Settings = ktAmbientOcclusionSettings;

std::string templatesPath() {
    return (ktPreferences::getPreferencesDir() + "aotemplates.xml").toUtf8().toStdString();
}

template <class T, class GetField>
void setColumn(ktMessage& message, const std::string& name, const std::vector<AOPreset>& presets, GetField getField) {
    std::vector<T> column;
    column.reserve(presets.size());
    for (const AOPreset& preset : presets)
        column.push_back(getField(preset));
    message.set(name, std::move(column), true);
}

/// One list of the file, and a default for missing entries.
template <class T>
class Column {
public:
    Column(const ktMessage& message, const std::string& name, T entryWhenMissing) : whenMissing(entryWhenMissing) {
        getFromMessage(message, name, entries);
    }
    T operator[](std::size_t index) const { return index < entries.size() ? T(entries[index]) : whenMissing; }

private:
    std::vector<T> entries;
    T whenMissing;
};

template <class T, class SetField>
void getColumn(const ktMessage& message, const std::string& name, T entryWhenMissing, std::vector<AOPreset>& presets,
               SetField setField) {
    const Column<T> column(message, name, entryWhenMissing);
    for (std::size_t i = 0; i < presets.size(); ++i)
        setField(presets[i], column[i]);
}

// A colour has three columns, which end in these letters.
constexpr const char* components[] = {"R", "G", "B"};

/// Type of a setting in a preset.
template <class Row>
using Member = std::decay_t<decltype(Row::inPreset(std::declval<AOPreset&>()))>;

template <class Row>
void setColumns(ktMessage& message, Row row, const std::vector<AOPreset>& presets) {
    if constexpr (std::is_same_v<Member<Row>, osg::Color3f>)
        for (osg::UInt32 c = 0; c < 3; ++c)
            setColumn<float>(message, row.names.column + std::string(components[c]), presets,
                             [row, c](const AOPreset& preset) { return row.inPreset(preset)[c]; });
    else
        setColumn<Member<Row>>(message, row.names.column, presets,
                               [row](const AOPreset& preset) { return row.inPreset(preset); });
}

template <class Row>
void getColumns(const ktMessage& message, Row row, std::vector<AOPreset>& presets) {
    if constexpr (std::is_same_v<Member<Row>, osg::Color3f>) {
        const osg::Color3f whenMissing = row.fileFallback;
        for (osg::UInt32 c = 0; c < 3; ++c)
            getColumn<float>(message, row.names.column + std::string(components[c]), whenMissing[c], presets,
                             [row, c](AOPreset& preset, float entry) { row.inPreset(preset)[c] = entry; });
    } else {
        getColumn<Member<Row>>(message, row.names.column, row.fileFallback, presets,
                               [row](AOPreset& preset, Member<Row> entry) { row.inPreset(preset) = entry; });
    }
}

} // namespace

void ktAmbientOcclusion::writePreset() {
    const std::string path = templatesPath();
    ktMessage message;
    message.set("AOPreset", static_cast<unsigned long>(presets.size()), true);
    setColumn<std::string>(message, "name", presets, [](const AOPreset& p) { return p.name; });
    Settings::forEachSetting<&Settings::Places::texts>([&](auto row) { setColumns(message, row, presets); });
    if (!ktMessageRW::write(message, path.c_str()))
        ktLog::error("Couldn't write ambient occlusion templates file!");
}

void ktAmbientOcclusion::readPreset() {
    const std::string path = templatesPath();
    ktMessage message;
    if (!ktMessageRW::read(message, path.c_str(), "")) {
        // Reads UTF-8 bytes as Latin-1: names that are not ASCII have always been stored this way.
        addPreset(QString::fromLatin1(tr("Default").toUtf8()));
        addDefaultPresets();
        writePreset();
        ktMessageRW::read(message, path.c_str(), "");
        return;
    }

    unsigned long count = 0; // for people who read the file
    getFromMessage(message, "AOPreset", count);
    std::vector<std::string> names;
    const bool hasNames = getFromMessage(message, "name", names);
    std::vector<AOPreset> stored(names.size());
    Settings::forEachSetting<&Settings::Places::texts>([&](auto row) { getColumns(message, row, stored); });
    if (!hasNames) {
        ktLog::error("Couldn't read ambient occlusion templates file!");
        return;
    }

    for (std::size_t i = 0; i < names.size(); ++i)
        stored[i].name = std::move(names[i]);
    presets = std::move(stored);
}
