// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the accessors and buffer views that a glTF document uses, so that unused baked data can be removed.
#include "ktGltfReferences.h"

namespace {

void use(std::vector<bool>& used, const ktJson* reference) {
    const auto index = reference ? ktJsonAsWhole(*reference) : std::nullopt;
    if (index && *index < used.size())
        used[static_cast<std::size_t>(*index)] = true;
}

// Marks every value of an object whose members are all references, such as a primitive's attributes.
void useAll(std::vector<bool>& used, const ktJson* references) {
    if (references && references->is_object())
        for (const ktJson& reference : *references)
            use(used, &reference);
}

void useMesh(std::vector<bool>& used, const ktJson& mesh) {
    for (std::size_t p = 0; p < ktJsonCount(mesh, "primitives"); ++p) {
        const ktJson& primitive = *ktJsonElement(mesh, "primitives", p);
        useAll(used, ktJsonMember(primitive, "attributes"));
        use(used, ktJsonMember(primitive, "indices"));
        for (std::size_t t = 0; t < ktJsonCount(primitive, "targets"); ++t)
            useAll(used, ktJsonElement(primitive, "targets", t));
    }
}

void useInstancing(std::vector<bool>& used, const ktJson& node) {
    const ktJson* extensions = ktJsonMember(node, "extensions");
    const ktJson* instancing = extensions ? ktJsonMember(*extensions, "EXT_mesh_gpu_instancing") : nullptr;
    if (instancing)
        useAll(used, ktJsonMember(*instancing, "attributes"));
}

} // namespace

std::vector<bool> ktFindUsedAccessors(const ktJson& document) {
    std::vector<bool> used(ktJsonCount(document, "accessors"));
    for (std::size_t i = 0; i < ktJsonCount(document, "meshes"); ++i)
        useMesh(used, *ktJsonElement(document, "meshes", i));
    for (std::size_t i = 0; i < ktJsonCount(document, "animations"); ++i) {
        const ktJson& animation = *ktJsonElement(document, "animations", i);
        for (std::size_t s = 0; s < ktJsonCount(animation, "samplers"); ++s) {
            use(used, ktJsonMember(*ktJsonElement(animation, "samplers", s), "input"));
            use(used, ktJsonMember(*ktJsonElement(animation, "samplers", s), "output"));
        }
    }
    for (std::size_t i = 0; i < ktJsonCount(document, "skins"); ++i)
        use(used, ktJsonMember(*ktJsonElement(document, "skins", i), "inverseBindMatrices"));
    for (std::size_t i = 0; i < ktJsonCount(document, "nodes"); ++i)
        useInstancing(used, *ktJsonElement(document, "nodes", i));
    return used;
}

std::vector<bool> ktFindUsedViews(const ktJson& document) {
    std::vector<bool> used(ktJsonCount(document, "bufferViews"));
    for (std::size_t i = 0; i < ktJsonCount(document, "accessors"); ++i) {
        const ktJson& accessor = *ktJsonElement(document, "accessors", i);
        use(used, ktJsonMember(accessor, "bufferView"));
        if (const ktJson* sparse = ktJsonMember(accessor, "sparse"))
            for (const char* part : {"indices", "values"})
                if (const ktJson* holder = ktJsonMember(*sparse, part))
                    use(used, ktJsonMember(*holder, "bufferView"));
    }
    for (std::size_t i = 0; i < ktJsonCount(document, "images"); ++i)
        use(used, ktJsonMember(*ktJsonElement(document, "images", i), "bufferView"));
    return used;
}
