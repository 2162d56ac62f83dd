// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCompressedInput.h"

class ktFileMessages;

/// Decodes all compressed geometry of a document: KHR_draco_mesh_compression and EXT_meshopt_compression. The result
/// has plain buffer views and no longer names these extensions; its buffers with data become one. Changes nothing if
/// nothing is compressed. A primitive that has both plain and Draco data stays as it is. Throws ktFileError that names
/// the primitive or the view if a stream is damaged or describes far more data than its size justifies.
ktCompressedInput ktDecompress(ktGltfDocument& document, ktFileMessages& messages);

// The two steps, for the same document.

/// Decodes the views of EXT_meshopt_compression.
void ktDecodeMeshopt(ktGltfDocument& document, ktCompressedInput& input);
/// Decodes the primitives of KHR_draco_mesh_compression, in a process with limits.
void ktDecodeDraco(ktGltfDocument& document, ktCompressedInput& input, ktFileMessages& messages);
