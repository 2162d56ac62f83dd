// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

#include <memory>

class ktFileMessages;

/// A stretch of the binary chunk to be written.
struct ktPackedPiece {
    const std::uint8_t* data;
    std::size_t size;
    std::size_t offset; ///< in the chunk
};

/// A file to be written beside the main file before it.
struct ktPackedFile {
    QString relativePath;
    const std::uint8_t* data;
    std::size_t size;
};

/// A document ready to be written: where each byte goes is decided and stands in the JSON. Refers to the document's
/// bytes.
struct ktPackedGltf {
    ktJson json;
    std::vector<ktPackedPiece> binary; ///< ascending offsets; gaps are zero
    std::size_t binarySize = 0;
    std::vector<ktPackedFile> files;
    std::vector<std::unique_ptr<ktBytes>> owned; ///< bytes read for this purpose
};

/// Packs for a .glb file in `folder`. A document that is no .glb itself gets its buffers and images embedded; one that
/// is keeps what it refers to, copied along when the folder is another one.
ktPackedGltf ktPackForGlb(const ktGltfDocument& document, const QString& folder, ktFileMessages& messages);

/// Packs for a .gltf file in `folder`. Buffers without a file go into data URIs when all others are data URIs, else
/// into a file named <stem>-<hash of its content>.bin, so that a crash between two files never mixes old and new. Other
/// resources keep their relative path, and are copied along when the folder is another one.
ktPackedGltf ktPackForGltf(const ktGltfDocument& document, const QString& folder, const QString& stem,
                           ktFileMessages& messages);

/// Absolute paths of the buffer files that the .gltf file `path` refers to and that were written by ktPackForGltf():
/// their name ends in the hash of their content. Empty when there is no such file.
std::vector<QString> ktFindOwnBuffers(const QString& path);
/// Removes those of `files` that `json` refers to no more.
void ktRemoveUnused(const std::vector<QString>& files, const ktJson& json);
