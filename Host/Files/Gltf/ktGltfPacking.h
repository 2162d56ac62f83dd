// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBorrowedJson.h"
#include "ktGltfDocument.h"

#include <memory>

class ktFileMessages;

/// A range of the binary chunk to be written.
struct ktPackedPiece {
    const std::uint8_t* data;
    std::size_t size;
    std::size_t offset; ///< in the chunk
};

/// A file to write beside the main file, before the main file.
struct ktPackedFile {
    QString relativePath;
    const std::uint8_t* data;
    std::size_t size;
};

/// A document ready to be written. The JSON already has the final place of each byte. Refers to the document, which
/// lends its JSON and its bytes: it must outlive this, and must not be used for anything else until this ends.
struct ktPackedGltf {
    explicit ktPackedGltf(ktGltfDocument& document);

    ktBorrowedJson borrowed;
    ktJson& json;
    std::vector<ktPackedPiece> binary; ///< by ascending offset; gaps are written as zeros
    std::size_t binarySize = 0;
    std::vector<ktPackedFile> files;
    std::vector<std::unique_ptr<ktBytes>> owned; ///< bytes that packing had to read
};

/// Packs a document for a .glb file in `folder`. Embeds the buffers and images of a document that is not a .glb. A .glb
/// keeps its external resources; they are copied if the folder is another one.
void ktPackForGlb(ktPackedGltf& packed, const ktGltfDocument& document, const QString& folder,
                  ktFileMessages& messages);

/// Packs a document for a .gltf file in `folder`. Buffers without a file become data URIs if all others are data URIs,
/// else a file <stem>-<hash of its content>.bin, so that a crash between two files never mixes old and new content.
/// Other resources keep their relative path; they are copied if the folder is another one.
void ktPackForGltf(ktPackedGltf& packed, const ktGltfDocument& document, const QString& folder, const QString& stem,
                   ktFileMessages& messages);
