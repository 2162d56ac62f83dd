// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGeometryList.h"
#include "ktPreviewView.h"
#include "ktSceneFile.h"

#include <functional>
#include <memory>
#include <OpenSG/OSGNode.h>

struct ktBakeOptions;

/// The scene to bake, and its file. Logs failures with the file's name.
class ktBakeScene {
public:
    ktBakeScene() = default;
    ~ktBakeScene();
    ktBakeScene(const ktBakeScene&) = delete;
    ktBakeScene& operator=(const ktBakeScene&) = delete;

    /// Reads the file and makes it the host's scene. Logs warnings.
    /// @return exit code
    /// @param isInterrupted true ends the reading: ktBakeExit::cancelled, without a message
    int open(const ktBakeOptions& options, const std::function<bool()>& isInterrupted);
    /// Adds the ground plane if the options say so.
    /// @return exit code
    int addGroundPlane(const ktBakeOptions& options);
    /// Decodes the materials' pictures, which bounced light and the preview need.
    /// @param isInterrupted asked from time to time, on the main thread; true ends it. May be empty.
    /// @return false if memory ran out; pictures that cannot be decoded are only left out
    bool loadPictures(const std::function<bool()>& isInterrupted = {});
    /// Finds the view of `--preview-view`.
    /// @return exit code
    int findPreviewView(const ktBakeOptions& options);
    /// Sets `node` to the first node with the name of `--settings-from` that holds settings. Without that option `node`
    /// is unchanged.
    /// @return exit code
    int findSettingsNode(const ktBakeOptions& options, osg::NodePtr& node) const;
    /// Selects the nodes that the options name, or the scene's top nodes. With `--missing`, only the parts of them
    /// without the results that the plug-in's current settings request.
    /// @return exit code
    int select(const ktBakeOptions& options);
    /// Bytes of the file that save() writes, without results; fewer if they are not known.
    std::uint64_t leastDataSize(const ktBakeOptions& options) const;
    /// Writes the scene with its results.
    /// @return exit code; ktBakeExit::cancelled without a message
    /// @param isInterrupted asked from time to time; true ends the writing, and the old file stays
    int save(const ktBakeOptions& options, const std::function<bool()>& isInterrupted);
    /// Draws the picture and shows the progress; false if it cannot be written, or after an interrupt.
    /// @param isInterrupted asked from time to time, on any thread
    bool drawPreview(const ktBakeOptions& options, const std::function<bool()>& isInterrupted);

    /// The destructor will not release the scene: for a process that is about to end. Millions of nodes take long.
    void abandon() { isAbandoned = true; }

    double getDiagonal() const { return diagonal; } ///< world units
    /// The scene's current geometry, each once.
    std::vector<ktListedGeometry> getGeometries() const;

private:
    void logMessages(const ktFileReport& report) const;
    static void logError(const std::string& inFile, const ktFileReport& report);
    /// Logs why the value of an option names no node. @param name as typed
    void logNode(const char* option, const std::string& name, const std::string& reason) const;

    std::string fileName; ///< as given
    std::unique_ptr<ktSceneFile> file;
    double diagonal = 0;
    bool isAbandoned = false;
    ktPreviewView previewView;
};
