// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakeGeometryList.h"
#include "ktSceneFile.h"

#include <cstdint>
#include <memory>
#include <OpenSG/OSGNode.h>

struct ktBakeOptions;

/// The scene that is baked, and its file. Failures are logged with the file's name.
class ktBakeScene {
public:
    ktBakeScene() = default;
    ~ktBakeScene();
    ktBakeScene(const ktBakeScene&) = delete;
    ktBakeScene& operator=(const ktBakeScene&) = delete;

    /// Reads the file and makes it the host's scene. Warnings are logged.
    /// @return exit code
    int open(const ktBakeOptions& options);
    /// Adds the ground plane when it is asked for.
    /// @return exit code
    int addGroundPlane(const ktBakeOptions& options);
    /// Decodes the materials' pictures, which bounced light and the preview need.
    void loadPictures();
    /// The first node of the name given with `--settings-from` that holds settings; `node` stays as it is when that was
    /// not given.
    /// @return exit code
    int findSettingsNode(const ktBakeOptions& options, osg::NodePtr& node) const;
    /// Selects what the options name, or the scene's top nodes; of that, with `--missing`, what has no results under
    /// the plug-in's present settings.
    /// @return exit code
    int select(const ktBakeOptions& options);
    /// Writes the scene with its results; false when it cannot be written.
    bool save(const ktBakeOptions& options);
    /// Draws the picture; false when it cannot be written.
    bool drawPreview(const ktBakeOptions& options);

    double getDiagonal() const { return diagonal; } ///< world units
    /// The scene's geometry as it is now, each once.
    std::vector<ktBakeGeometry> getGeometries() const;
    /// Vertices of the visible geometry below the selection, each geometry once.
    std::uint64_t getSelectedVertexCount() const;

private:
    void logMessages(const ktFileReport& report) const;

    std::string fileName; ///< as given
    std::unique_ptr<ktSceneFile> file;
    double diagonal = 0;
};
