// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds presets by name or prefix, and lists, saves and deletes them for ktbake.
#include "ktBakePresets.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeExit.h"
#include "ktBakeMessages.h"
#include "ktBakeOptions.h"
#include "ktNearNames.h"
#include "ktPresetStore.h"

#include <iostream>
#include <vector>

/// The end of a message about an unknown name: near names, then all.
static std::string listNames(const std::string& wanted, const QList<QString>& names) {
    std::vector<std::string> all;
    for (const QString& name : names)
        all.push_back(name.toStdString());
    const std::string near = ktSuggestNames(wanted, all, "\"");
    std::string list = near.empty() ? "." : near;
    const char* separator = " There are: \"";
    for (const QString& name : names) {
        list += separator + name.toStdString() + "\"";
        separator = ", \"";
    }
    return list;
}

int findPreset(const QList<QString>& names, const std::string& wanted, std::string& message) {
    const QString name = QString::fromStdString(wanted);
    const int exact = ktPresetStore::find(names, wanted);
    if (exact >= 0)
        return exact;
    int found = -1, count = 0;
    for (int i = 0; i < names.size(); ++i)
        if (names[i].startsWith(name) && !name.isEmpty()) {
            found = i;
            ++count;
        }
    if (count == 1)
        return found;
    message = count == 0 ? "No preset is called \"" : "More than one preset begins with \"";
    message += wanted + "\"" + listNames(wanted, names);
    return -1;
}

void printPresets() {
    for (const QString& name : ktAmbientOcclusion::the()->getPresetNames())
        std::cout << name.toStdString() << '\n';
    std::cout.flush();
}

/// Logs why a change of the presets was not done. @return exit code
static int exitCodeOf(const ktPresetStore::Result& result, const char* option, const std::string& name) {
    if (result.kind == ktPresetStore::Result::Done)
        return ktBakeExit::done;
    const bool isRefused = result.kind == ktPresetStore::Result::Refused;
    const std::string reason =
        result.reason + (isRefused ? listNames(name, ktAmbientOcclusion::the()->getPresetNames()) : std::string());
    ktBakeMessages::log(ktLogLevel::Error, std::string(option) + ": " + reason,
                        {{"option", option}, {"value", name}, {"reason", reason}});
    return isRefused ? ktBakeExit::usage : ktBakeExit::notWritten;
}

int editPresets(const ktBakeOptions& options) {
    int exitCode = ktBakeExit::done;
    if (!options.deletePreset.empty())
        exitCode = exitCodeOf(ktPresetStore::remove(options.deletePreset), "--delete-preset", options.deletePreset);
    if (exitCode == ktBakeExit::done && !options.savePreset.empty())
        exitCode = exitCodeOf(ktPresetStore::save(options.savePreset, ktPresetStore::Existing::Replace),
                              "--save-preset", options.savePreset);
    return exitCode;
}
