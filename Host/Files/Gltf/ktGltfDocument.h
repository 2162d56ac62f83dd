// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAssetResource.h"
#include "ktFileError.h"
#include "ktGltfJson.h"

#include <QString>
#include <vector>

class ktFileMessages;

/// The bytes of one entry of /buffers.
struct ktGltfBuffer {
    ktBytes bytes;       ///< never more than the entry's byteLength; fewer if the file is short
    std::string problem; ///< why there are no bytes; empty if there are
};

/// A chunk of a .glb file that is neither the JSON nor the first binary chunk; kept unchanged.
struct ktGlbChunk {
    std::uint32_t type;
    ktBytes bytes;
};

/// The form that a document was read from.
enum class ktGltfForm {
    Glb,   ///< one .glb file
    Gltf,  ///< a .gltf file with its resources
    Memory ///< imported from a file of another format
};

/// A glTF 2.0 document: its JSON as it was read, and the bytes of its buffers.
struct ktGltfDocument {
    QString path; ///< absolute path of the source file; resources are relative to its folder
    ktGltfForm form = ktGltfForm::Memory;
    ktJson json = ktJson::object();
    std::vector<ktGltfBuffer> buffers; ///< one per entry of /buffers
    std::vector<ktGlbChunk> chunks;    ///< further chunks of a .glb
    int indent = -1;                   ///< spaces per level in a .gltf file; -1: one line
    char indentWith = ' ';

    /// Absolute path of the folder that resources are relative to.
    QString folder() const;
    /// Bytes of all buffers.
    std::size_t dataSize() const;
};

/// A file is glTF of version 1.
class ktGltf1Error : public ktFileError {
public:
    using ktFileError::ktFileError;
};

/// Reads a .gltf or .glb file. A buffer with an error stores the reason. Throws ktFileError if the whole file is
/// unusable: not readable, not glTF, truncated, a version other than 2 (ktGltf1Error for version 1), a required
/// extension that we lack.
ktGltfDocument ktReadGltf(const QString& path, ktFileMessages& messages);

/// Whether the file begins like a .glb file; its name does not matter.
bool ktBeginsLikeGlb(const QString& path);

/// Writes a document as .glb or .gltf, by the ending of `path`. Copies resources that a .gltf in another folder needs,
/// and never replaces a file with different content. Then writes the main file beside its target, flushes it and
/// renames it. The document is as before at the end. Throws ktFileError (object "file" or a JSON pointer).
void ktWriteGltf(ktGltfDocument& document, const QString& path, ktFileMessages& messages);
