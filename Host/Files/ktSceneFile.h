// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCompressionMode.h"
#include "ktFileMessages.h"
#include "ktHostExport.h"
#include "ktLengthUnit.h"
#include "ktSceneCamera.h"
#include "ktUpAxis.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <OpenSG/OSGNode.h>
#include <optional>
#include <QString>
#include <string>
#include <vector>

/// Options for opening a scene file.
struct ktOpenOptions {
    ktLengthUnit unit;                ///< of the file's positions
    bool uniqueInstances = false;     ///< each node gets its own mesh and results, also in the written file
    std::optional<std::size_t> scene; ///< index of the scene in the file; empty: the file's default
    /// Asked from time to time, on the calling thread; true ends the reading with an error. May be empty.
    std::function<bool()> isInterrupted = {};
    /// The axis of the file that points up. Empty: what the file or its format says, else y. The scene in memory has y
    /// up. Nodes of a glTF file stay as they are; files of other formats are written with y up.
    std::optional<ktUpAxis> up = {};
    /// Edges of surfaces without normals are smooth if the angle between the normals of their faces is at most this;
    /// vertices are split at sharper ones. 0 to 180.
    double creaseAngle_deg = 30;
    bool keepVertices = false; ///< such edges do not split the vertices of the written file
    /// Told from time to time, on the calling thread: the share of the reading that is done, 0 to 1. Importers of other
    /// formats than glTF tell nothing until they are done. May be empty.
    std::function<void(double)> progressed = {};
};

/// Options for saving a scene file.
struct ktSaveOptions {
    bool multiplyColors =
        true;              ///< multiply the baked light into the vertex colours; if not, write only the exact results
    float exposure = 1.0f; ///< factor on that light, above 0
    /// How strongly that light darkens the colours, from 0: light below 1 is raised to this power. 0 does not darken.
    float strength = 1.0f;
    ktCompressionMode compression = ktCompressionMode::AsInput;
    /// Asked from time to time, on the calling thread; true ends the saving with an error. May be empty.
    std::function<bool()> isInterrupted = {};
};

/// The result of opening or saving.
struct ktFileReport {
    std::string error; ///< names file, object and reason; empty on success
    ktFileMessages messages;
    bool isOutOfMemory = false;           ///< why it failed
    std::string errorObject, errorReason; ///< of the error: a JSON pointer or "file", and the text without both names

    bool isGood() const { return error.empty(); }
};

/// A scene from a file, together with the rest of the file: parts that we do not interpret are written back unchanged.
/// No member throws. One thread at a time. See Docs/using/files.md for what is read and written.
class KT_HOST_EXPORT ktSceneFile {
public:
    /// Reads a glTF file, or one of another format that can be imported. Returns null and sets report.error if nothing
    /// in it can be baked. Parts that cannot be used are left out with warnings. May be called on any thread, also
    /// while another thread uses another scene.
    static std::unique_ptr<ktSceneFile> open(const QString& path, const ktOpenOptions& options, ktFileReport& report);

    ~ktSceneFile();
    ktSceneFile(const ktSceneFile&) = delete;
    ktSceneFile& operator=(const ktSceneFile&) = delete;

    /// Root of the scene, in millimetres and with y up: a group, below it one transform from the file's unit and axes,
    /// below that the file's top nodes. The file keeps a reference.
    osg::NodePtr getRoot() const;
    /// The current children of that transform: the file's top nodes.
    std::vector<osg::NodePtr> getTopNodes() const;
    /// The top nodes to bake if nobody selects others: those with geometry below, or all if none has any. Settings are
    /// stored on the baked nodes, and thousands of empty nodes have no use for them.
    std::vector<osg::NodePtr> getNodesToBake() const;
    /// The file's cameras; their nodes belong to the scene.
    const std::vector<ktSceneCamera>& getCameras() const;
    /// Millimetres per unit of the file.
    double getUnit_mm() const;
    /// Whether neither file nor options say how large the scene is; it was scaled to a size that people bake.
    bool isUnitGuessed() const;
    /// Whether neither file nor options say which axis points up; y does.
    bool isUpAxisGuessed() const;

    /// Decodes the pictures of the materials, which only bounced light and previews need. Leaves out, with a warning,
    /// pictures that cannot be decoded. Later calls do nothing.
    /// @param isInterrupted as in ktOpenOptions; the next call then goes on. With it, pictures are decoded on another
    /// thread, so that the caller can handle events in it
    void loadPictures(ktFileReport& report, const std::function<bool()>& isInterrupted = {});
    /// Whether loadPictures() has something to do.
    bool hasPicturesToLoad() const;
    /// The scene's ground plane; adds one if there is none. Null, with a warning, if the scene has no extent.
    osg::NodePtr addGroundPlane(ktFileReport& report);

    /// Writes the scene as .glb or .gltf, by the ending of `path`: results, settings, locks and texts of its nodes, and
    /// refined geometry. Replaces the file as a whole; on failure sets report.error and leaves the file unchanged. May
    /// be called repeatedly. May be called on another thread, while nothing changes the scene and nobody uses this
    /// object.
    bool save(const QString& path, const ktSaveOptions& options, ktFileReport& report);

    /// Bytes of the data that save() writes beside the results, at least: buffers without what earlier bakes added. 0
    /// if they stay in other files, or are compressed.
    std::uint64_t leastDataSize(const QString& path, ktCompressionMode compression) const;

private:
    struct Data;
    explicit ktSceneFile(std::unique_ptr<Data> data);

    std::unique_ptr<Data> data;
};
