// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds presets by name or prefix, and lists, saves and deletes them for ktbake.
#include "ktBakePresets.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeExit.h"
#include "ktBakeOptions.h"
#include "ktLog.h"
#include "ktLogOutput.h"

#include <iostream>

static std::string listNames(const QList<QString>& names) {
    std::string list;
    const char* separator = " There are: \"";
    for (const QString& name : names) {
        list += separator + name.toStdString() + "\"";
        separator = ", \"";
    }
    return list;
}

int findPreset(const QList<QString>& names, const std::string& wanted, std::string& message) {
    const QString name = QString::fromStdString(wanted);
    const int exact = names.indexOf(name);
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
    message += wanted + "\"." + listNames(names);
    return -1;
}

void printPresets() {
    for (const QString& name : ktAmbientOcclusion::the()->getPresetNames())
        std::cout << name.toStdString() << '\n';
    std::cout.flush();
}

int editPresets(const ktBakeOptions& options) {
    ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
    const auto errorsBefore = ktLogOutput::getCount(ktLogLevel::Error);
    if (!options.deletePreset.empty()) {
        const int index = plugin->getPresetNames().indexOf(QString::fromStdString(options.deletePreset));
        if (index < 0) {
            ktLog::error("No preset is called \"%s\".%s", options.deletePreset.c_str(),
                         listNames(plugin->getPresetNames()).c_str());
            return ktBakeExit::usage;
        }
        plugin->deletePreset(index);
        plugin->writePreset();
    }
    if (!options.savePreset.empty())
        plugin->addPreset(QString::fromStdString(options.savePreset));
    // If the file cannot be written, the plug-in only logs an error.
    return ktLogOutput::getCount(ktLogLevel::Error) > errorsBefore ? ktBakeExit::notWritten : ktBakeExit::done;
}
