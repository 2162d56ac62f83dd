// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

#include <map>
#include <set>
#include <utility>

const char* const ktDracoExtension = "KHR_draco_mesh_compression";
const char* const ktMeshoptExtension = "EXT_meshopt_compression";
/// The successor of EXT_meshopt_compression. Its streams are read if they are of the older version.
const char* const ktNewMeshoptExtension = "KHR_meshopt_compression";

/// A buffer view as the input held it.
// Moving JSON does not throw, which the check does not see. NOLINTNEXTLINE(bugprone-exception-escape)
struct ktMeshoptStream {
    ktBytes bytes;
    ktJson extension; ///< byteStride, count, mode, filter; without the place of the bytes
};

/// The grid on which Draco rounds the values of an attribute.
struct ktDracoQuantization {
    int bits = 0; ///< 0: the values are exact
    std::vector<float> least = {};
    float range = 0;                                 ///< of all components
    bool isDirect() const { return !least.empty(); } ///< not the octahedral grid of normals
};

/// A primitive as the input held it.
// Moving JSON does not throw, which the check does not see. NOLINTNEXTLINE(bugprone-exception-escape)
struct ktDracoStream {
    ktBytes bytes;
    std::map<std::string, unsigned> ids;                     ///< of the attributes in the stream
    std::map<std::string, ktDracoQuantization> quantization; ///< by attribute
    ktJson attributes;                                       ///< of the primitive: accessors with the decoded data
    std::size_t indices = 0;                                 ///< accessor
};

/// What the input held compressed. ktCompress() writes from it what did not change.
struct ktCompressedInput {
    std::map<std::size_t, ktMeshoptStream> meshopt; ///< by buffer view
    std::vector<ktDracoStream> draco;
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> dracoOfPrimitive; ///< by mesh and primitive
    std::map<std::size_t, std::size_t> dracoOfPositions;                         ///< by accessor, for copied meshes
    std::set<std::size_t> decodedViews;                                          ///< that only hold decoded data

    bool isEmpty() const { return meshopt.empty() && draco.empty(); }
};
