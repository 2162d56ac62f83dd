// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktLightMark.h"
#include "ktPrimitiveLink.h"
#include "ktPrimitiveShape.h"
#include "ktRestPose.h"

#include <optional>

/// How the surfaces of a file are read.
struct ktSurfaceOptions {
    double creaseAngle_deg = 30; ///< edges of surfaces without normals are smooth up to this angle, 0 to 180
    bool keepVertices = false;   ///< creases add no vertices to the file
};

/// Converts primitives of a document to geometries.
class ktPrimitiveReader {
public:
    ktPrimitiveReader(const ktGltfDocument& document, const ktSurfaceOptions& options, ktFileMessages& messages);

    /// Reads one primitive: positions in the given pose, normals (see ktFindCreaseNormals() for surfaces without), the
    /// original colours, further attributes in slots, and earlier baked results in channels 7 and 5. Leaves out broken
    /// parts with a warning; empty if nothing can be used. Throws ktFileError if the document describes far more
    /// vertices than it has data for. The geometry has no material yet.
    std::optional<ktPrimitiveLink> read(std::size_t mesh, std::size_t primitive, const ktRestPose& pose);

private:
    struct Open;
    void spend(const ktGltfAccessor& accessor, const std::string& object);
    ktPrimitiveShape readShape(Open& open);
    void readNormals(Open& open, std::vector<float>& normals);
    void mendNormals(Open& open, std::vector<float>& normals);
    void makeNormals(Open& open, std::vector<float>& normals);
    bool isLostLight(Open& open);
    void readColors(Open& open);
    void readSlots(Open& open);
    void readResults(Open& open);
    bool readAttribute(Open& open, const std::string& name, int width, float fill, std::vector<float>& values);
    std::optional<ktGltfAccessor> openAttribute(Open& open, const std::string& name);
    void warnAboutShape(const Open& open);

    const ktGltfDocument& document;
    const ktSurfaceOptions options;
    ktFileMessages& messages;
    const ktLightMark lightMark;
    const bool hasResultAttributes;
    ktVertexPacker packer;
    std::size_t budget;      ///< vertices and indices with data that may still be read
    std::size_t zerosBudget; ///< the same for those without
};
