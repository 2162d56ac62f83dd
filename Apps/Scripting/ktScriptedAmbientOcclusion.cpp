// SPDX-License-Identifier: LGPL-2.1-or-later
// The plug-in as the module `kthost` drives it.
#include "ktAmbientOcclusion.h"
#include "ktScriptedPlugin.h"

namespace {

class ScriptedAmbientOcclusion : public ktScriptedPlugin {
public:
    bool start(bool missingOnly) override { return plugin.startCalculation(missingOnly); }
    void cancel() override { plugin.cancelCalculation(); }
    bool needsPictures() const override { return plugin.isIndirectIlluminationEnabled(); }

    std::vector<Setting> getSettings() const override {
        const osg::Color3f color = plugin.getMaterialColor();
        const auto number = [](float value) { return static_cast<double>(value); };
        const auto flag = [](bool value) { return value ? 1.0 : 0.0; };
        return {{"quality", static_cast<double>(plugin.getShadowQuality()), Setting::Integer},
                {"minDistance", number(plugin.getMinDistance()), Setting::Real},
                {"maxDistance", number(plugin.getMaxDistance()), Setting::Real},
                {"indirectIllumination", flag(plugin.isIndirectIlluminationEnabled()), Setting::Switch},
                {"colorBleeding", flag(plugin.isColorBleedingEnabled()), Setting::Switch},
                {"gatherQuality", static_cast<double>(plugin.getGatherQuality()), Setting::Integer},
                {"numIndirections", static_cast<double>(plugin.getNumOfIndirections()), Setting::Integer},
                {"subdivide", flag(plugin.isSubdivideEnabled()), Setting::Switch},
                {"minEdgeLength", plugin.getMinEdgeLength(), Setting::Real},
                {"overrideMaterialColor", flag(plugin.isOverrideMaterialColorEnabled()), Setting::Switch},
                {"materialColorR", number(color[0]), Setting::Real},
                {"materialColorG", number(color[1]), Setting::Real},
                {"materialColorB", number(color[2]), Setting::Real},
                {"subdivisionQuality", static_cast<double>(plugin.getSubdivisionQuality()), Setting::Integer},
                {"intensityThreshold", plugin.getIntensityThreshold(), Setting::Real},
                {"mode", static_cast<double>(plugin.getMode()), Setting::Integer}};
    }

    std::vector<std::string> getPresetNames() const override {
        std::vector<std::string> names;
        for (const QString& name : plugin.getPresetNames())
            names.push_back(name.toStdString());
        return names;
    }
    void applyPreset(int index) override { plugin.applyPreset(index); }
    void addPreset(const std::string& name) override { plugin.addPreset(QString::fromStdString(name)); }
    void deletePreset(int index) override {
        plugin.deletePreset(index);
        plugin.writePreset();
    }

    void listen(Listener listener) override {
        QObject::connect(&plugin, &ktAmbientOcclusion::progressStarted, listener.started);
        QObject::connect(&plugin, &ktAmbientOcclusion::progressStep, listener.stepped);
        QObject::connect(&plugin, &ktAmbientOcclusion::progressStopped, listener.stopped);
        QObject::connect(&plugin, &ktAmbientOcclusion::calculationCanceled, listener.canceled);
    }

private:
    ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
};

} // namespace

ktScriptedPlugin& ktScriptedPlugin::the() {
    static ScriptedAmbientOcclusion instance;
    return instance;
}
