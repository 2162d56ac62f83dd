// SPDX-License-Identifier: LGPL-2.1-or-later
// Marks files whose vertex colours hold baked light.
#include "ktLightMark.h"

#include "ktResultAttributes.h"

namespace {

const char* const markKey = "ambientOcclusion";
const char* const lightText = "light";
const char* const bothText = "light and colors";

template <class Visit>
void forEachAttributes(const ktGltfDocument& document, const Visit& visit) {
    for (std::size_t m = 0; m < ktJsonCount(document.json, "meshes"); ++m) {
        const ktJson& mesh = *ktJsonElement(document.json, "meshes", m);
        for (std::size_t p = 0; p < ktJsonCount(mesh, "primitives"); ++p)
            if (const ktJson* attributes = ktJsonMember(*ktJsonElement(mesh, "primitives", p), "attributes"))
                visit(*attributes);
    }
}

void removeMark(ktJson& asset) {
    ktJson* extras = ktJsonMember(asset, "extras");
    ktJson* mark = extras ? ktJsonMember(*extras, markKey) : nullptr;
    if (!mark || !ktJsonMember(*mark, "COLOR_0"))
        return;
    mark->erase("COLOR_0");
    if (!mark->empty())
        return;
    extras->erase(markKey);
    if (extras->empty())
        asset.erase("extras");
}

} // namespace

ktLightMark ktReadLightMark(const ktGltfDocument& document) {
    const ktJson* asset = ktJsonMember(document.json, "asset");
    const ktJson* extras = asset ? ktJsonMember(*asset, "extras") : nullptr;
    const ktJson* mark = extras ? ktJsonMember(*extras, markKey) : nullptr;
    const std::string text = mark ? ktJsonText(*mark, "COLOR_0") : std::string();
    return text == lightText ? ktLightMark::Light : text == bothText ? ktLightMark::LightAndColors : ktLightMark::None;
}

bool ktHasResultAttributes(const ktGltfDocument& document) {
    bool found = false;
    forEachAttributes(document, [&](const ktJson& attributes) {
        for (const auto& attribute : attributes.items())
            found = found || ktIsResultAttribute(attribute.key());
    });
    return found;
}

void ktWriteLightMark(ktGltfDocument& document) {
    ktJson* asset = ktJsonMember(document.json, "asset");
    if (!asset || !asset->is_object())
        return;
    const bool wasLight = ktReadLightMark(document) == ktLightMark::Light;
    bool hasLight = false, hasColors = false;
    forEachAttributes(document, [&](const ktJson& attributes) {
        if (!ktJsonMember(attributes, "COLOR_0"))
            return;
        const bool isBaked = ktJsonMember(attributes, ktAttributeSourceColor);
        const bool isLight = isBaked ? ktIsStandInColor(document, attributes) : wasLight;
        hasLight = hasLight || isBaked || isLight;
        hasColors = hasColors || !isLight;
    });
    if (!hasLight) {
        removeMark(*asset);
        return;
    }
    const ktJson* const extras = ktJsonMember(*asset, "extras");
    const ktJson* const mark = extras ? ktJsonMember(*extras, markKey) : nullptr;
    if ((extras && !extras->is_object()) || (mark && !mark->is_object()))
        return; // somebody else's
    (*asset)["extras"][markKey]["COLOR_0"] = hasColors ? bothText : lightText;
}
