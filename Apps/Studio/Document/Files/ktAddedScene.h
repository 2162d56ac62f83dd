// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <OpenSG/OSGNode.h>
#include <QString>
#include <set>

class ktSceneFile;

/// A file that was added to the open scene: a part beside the opened one, or its surroundings. Main thread only.
class ktAddedScene {
public:
    /// @param sources the files that were read for it
    ktAddedScene(std::unique_ptr<ktSceneFile> file, const QString& path, std::set<QString> sources);
    ~ktAddedScene();
    ktAddedScene(const ktAddedScene&) = delete;
    ktAddedScene& operator=(const ktAddedScene&) = delete;

    ktSceneFile& getFile() const { return *file; }
    const QString& getPath() const { return path; }     ///< of the file that was read
    std::set<QString>& getSources() { return sources; } ///< files that were read for it
    /// Whether its baked light differs from the file's, or from what was saved last.
    bool isChanged() const;
    /// Where it is saved: NAME-baked.glb in a folder. Does not choose a file that exists, unless it was saved there.
    QString chooseOutput(const QString& folder) const;
    void noteSaved(const QString& newOutput);
    /// For baked light that was read from a copy: isChanged() until it is saved.
    void noteUnsaved();

private:
    const std::unique_ptr<ktSceneFile> file;
    const QString path;
    std::set<QString> sources;
    QString output;             ///< of the last saving
    std::uint64_t savedResults; ///< a number that differs between different results
};
