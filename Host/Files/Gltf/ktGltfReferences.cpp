// SPDX-License-Identifier: LGPL-2.1-or-later
// Visits the references of a glTF document between accessors, buffer views, buffers, materials, meshes and nodes.
#include "ktGltfReferences.h"

#include <cstdint>
#include <cstring>
#include <functional>

namespace {

constexpr std::uint64_t nowhere = 4294967295; // no collection gets so long

// The visitors below call visit(reference) for each reference to an element of one collection. Json is const or not.

template <class Json, class Visit>
void visitMember(Json& holder, const char* key, const Visit& visit) {
    if (auto* const reference = ktJsonMember(holder, key))
        visit(*reference);
}

// Every value of an object whose members are all references, such as a primitive's attributes.
template <class Json, class Visit>
void visitAll(Json* references, const Visit& visit) {
    if (references && references->is_object())
        for (auto& reference : *references)
            visit(reference);
}

template <class Json, class Visit>
void visitElements(Json& holder, const char* key, const Visit& visit) {
    for (std::size_t i = 0; i < ktJsonCount(holder, key); ++i)
        visit(*ktJsonElement(holder, key, i));
}

template <class Json, class Visit>
void visitPrimitives(Json& document, const Visit& visit) {
    visitElements(document, "meshes", [&](auto& mesh) { visitElements(mesh, "primitives", visit); });
}

template <class Json, class Visit>
void visitAccessors(Json& document, const Visit& visit) {
    visitPrimitives(document, [&](auto& primitive) {
        visitAll(ktJsonMember(primitive, "attributes"), visit);
        visitMember(primitive, "indices", visit);
        visitElements(primitive, "targets", [&](auto& target) { visitAll(&target, visit); });
    });
    visitElements(document, "animations", [&](auto& animation) {
        visitElements(animation, "samplers", [&](auto& sampler) {
            visitMember(sampler, "input", visit);
            visitMember(sampler, "output", visit);
        });
    });
    visitElements(document, "skins", [&](auto& skin) { visitMember(skin, "inverseBindMatrices", visit); });
    visitElements(document, "nodes", [&](auto& node) {
        if (auto* const extensions = ktJsonMember(node, "extensions"))
            if (auto* const instancing = ktJsonMember(*extensions, "EXT_mesh_gpu_instancing"))
                visitAll(ktJsonMember(*instancing, "attributes"), visit);
    });
}

template <class Json, class Visit>
void visitViews(Json& document, const Visit& visit) {
    visitElements(document, "accessors", [&](auto& accessor) {
        visitMember(accessor, "bufferView", visit);
        if (auto* const sparse = ktJsonMember(accessor, "sparse"))
            for (const char* part : {"indices", "values"})
                if (auto* const holder = ktJsonMember(*sparse, part))
                    visitMember(*holder, "bufferView", visit);
    });
    visitElements(document, "images", [&](auto& image) { visitMember(image, "bufferView", visit); });
}

template <class Json, class Visit>
void visitNodes(Json& document, const Visit& visit) {
    visitElements(document, "scenes", [&](auto& scene) { visitElements(scene, "nodes", visit); });
    visitElements(document, "nodes", [&](auto& node) { visitElements(node, "children", visit); });
    visitElements(document, "skins", [&](auto& skin) { visitElements(skin, "joints", visit); });
}

std::vector<bool> findUsed(const ktJson& document, const char* collection,
                           void (*visitReferences)(const ktJson&, const std::function<void(const ktJson&)>&)) {
    std::vector<bool> used(ktJsonCount(document, collection));
    visitReferences(document, [&used](const ktJson& reference) {
        const auto index = ktJsonAsWhole(reference);
        if (index && *index < used.size())
            used[static_cast<std::size_t>(*index)] = true;
    });
    return used;
}

} // namespace

std::vector<bool> ktFindUsedAccessors(const ktJson& document) {
    return findUsed(document, "accessors", visitAccessors<const ktJson, std::function<void(const ktJson&)>>);
}

std::vector<bool> ktFindUsedViews(const ktJson& document) {
    return findUsed(document, "bufferViews", visitViews<const ktJson, std::function<void(const ktJson&)>>);
}

void ktParkDanglingReferences(ktJson& document, const char* collection) {
    const std::size_t count = ktJsonCount(document, collection);
    const auto park = [&](ktJson& reference) {
        const auto index = ktJsonAsWhole(reference);
        if (index && *index >= count)
            reference = nowhere;
    };
    const auto is = [&](const char* name) { return std::strcmp(collection, name) == 0; };
    if (is("accessors"))
        visitAccessors(document, park);
    else if (is("bufferViews"))
        visitViews(document, park);
    else if (is("buffers"))
        visitElements(document, "bufferViews", [&](ktJson& view) { visitMember(view, "buffer", park); });
    else if (is("materials"))
        visitPrimitives(document, [&](ktJson& primitive) { visitMember(primitive, "material", park); });
    else if (is("meshes"))
        visitElements(document, "nodes", [&](ktJson& node) { visitMember(node, "mesh", park); });
    else if (is("nodes"))
        visitNodes(document, park);
}

void ktParkViewsBeyond(ktJson& document, const std::vector<std::size_t>& sizes) {
    const auto park = [&sizes](ktJson& holder) {
        const auto buffer = ktJsonWhole(holder, "buffer");
        if (!buffer || *buffer >= sizes.size() || sizes[static_cast<std::size_t>(*buffer)] == SIZE_MAX)
            return;
        const std::size_t size = sizes[static_cast<std::size_t>(*buffer)];
        const auto offset = ktJsonByteOffset(holder);
        const auto length = ktJsonWhole(holder, "byteLength");
        if (!offset || !length || *offset > size || *length > size - *offset)
            holder["buffer"] = nowhere;
    };
    visitElements(document, "bufferViews", [&park](ktJson& view) {
        park(view);
        if (ktJson* const extensions = ktJsonMember(view, "extensions"); extensions && extensions->is_object())
            for (ktJson& extension : *extensions)
                park(extension);
    });
}
