// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktUpAxis.h"

#include <optional>

class ktFileMessages;

/// A file of another format, converted to glTF in memory.
struct ktImportedFile {
    ktGltfDocument document;
    bool hasUnit = false;    ///< the document is in metres, as the file or its format says
    bool isUnitSure = false; ///< exporters set this unit with care
    bool hasUpAxis = false;  ///< the file or its format says which axis points up
};

/// Imports any format that Assimp supports, found by the file's ending or its first bytes. The import runs in a
/// separate process with limits on memory and time, so that a broken file cannot crash this process. Throws ktFileError
/// (object "file").
/// @param up the axis of the file that points up; empty: what the file or its format says, else y. In the document, y
/// is
///           up
ktImportedFile ktImportWithAssimp(const QString& path, std::optional<ktUpAxis> up, ktFileMessages& messages);
