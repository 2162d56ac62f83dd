// SPDX-License-Identifier: LGPL-2.1-or-later
// Compresses a document that is about to be written.
#include "ktCompress.h"

void ktCompress(ktGltfDocument& document, ktCompressionMode mode, const ktCompressedInput& input,
                ktFileMessages& messages) {
    const bool asInput = mode == ktCompressionMode::AsInput;
    if (mode == ktCompressionMode::Draco || (asInput && !input.draco.empty()))
        ktEncodeDraco(document, !asInput, input, messages);
    if (mode != ktCompressionMode::Meshopt && (!asInput || input.meshopt.empty()))
        return;
    // With Draco, views have other numbers than in the input.
    if (asInput && !input.draco.empty())
        ktEncodeMeshopt(document, true, {});
    else
        ktEncodeMeshopt(document, !asInput, input);
}
