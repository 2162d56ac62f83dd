// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <string>

/// The plug-in's presets, addressed by name, and shared with other processes that use the same templates file. A name
/// means all presets of that name: programs that address them by index may write several.
///
/// Changes lock the file `aotemplates.xml.lock`, read the templates file, change it and write it, so
/// they keep what other processes have saved. The system releases the lock of a process that ends. Main thread only.
namespace ktPresetStore {

enum class Existing { Replace, Refuse };

/// What became of a change. If it was not done, the templates file is as before.
struct Result {
    enum Kind {
        Done,
        Refused,   ///< the name is taken, or there is none
        NotWritten ///< the file cannot be written, or another process keeps it locked
    };
    Kind kind = Done;
    std::string reason; ///< empty if done
};

/// Creates the plug-in's instance, which reads the templates file or creates it. Call before ktAmbientOcclusion::the():
/// two processes then do not create the file at once.
void load();

/// Index of the first name that is equal, -1 if there is none. Logs a warning if there are several.
int find(const QList<QString>& names, const std::string& name);

/// Saves the current settings under a name, in place of all presets of that name, as the last preset.
Result save(const std::string& name, Existing existing);

/// Deletes all presets of that name.
Result remove(const std::string& name);

/// Gives all presets of a name another one, which must not be taken.
Result rename(const std::string& name, const std::string& newName);

/// Moves the first preset of a name to a place in the list, 0 to the number of presets - 1.
Result move(const std::string& name, int place);

/// Adds the built-in presets at the end, in place of presets of their names.
Result restoreBuiltIn();

/// The templates file as it is, and the way back to it; for undo. An empty content is that of a missing file.
QByteArray readFile();
Result writeFile(const QByteArray& content);

/// Reads what other processes have saved. Keeps the presets in memory if there is no file, or if it is broken.
void refresh();

} // namespace ktPresetStore
