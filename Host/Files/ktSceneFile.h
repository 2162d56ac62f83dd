// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFileMessages.h"
#include "ktHostExport.h"
#include "ktLengthUnit.h"
#include "ktSceneCamera.h"

#include <memory>
#include <OpenSG/OSGNode.h>
#include <optional>
#include <QString>
#include <string>
#include <vector>

/// How a scene file is opened.
struct ktOpenOptions {
    ktLengthUnit unit;                ///< what the file's positions mean
    bool uniqueInstances = false;     ///< each node gets a mesh, and so results, of its own; in the written file, too
    std::optional<std::size_t> scene; ///< number of the scene in the file; empty: its default
};

/// How a scene file is saved.
struct ktSaveOptions {
    bool multiplyColors =
        true;              ///< multiply the baked light into the vertex colours; else write the exact results alone
    float exposure = 1.0f; ///< factor on that light, above 0
};

/// What became of opening or saving.
struct ktFileReport {
    std::string error; ///< names file, object and reason; empty when it worked
    ktFileMessages messages;

    bool isGood() const { return error.empty(); }
};

/// A scene that came from a file, with everything the file holds beside it: what is not understood here goes out again
/// as it came in. No member throws. Main thread only. See Docs/using/files.md for what is read and written.
class KT_HOST_EXPORT ktSceneFile {
public:
    /// Reads a glTF file, or one of another format that can be imported. Null, and report.error, when nothing can be
    /// baked in it; parts that cannot be used are left out with warnings.
    static std::unique_ptr<ktSceneFile> open(const QString& path, const ktOpenOptions& options, ktFileReport& report);

    ~ktSceneFile();
    ktSceneFile(const ktSceneFile&) = delete;
    ktSceneFile& operator=(const ktSceneFile&) = delete;

    /// Root of the scene, in millimetres: a group, below it one transform that brings the file's unit to millimetres,
    /// below that the file's own top nodes. The file keeps a reference.
    osg::NodePtr getRoot() const;
    /// The file's own top nodes, as they are in the scene now.
    std::vector<osg::NodePtr> getTopNodes() const;
    /// The file's cameras; they live in the scene.
    const std::vector<ktSceneCamera>& getCameras() const;
    /// Millimetres per unit of the file.
    double getUnit_mm() const;

    /// Decodes the pictures of the materials, which only bounced light and previews need. Those that cannot be decoded
    /// are left out with a warning. Later calls do nothing.
    void loadPictures(ktFileReport& report);
    /// The scene's ground plane; it is made where there is none. Null, with a warning, when the scene has no extent.
    osg::NodePtr addGroundPlane(ktFileReport& report);

    /// Writes the scene as .glb or .gltf, by the ending of `path`: results, settings, locks and texts of its nodes, and
    /// refined geometry. The file is replaced as a whole or, with report.error, not at all. May be called any number of
    /// times.
    bool save(const QString& path, const ktSaveOptions& options, ktFileReport& report);

private:
    struct Data;
    explicit ktSceneFile(std::unique_ptr<Data> data);

    std::unique_ptr<Data> data;
};
