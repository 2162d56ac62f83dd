// SPDX-License-Identifier: LGPL-2.1-or-later
// Decodes what is compressed in a document.
#include "ktDecompress.h"

#include "ktExtensionNames.h"

#include <algorithm>

namespace {

bool namesExtension(const ktJson& json, const char* name) {
    for (const char* list : {"extensionsUsed", "extensionsRequired"})
        if (const ktJson* names = ktJsonMember(json, list);
            names && std::find(names->begin(), names->end(), name) != names->end())
            return true;
    return false;
}

} // namespace

ktCompressedInput ktDecompress(ktGltfDocument& document, ktFileMessages& messages) {
    ktCompressedInput input;
    const ktJson& json = document.json;
    if (namesExtension(json, ktMeshoptExtension) || namesExtension(json, ktNewMeshoptExtension))
        ktDecodeMeshopt(document, input);
    if (namesExtension(json, ktDracoExtension))
        ktDecodeDraco(document, input, messages);
    return input;
}
