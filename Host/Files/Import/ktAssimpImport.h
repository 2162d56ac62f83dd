// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

class ktFileMessages;

/// A file of another format, turned into glTF in memory.
struct ktImportedFile {
    ktGltfDocument document;
    bool hasUnit = false; ///< the file says what its unit is, and the document is in metres
};

/// Imports any format that Assimp knows. The import runs in a process of its own with limits on memory and time, so
/// that a broken file cannot take this one down. Throws ktFileError (object "file").
ktImportedFile ktImportWithAssimp(const QString& path, ktFileMessages& messages);

/// Whether Assimp has an importer for files with the ending of `path`.
bool ktCanImportWithAssimp(const QString& path);
