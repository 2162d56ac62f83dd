// SPDX-License-Identifier: LGPL-2.1-or-later
// The plug-in as the module `kthost` drives it.
#include "ktAmbientOcclusion.h"
#include "ktPresetStore.h"
#include "ktScriptedPlugin.h"

namespace {

namespace Settings = ktAmbientOcclusionSettings;

class ScriptedAmbientOcclusion : public ktScriptedPlugin {
public:
    bool start(bool missingOnly) override { return plugin.startCalculation(missingOnly); }
    void cancel() override { plugin.cancelCalculation(); }
    bool needsPictures() const override { return plugin.isIndirectIlluminationEnabled(); }

    std::vector<Setting> getSettings() const override {
        std::vector<Setting> settings;
        Settings::forEachSetting<&Settings::Places::scripts>(
            [&](auto row) { append(settings, row.names.script, row.get(plugin)); });
        return settings;
    }

    std::vector<std::string> getPresetNames() const override {
        std::vector<std::string> names;
        for (const QString& name : plugin.getPresetNames())
            names.push_back(name.toStdString());
        return names;
    }
    bool applyPreset(const std::string& name) override {
        int index = ktPresetStore::find(plugin.getPresetNames(), name);
        if (index < 0) {
            ktPresetStore::refresh(); // another process may have saved it
            index = ktPresetStore::find(plugin.getPresetNames(), name);
        }
        plugin.applyPreset(index);
        return index >= 0;
    }
    std::string savePreset(const std::string& name, bool replace) override {
        return ktPresetStore::save(name, replace ? ktPresetStore::Existing::Replace : ktPresetStore::Existing::Refuse)
            .reason;
    }
    std::string deletePreset(const std::string& name) override { return ktPresetStore::remove(name).reason; }

    void listen(Listener listener) override {
        QObject::connect(&plugin, &ktAmbientOcclusion::progressStarted, listener.started);
        QObject::connect(&plugin, &ktAmbientOcclusion::progressStep, listener.stepped);
        QObject::connect(&plugin, &ktAmbientOcclusion::progressStopped, listener.stopped);
        QObject::connect(&plugin, &ktAmbientOcclusion::calculationCanceled, listener.canceled);
        const auto refused = listener.refused;
        QObject::connect(&plugin, &ktAmbientOcclusion::calculationFailedNoSelection,
                         [refused] { refused("nothing is selected"); });
        QObject::connect(&plugin, &ktAmbientOcclusion::calculationFailedLockedSelection,
                         [refused] { refused("every selected node is locked"); });
    }

private:
    static void append(std::vector<Setting>& settings, const std::string& name, int value) {
        settings.push_back({name, static_cast<double>(value), Setting::Integer});
    }
    static void append(std::vector<Setting>& settings, const std::string& name, bool value) {
        settings.push_back({name, value ? 1.0 : 0.0, Setting::Switch});
    }
    static void append(std::vector<Setting>& settings, const std::string& name, double value) {
        settings.push_back({name, value, Setting::Real});
    }
    static void append(std::vector<Setting>& settings, const std::string& name, float value) {
        append(settings, name, static_cast<double>(value));
    }
    static void append(std::vector<Setting>& settings, const std::string& name, const osg::Color3f& value) {
        append(settings, name + "R", value[0]);
        append(settings, name + "G", value[1]);
        append(settings, name + "B", value[2]);
    }

    static ktAmbientOcclusion& load() {
        ktPresetStore::load();
        return *ktAmbientOcclusion::the();
    }

    ktAmbientOcclusion& plugin = load();
};

} // namespace

ktScriptedPlugin& ktScriptedPlugin::the() {
    static ScriptedAmbientOcclusion instance;
    return instance;
}
