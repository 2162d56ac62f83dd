// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

class ktFileMessages;

/// A file of another format, converted to glTF in memory.
struct ktImportedFile {
    ktGltfDocument document;
    bool hasUnit = false; ///< the file names its unit, and the document is in metres
};

/// Imports any format that Assimp supports. The import runs in a separate process with limits on memory and time, so
/// that a broken file cannot crash this process. Throws ktFileError (object "file").
ktImportedFile ktImportWithAssimp(const QString& path, ktFileMessages& messages);

/// Whether Assimp has an importer for files with the ending of `path`.
bool ktCanImportWithAssimp(const QString& path);
