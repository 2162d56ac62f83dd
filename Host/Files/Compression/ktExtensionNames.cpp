// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds, adds and removes extensions of a glTF document.
#include "ktExtensionNames.h"

#include <algorithm>

const ktJson* ktFindExtension(const ktJson& object, const char* name) {
    const ktJson* extensions = ktJsonMember(object, "extensions");
    return extensions ? ktJsonMember(*extensions, name) : nullptr;
}

bool ktCanHaveExtensions(const ktJson& object) {
    const ktJson* extensions = ktJsonMember(object, "extensions");
    return !extensions || extensions->is_object() || extensions->is_null();
}

void ktRemoveExtension(ktJson& object, const char* name) {
    ktJson* extensions = ktJsonMember(object, "extensions");
    if (!extensions || !extensions->is_object())
        return;
    extensions->erase(name);
    if (extensions->empty())
        object.erase("extensions");
}

void ktRequireExtension(ktJson& document, const char* name) {
    for (const char* list : {"extensionsUsed", "extensionsRequired"}) {
        ktJson& names = ktJsonArray(document, list);
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
}

void ktForgetExtension(ktJson& document, const char* name) {
    for (const char* list : {"extensionsUsed", "extensionsRequired"}) {
        ktJson* names = ktJsonMember(document, list);
        if (!names || !names->is_array())
            continue;
        for (std::size_t i = names->size(); i-- > 0;)
            if ((*names)[i] == name)
                names->erase(i);
        if (names->empty())
            document.erase(list);
    }
}

bool ktIsOwnData(const ktJson& entry) {
    const ktJson* extras = ktJsonMember(entry, "extras");
    return extras && ktJsonMember(*extras, "ambientOcclusion");
}
