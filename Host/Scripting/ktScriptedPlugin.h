// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

/// The plug-in as the module `kthost` drives it. The host's folders do not see the plug-in, so the application that
/// links both implements this and defines the(). Main thread only.
class ktScriptedPlugin {
public:
    /// The one plug-in; never null, lives as long as the process.
    static ktScriptedPlugin& the();

    virtual ~ktScriptedPlugin() = default;

    /// Bakes the selection with the settings as they are; false when no run took place.
    virtual bool start(bool missingOnly) = 0;
    /// Asks the run under way to stop at its next poll.
    virtual void cancel() = 0;
    /// Whether a run with the present settings looks at the materials' pictures.
    virtual bool needsPictures() const = 0;

    /// A setting as a script sees it: a number, or true or false.
    struct Setting {
        std::string name;
        double value;
        enum Kind { Integer, Real, Switch } kind;
    };
    virtual std::vector<Setting> getSettings() const = 0;

    virtual std::vector<std::string> getPresetNames() const = 0;
    virtual void applyPreset(int index) = 0;
    /// Keeps the present settings under a name; failures to write are logged as errors.
    virtual void addPreset(const std::string& name) = 0;
    /// Removes a preset for good; failures to write are logged as errors.
    virtual void deletePreset(int index) = 0;

    /// What listen() calls, on the main thread, while a run is under way.
    struct Listener {
        std::function<void(int)> started; ///< number of steps to come
        std::function<void(int)> stepped; ///< steps begun
        std::function<void()> stopped;    ///< the last step is done, or the run is cancelled
        std::function<void()> canceled;
    };
    /// Called once, for the rest of the process.
    virtual void listen(Listener listener) = 0;
};
