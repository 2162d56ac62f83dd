// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCompressedInput.h"
#include "ktCompressionMode.h"

class ktFileMessages;

/// Number of bits to which Draco rounds values that the input did not hold compressed.
const int ktDracoBits = 16;       ///< positions (of the largest extent of the mesh), texture coordinates, results
const int ktDracoNormalBits = 12; ///< of the octahedral coordinates of normals

/// Compresses the geometry of a document that is about to be written. AsInput compresses what the input held
/// compressed, and the results that belong to it. Streams of the input are written again, bit for bit, where nothing
/// changed. What cannot be compressed stays plain, with a warning. The document's buffers become one.
void ktCompress(ktGltfDocument& document, ktCompressionMode mode, const ktCompressedInput& input,
                ktFileMessages& messages);

// The two steps.

/// Compresses triangle primitives with Draco.
/// @param all false: only those that the input held compressed
void ktEncodeDraco(ktGltfDocument& document, bool all, const ktCompressedInput& input, ktFileMessages& messages);
/// Compresses buffer views with meshopt's lossless codecs.
/// @param all false: only those that the input held compressed, and results
void ktEncodeMeshopt(ktGltfDocument& document, bool all, const ktCompressedInput& input);
