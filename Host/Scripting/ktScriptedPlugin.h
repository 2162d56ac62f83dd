// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <OpenSG/OSGNode.h>
#include <string>
#include <utility>
#include <vector>

/// The plug-in, as the module `kthost` uses it. The host must not include the plug-in, so the application that links
/// both implements this class and defines the(). Main thread only.
class ktScriptedPlugin {
public:
    /// The only instance; never null, lives as long as the process.
    static ktScriptedPlugin& the();

    virtual ~ktScriptedPlugin() = default;

    /// Why a run with the current settings makes no sense in this scene; empty: it does.
    virtual std::string findObstacle() const = 0;
    /// Bakes the selection with the current settings. Distances that nobody gave follow the scene for this run. Returns
    /// false if no run took place.
    virtual bool start(bool missingOnly) = 0;
    /// Asks the current run to stop at its next check.
    virtual void cancel() = 0;
    /// Whether a run with the current settings uses the materials' pictures.
    virtual bool needsPictures() const = 0;

    /// Version of the plug-in.
    virtual std::string getVersion() const = 0;

    /// A setting as scripts see it: a number, or true or false. The range is that of the options of `ktbake`; the
    /// plug-in takes other values, too.
    struct Setting {
        std::string name;
        double value;
        enum Kind { Integer, Real, Switch } kind;
        std::string help;
        double least = 0, most = 0;
        bool isLeastExcluded = false;
    };
    virtual std::vector<Setting> getSettings() const = 0;
    /// Changes one setting through its setter: one undo step, none for an equal value. Ignores unknown names.
    virtual void setSetting(const std::string& name, double value) = 0;

    virtual std::vector<std::string> getPresetNames() const = 0;
    /// Sets the settings from the first preset of that name. @return whether there is one
    virtual bool applyPreset(const std::string& name) = 0;
    /// Saves the current settings under a name. @return empty on success, else the reason
    /// @param replace false: refuses a name that a preset has
    virtual std::string savePreset(const std::string& name, bool replace) = 0;
    /// Deletes all presets of that name permanently. @return empty on success, else the reason
    virtual std::string deletePreset(const std::string& name) = 0;

    /// Takes the counts of a scene for the statistics. @return to be called when the scene is open
    virtual std::function<void()> describeScene(const std::string& name, const osg::NodePtr& root, double seconds) = 0;
    /// Tell the statistics what was written.
    virtual void sceneSaved(const std::string& name, double seconds) = 0;
    virtual void previewDrawn(double seconds) = 0;
    /// The statistics of the open scene and its last bake, as JSON in the form of `ktbake --stats`.
    virtual std::string getStatistics() const = 0;

    /// Callbacks for listen(). They are called on the main thread during a run, `refused` instead of a run.
    struct Listener {
        std::function<void(int)> started; ///< number of steps of the run
        std::function<void(int)> stepped; ///< number of steps begun
        std::function<void()> stopped;    ///< the last step is done, or the run is cancelled
        std::function<void()> canceled;
        std::function<void(const char*)> refused; ///< nothing was baked: the reason
    };
    /// Call once. Valid for the rest of the process.
    virtual void listen(Listener listener) = 0;
};
