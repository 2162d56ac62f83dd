// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAssetResource.h"
#include "ktGltfJson.h"

#include <QString>
#include <vector>

class ktFileMessages;

/// The bytes of one entry of /buffers.
struct ktGltfBuffer {
    ktBytes bytes;       ///< never more than the entry's byteLength; fewer when the file is short
    std::string problem; ///< why there are no bytes; empty when they are there
};

/// A chunk of a .glb file that is neither JSON nor the first binary one; kept as it is.
struct ktGlbChunk {
    std::uint32_t type;
    ktBytes bytes;
};

/// Which form a document came in.
enum class ktGltfForm {
    Glb,   ///< one .glb file
    Gltf,  ///< a .gltf file with its resources
    Memory ///< made from a file of another format
};

/// A glTF 2.0 document: its JSON as it came, and the bytes that belong to it.
struct ktGltfDocument {
    QString path; ///< absolute path of the file it came from; resources are relative to its folder
    ktGltfForm form = ktGltfForm::Memory;
    ktJson json = ktJson::object();
    std::vector<ktGltfBuffer> buffers; ///< one an entry of /buffers
    std::vector<ktGlbChunk> chunks;    ///< further chunks of a .glb
    int indent = -1;                   ///< spaces a level when written as text; -1: one line
    char indentWith = ' ';

    /// Absolute path of the folder that resources are relative to.
    QString folder() const;
};

/// Reads a .gltf or .glb file. What is wrong with single buffers is kept in them; what concerns the whole file (not
/// readable, not glTF, truncated, another version than 2, an extension it requires and we lack) throws ktFileError.
ktGltfDocument ktReadGltf(const QString& path, ktFileMessages& messages);

/// Whether the file begins like a .glb file, whatever its name.
bool ktBeginsLikeGlb(const QString& path);
/// Whether the file's content is glTF of version 1, which ktReadGltf() refuses.
bool ktIsGltf1(const QString& path);

/// Writes a document as .glb or .gltf, by the ending of `path`. The main file is written beside its target, flushed and
/// renamed into place last; resources that a .gltf elsewhere needs are copied along and never replace a file of other
/// content. The document itself is not changed. Throws ktFileError (object "file" or a JSON pointer).
void ktWriteGltf(const ktGltfDocument& document, const QString& path, ktFileMessages& messages);
