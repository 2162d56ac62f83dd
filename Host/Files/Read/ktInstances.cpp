// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads the instances of nodes: EXT_mesh_gpu_instancing.
#include "ktInstances.h"

#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfAccessor.h"

#include <algorithm>
#include <optional>

namespace {

const char* const instancingName = "EXT_mesh_gpu_instancing";
constexpr std::size_t mostWithoutData = 1 << 16; // instances whose transforms are all zeros

const ktJson* instancingOf(const ktJson& node) {
    const ktJson* extensions = ktJsonMember(node, "extensions");
    return extensions ? ktJsonMember(*extensions, instancingName) : nullptr;
}

/// The transforms as glTF stores them: one list for each of translation, rotation and scale; empty: the default.
struct Lists {
    std::size_t count = 0;
    std::vector<float> translation, rotation, scale;

    ktJson transformOf(std::size_t instance) const {
        ktJson json = ktJson::object();
        const auto put = [&](const char* key, const std::vector<float>& values, std::size_t width) {
            for (std::size_t c = 0; c < width && !values.empty(); ++c)
                json[key].push_back(ktJsonFromFloat(values[width * instance + c]));
        };
        put("translation", translation, 3);
        put("rotation", rotation, 4);
        put("scale", scale, 3);
        return json;
    }
};

Lists readLists(const ktGltfDocument& document, const ktJson& instancing, const std::string& object) {
    const ktJson* attributes = ktJsonMember(instancing, "attributes");
    if (!attributes || !attributes->is_object() || attributes->empty())
        throw ktFileError(object, "has no attributes");
    Lists lists;
    bool hasData = false;
    for (const auto& attribute : attributes->items()) {
        const auto index = ktJsonAsWhole(attribute.value());
        if (!index)
            throw ktFileError(object + "/attributes/" + attribute.key(), "is no accessor");
        const ktGltfAccessor accessor(document, static_cast<std::size_t>(*index));
        if (lists.count != 0 && accessor.count() != lists.count)
            throw ktFileError(object + "/attributes/" + attribute.key(), "has another count than the others");
        lists.count = accessor.count();
        hasData = hasData || accessor.hasData();
        const bool isTranslation = attribute.key() == "TRANSLATION", isRotation = attribute.key() == "ROTATION";
        if (!isTranslation && !isRotation && attribute.key() != "SCALE")
            continue;
        const int width = isRotation ? 4 : 3;
        if (accessor.components() != width)
            throw ktFileError(object + "/attributes/" + attribute.key(), "has a wrong type");
        std::vector<float>& values = isTranslation ? lists.translation : isRotation ? lists.rotation : lists.scale;
        if (!accessor.hasData() && lists.count > mostWithoutData)
            throw ktFileError(object + "/attributes/" + attribute.key(), "has far more elements than data");
        values.resize(static_cast<std::size_t>(width) * lists.count);
        accessor.readFloats(nullptr, lists.count, width, 0, values.data());
    }
    if (!hasData && lists.count > mostWithoutData)
        throw ktFileError(object, "describes far more instances than the file has data for");
    return lists;
}

} // namespace

std::vector<ktMatrix> ktReadInstances(const ktGltfDocument& document, std::size_t node, ktFileMessages& messages) {
    const ktJson* instancing = instancingOf(*ktJsonElement(document.json, "nodes", node));
    if (!instancing)
        return {};
    const std::string object = ktPointer("nodes", node) + "/extensions/" + instancingName;
    std::vector<ktMatrix> matrices;
    try {
        const Lists lists = readLists(document, *instancing, object);
        std::size_t bad = 0;
        for (std::size_t i = 0; i < lists.count; ++i) {
            bool valid = false;
            const ktMatrix matrix = ktReadNodeMatrix(lists.transformOf(i), valid);
            if (valid)
                matrices.push_back(matrix);
            else
                ++bad;
        }
        if (bad > 0)
            messages.warn(object, "has instances without a valid transform, which are left out", std::to_string(bad));
        return matrices;
    } catch (const ktFileError& error) {
        messages.warn(error.object(), "its instances cannot be read, so its mesh is shown once: " + error.reason());
        return {ktIdentity};
    }
}

void ktMakeInstancesNodes(ktGltfDocument& document, ktFileMessages& messages) {
    const std::size_t count = ktJsonCount(document.json, "nodes");
    bool isLeft = false, isMade = false;
    for (std::size_t i = 0; i < count; ++i) {
        const ktJson* instancing = instancingOf(*ktJsonElement(document.json, "nodes", i));
        if (!instancing)
            continue;
        std::optional<Lists> lists;
        try {
            lists = readLists(document, *instancing, ktPointer("nodes", i) + "/extensions/" + instancingName);
        } catch (const ktFileError& error) {
            messages.warn(error.object(), "its instances cannot be read, so its mesh is shown once: " + error.reason());
        }
        if (!lists || !ktJsonMember(document.json["nodes"][i], "mesh")) {
            isLeft = true;
            continue;
        }
        isMade = true;
        const ktJson mesh = document.json["nodes"][i]["mesh"];
        for (std::size_t k = 0; k < lists->count; ++k) {
            ktJson& nodes = document.json["nodes"];
            ktJson child = {{"mesh", mesh}};
            child.update(lists->transformOf(k));
            const std::size_t index = nodes.size();
            nodes.push_back(std::move(child));
            ktJsonArray(nodes[i], "children").push_back(index);
        }
        ktJson& node = document.json["nodes"][i];
        node.erase("mesh");
        node["extensions"].erase(instancingName);
        if (node["extensions"].empty())
            node.erase("extensions");
    }
    if (!isMade || isLeft)
        return;
    for (const char* list : {"extensionsUsed", "extensionsRequired"})
        if (ktJson* names = ktJsonMember(document.json, list); names && names->is_array()) {
            names->erase(std::remove(names->begin(), names->end(), instancingName), names->end());
            if (names->empty())
                document.json.erase(list);
        }
}
