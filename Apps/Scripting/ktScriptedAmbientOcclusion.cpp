// SPDX-License-Identifier: LGPL-2.1-or-later
// The plug-in as the module `kthost` drives it.
#include "ktAmbientOcclusion.h"
#include "ktControllerState.h"
#include "ktHostSignals.h"
#include "ktLengthUnit.h"
#include "ktLog.h"
#include "ktPresetStore.h"
#include "ktResultHint.h"
#include "ktSceneDistances.h"
#include "ktScenegraph.h"
#include "ktSceneLights.h"
#include "ktSceneStatistics.h"
#include "ktScriptedPlugin.h"
#include "ktUndoPause.h"
#include "ktVersion.h"
#include "ktWorkers.h"

#include <iterator>
#include <QJsonDocument>
#include <type_traits>

namespace {

namespace Settings = ktAmbientOcclusionSettings;

class ScriptedAmbientOcclusion : public ktScriptedPlugin {
public:
    ScriptedAmbientOcclusion() {
        // The functions of the plug-in's module take distances as arguments.
        QObject::connect(&ktHostSignals::the(), &ktHostSignals::busyChanged, [this](bool isBusy) {
            if (isBusy && !isStarting)
                given = {true, true, true};
        });
    }

    std::string findObstacle() const override { return ktCheckLights(ktScenegraph::getRootNode()); }

    bool start(bool missingOnly) override {
        const double diagonal = ktSceneDiagonal(ktScenegraph::getRootNode());
        const ktSceneDistances before = ktSceneDistances::read();
        adaptTo(diagonal);
        ktWorkers::startAll(); // later there may be no memory
        isStarting = true;
        const bool hasRun = plugin.startCalculation(missingOnly);
        isStarting = false;
        changeWithoutUndo(before);
        if (hasRun && ktControllerState::getLastRunEnd().kind == ktRunEnd::Done)
            if (const std::string hint = ktHintAtResult(ktScenegraph::getSelectedRootNodes(), diagonal); !hint.empty())
                ktLog::info("%s", hint.c_str());
        return hasRun;
    }
    void cancel() override { plugin.cancelCalculation(); }
    bool needsPictures() const override { return plugin.isIndirectIlluminationEnabled(); }

    std::string getVersion() const override { return ktProjectVersion(); }

    std::vector<Setting> getSettings() const override {
        std::vector<Setting> settings;
        Settings::forEachSetting<&Settings::Places::scripts>([&](auto row) { append(settings, row); });
        return settings;
    }

    void setSetting(const std::string& name, double value) override {
        Settings::forEachSetting<&Settings::Places::scripts>([&](auto row) { setIfNamed(row, name, value); });
        given.minDistance = given.minDistance || name == Settings::MinDistance::names.script;
        given.maxDistance = given.maxDistance || name == Settings::MaxDistance::names.script;
        given.minEdgeLength = given.minEdgeLength || name == Settings::MinEdgeLength::names.script;
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
        if (index >= 0)
            given = {true, true, true};
        return index >= 0;
    }
    std::string savePreset(const std::string& name, bool replace) override {
        return ktPresetStore::save(name, replace ? ktPresetStore::Existing::Replace : ktPresetStore::Existing::Refuse)
            .reason;
    }
    std::string deletePreset(const std::string& name) override { return ktPresetStore::remove(name).reason; }

    std::function<void()> describeScene(const std::string& name, const osg::NodePtr& root, double seconds) override {
        return statistics.describeScene(name, root, seconds);
    }
    void sceneSaved(const std::string& name, double seconds) override { statistics.setOutput(name, seconds); }
    void previewDrawn(double seconds) override { statistics.setPreview(seconds); }
    std::string getStatistics() const override {
        return QJsonDocument(statistics.describe(ktScenegraph::getRootNode())).toJson().toStdString();
    }

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
    static constexpr const char* components[] = {"R", "G", "B"};

    static void changeWithoutUndo(const ktSceneDistances& distances) {
        const ktUndoPause pause;
        distances.apply();
    }

    /// Lets distances that nobody gave follow the scene, without an undo step. Logs the change, and what does not suit
    /// the scene.
    void adaptTo(double diagonal) const {
        const ktSceneDistances before = ktSceneDistances::read();
        ktGivenDistances set = given; // another value than the initial one was also given
        set.minDistance = set.minDistance || before.minDistance != Settings::MinDistance::initial;
        set.maxDistance = set.maxDistance || before.maxDistance != Settings::MaxDistance::initial;
        set.minEdgeLength = set.minEdgeLength || before.minEdgeLength != Settings::MinEdgeLength::initial;
        ktSceneDistances distances = before;
        distances.follow(set, diagonal);
        changeWithoutUndo(distances);
        const bool isRefined = plugin.isSubdivideEnabled();
        if (const std::string change = distances.describeChange(before, diagonal, isRefined); !change.empty())
            ktLog::info("%s", change.c_str());
        for (const std::string& mistake : distances.findMistakes(set, diagonal, isRefined))
            ktLog::warning("%s", mistake.c_str());
    }

    /// The help of a row, with the names of its values or its unit.
    template <class Row>
    static std::string helpOf(Row row) {
        std::string text = row.help;
        if constexpr (std::is_base_of_v<Settings::Choice, Row>)
            for (std::size_t i = 0; i < std::size(row.choices); ++i)
                text += (i == 0 ? ": " : ", ") + std::to_string(i) + " " + row.choices[i];
        if (*row.unit)
            text += std::string(", in ") + row.unit;
        return text;
    }

    template <class Row>
    void append(std::vector<Setting>& settings, Row row) const {
        const std::string name = row.names.script;
        const auto value = row.get(plugin);
        if constexpr (std::is_base_of_v<Settings::Color, Row>)
            for (osg::UInt32 i = 0; i < 3; ++i)
                settings.push_back({name + components[i], static_cast<double>(value[i]), Setting::Real,
                                    std::string(row.help) + ": " + components[i], 0, 1});
        else if constexpr (std::is_base_of_v<Settings::Switch, Row>)
            settings.push_back({name, value ? 1.0 : 0.0, Setting::Switch, switchHelpOf(row)});
        else
            settings.push_back({name, static_cast<double>(value),
                                std::is_base_of_v<Settings::Integer, Row> ? Setting::Integer : Setting::Real,
                                helpOf(row), row.range.least, row.range.most, row.isLeastExcluded});
    }

    template <class Row>
    static std::string switchHelpOf(Row row) {
        // The help of this row is about its option, which is the opposite.
        return std::is_same_v<Row, Settings::OverrideMaterialColor> ? Settings::MaterialColor::help : row.help;
    }

    template <class Row>
    void setIfNamed(Row row, const std::string& name, double value) {
        if constexpr (std::is_base_of_v<Settings::Color, Row>) {
            for (osg::UInt32 i = 0; i < 3; ++i)
                if (row.names.script + std::string(components[i]) == name) {
                    osg::Color3f color = row.get(plugin);
                    color[i] = static_cast<float>(value);
                    row.set(plugin, color);
                }
        } else if (row.names.script == name) {
            row.set(plugin, static_cast<typename Row::Value>(value));
        }
    }

    static ktAmbientOcclusion& load() {
        ktPresetStore::load();
        return *ktAmbientOcclusion::the();
    }

    ktAmbientOcclusion& plugin = load();
    ktGivenDistances given; ///< by a setting, a preset or the arguments of a calculation
    bool isStarting = false;
    ktSceneStatistics statistics;
};

} // namespace

ktScriptedPlugin& ktScriptedPlugin::the() {
    static ScriptedAmbientOcclusion instance;
    return instance;
}
