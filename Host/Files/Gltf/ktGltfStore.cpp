// SPDX-License-Identifier: LGPL-2.1-or-later
// Adds buffer views and accessors to a glTF document, and reuses the space of data from earlier bakes.
#include "ktGltfStore.h"

#include "ktGltfReferences.h"

#include <algorithm>
#include <limits>

namespace {

const char* const mark = "ambientOcclusion";
const std::size_t none = std::numeric_limits<std::size_t>::max();

std::size_t offsetOf(const ktJson& view) {
    return static_cast<std::size_t>(ktJsonWhole(view, "byteOffset").value_or(0));
}

std::size_t lengthOf(const ktJson& view) {
    return static_cast<std::size_t>(ktJsonWhole(view, "byteLength").value_or(0));
}

// Removes freed entries at the end of the array. The others keep their index and are reused.
void dropTail(ktJson& array, std::vector<std::size_t>& freed) {
    while (!freed.empty() && freed.back() + 1 == array.size()) {
        array.erase(array.size() - 1);
        freed.pop_back();
    }
    std::reverse(freed.begin(), freed.end());
}

std::size_t place(ktJson& array, std::vector<std::size_t>& freed, ktJson entry) {
    if (freed.empty()) {
        array.push_back(std::move(entry));
        return array.size() - 1;
    }
    const std::size_t index = freed.back();
    freed.pop_back();
    array[index] = std::move(entry);
    return index;
}

} // namespace

void ktMarkAsOwn(ktJson& entry) {
    entry["extras"] = {{mark, true}};
}

bool ktIsOwn(const ktJson& entry) {
    const ktJson* extras = ktJsonMember(entry, "extras");
    return extras && ktJsonMember(*extras, mark);
}

ktGltfStore::ktGltfStore(ktGltfDocument& document_) : document(document_), target(none) {
    for (const char* collection : {"accessors", "bufferViews", "buffers"}) {
        if (!ktJsonMember(document.json, collection))
            madeCollections.push_back(collection);
        ktParkDanglingReferences(document.json, collection);
        ktJsonArray(document.json, collection);
    }
    std::vector<std::size_t> sizes; // of the buffers that may change
    for (std::size_t i = 0; i < document.buffers.size(); ++i)
        sizes.push_back(mayChange(i) ? document.buffers[i].bytes.size() : none);
    ktParkViewsBeyond(document.json, sizes);
    findOwnRegions();
    reclaimAccessors();
    reclaimViews();
    for (std::size_t i = 0; i < document.buffers.size(); ++i)
        compactBuffer(i);
}

bool ktGltfStore::mayChange(std::size_t buffer) const {
    const ktJson& entry = document.json["buffers"][buffer];
    return document.buffers[buffer].problem.empty() && (!ktJsonMember(entry, "uri") || ktIsOwn(entry));
}

void ktGltfStore::findOwnRegions() {
    const ktJson& views = list("bufferViews");
    const ktJson& buffers = list("buffers");
    const std::size_t count = document.buffers.size();
    std::vector<std::size_t> foreignEnd(count, 0);
    const auto bufferOf = [&](const ktJson& view) {
        const auto index = ktJsonWhole(view, "buffer");
        return index && *index < count ? static_cast<std::size_t>(*index) : count;
    };
    for (const ktJson& view : views)
        if (const std::size_t b = bufferOf(view); b < count && !ktIsOwn(view))
            foreignEnd[b] = std::max(foreignEnd[b], offsetOf(view) + lengthOf(view));
    ownBegin.assign(count, none); // and stays so for an entry that is no object: it has no data
    for (const ktJson& view : views)
        if (const std::size_t b = bufferOf(view);
            b < count && buffers[b].is_object() && ktIsOwn(view) && offsetOf(view) >= foreignEnd[b])
            ownBegin[b] = std::min(ownBegin[b], offsetOf(view));
    for (std::size_t b = 0; b < count; ++b)
        if (ktIsOwn(buffers[b]))
            ownBegin[b] = foreignEnd[b];
}

void ktGltfStore::reclaimAccessors() {
    ktJson& accessors = list("accessors");
    const std::vector<bool> used = ktFindUsedAccessors(document.json);
    for (std::size_t i = 0; i < accessors.size(); ++i) {
        const auto index = ktJsonWhole(accessors[i], "bufferView");
        const ktJson* view =
            index ? ktJsonElement(document.json, "bufferViews", static_cast<std::size_t>(*index)) : nullptr;
        if (!used[i] && (ktIsOwn(accessors[i]) || (view && ktIsOwn(*view))))
            freedAccessors.push_back(i);
    }
    for (const std::size_t i : freedAccessors)
        accessors[i] = ktJson::object();
    dropTail(accessors, freedAccessors);
}

void ktGltfStore::reclaimViews() {
    ktJson& views = list("bufferViews");
    const std::vector<bool> used = ktFindUsedViews(document.json);
    for (std::size_t i = 0; i < views.size(); ++i)
        if (!used[i] && ktIsOwn(views[i]))
            freedViews.push_back(i);
    for (const std::size_t i : freedViews)
        views[i] = ktJson::object();
    dropTail(views, freedViews);
}

// Moves our data that is still used together, after the data of the input. Freed data is dropped. Does not change a
// buffer that has its own file.
void ktGltfStore::compactBuffer(std::size_t index) {
    ktJson& views = list("bufferViews");
    ktJson& entry = list("buffers")[index];
    ktBytes& bytes = document.buffers[index].bytes;
    const std::size_t begin = ownBegin[index];
    if (begin > bytes.size() || (ktJsonMember(entry, "uri") && !ktIsOwn(entry)))
        return;
    std::vector<std::size_t> own;
    for (std::size_t i = 0; i < views.size(); ++i)
        if (ktJsonWhole(views[i], "buffer") == index && ktIsOwn(views[i]) && offsetOf(views[i]) >= begin)
            own.push_back(i);
    std::sort(own.begin(), own.end(),
              [&](std::size_t a, std::size_t b) { return offsetOf(views[a]) < offsetOf(views[b]); });
    const ktBytes before(bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.end());
    bytes.resize(begin);
    for (const std::size_t i : own) {
        const std::size_t offset = std::min(offsetOf(views[i]) - begin, before.size());
        const std::size_t size = std::min(lengthOf(views[i]), before.size() - offset);
        views[i]["byteOffset"] = appendBytes(index, before.data() + offset, size);
    }
    if (ktIsOwn(entry)) {
        entry.erase("uri");
        document.buffers[index].problem.clear();
    }
    entry["byteLength"] = bytes.size();
}

std::size_t ktGltfStore::appendBytes(std::size_t buffer, const void* data, std::size_t size) {
    ktBytes& bytes = document.buffers[buffer].bytes;
    const std::size_t offset = (bytes.size() + 3) / 4 * 4;
    bytes.resize(offset);
    const auto* first = static_cast<const std::uint8_t*>(data);
    bytes.insert(bytes.end(), first, first + size);
    return offset;
}

void ktGltfStore::chooseBuffer() {
    ktJson& buffers = list("buffers");
    for (std::size_t i = 0; i < document.buffers.size() && target == none; ++i) {
        const bool isInside = i == 0 && !ktJsonMember(buffers[i], "uri") && buffers[i].is_object();
        if (document.buffers[i].problem.empty() && (isInside || ktIsOwn(buffers[i])))
            target = i;
    }
    if (target != none)
        return;
    buffers.push_back(ktJson::object());
    if (!document.buffers.empty())
        ktMarkAsOwn(buffers.back());
    document.buffers.emplace_back();
    target = document.buffers.size() - 1;
}

std::size_t ktGltfStore::addView(const void* data, std::size_t size, std::size_t stride, int viewTarget) {
    if (target == none)
        chooseBuffer();
    ktJson view = {{"buffer", target}, {"byteOffset", appendBytes(target, data, size)}, {"byteLength", size}};
    if (stride)
        view["byteStride"] = stride;
    view["target"] = viewTarget;
    ktMarkAsOwn(view);
    return place(list("bufferViews"), freedViews, std::move(view));
}

std::size_t ktGltfStore::addAccessor(const ktGltfNewAccessor& accessor) {
    ktJson entry = {{"bufferView", accessor.view}};
    if (accessor.byteOffset)
        entry["byteOffset"] = accessor.byteOffset;
    entry["componentType"] = static_cast<std::uint32_t>(accessor.component);
    if (accessor.normalized)
        entry["normalized"] = true;
    entry["count"] = accessor.count;
    entry["type"] = accessor.type;
    for (const auto& [name, numbers] : {std::pair("min", &accessor.min), std::pair("max", &accessor.max)})
        if (!numbers->empty())
            for (const float number : *numbers)
                entry[name].push_back(static_cast<double>(number));
    if (accessor.mark)
        entry["extras"] = {{mark, accessor.mark}};
    return place(list("accessors"), freedAccessors, std::move(entry));
}

void ktGltfStore::finish() {
    // Freed entries before others must stay, or indices change. They become small, and marked for reuse.
    for (const std::size_t i : freedAccessors) {
        list("accessors")[i] = {{"componentType", 5126}, {"count", 1}, {"type", "SCALAR"}};
        ktMarkAsOwn(list("accessors")[i]);
    }
    if (!freedViews.empty()) {
        const char nothing[8] = {};
        const std::size_t view = addView(nothing, sizeof nothing, 0, ktVertexTarget);
        for (const std::size_t i : freedViews)
            list("bufferViews")[i] = list("bufferViews")[view];
        freedViews.clear();
    }
    ktJson& buffers = list("buffers");
    for (std::size_t i = document.buffers.size(); i-- > 0;) {
        if (i == target || (i < ownBegin.size() && ownBegin[i] != none))
            buffers[i]["byteLength"] = document.buffers[i].bytes.size();
        if (document.buffers[i].bytes.empty() && ktIsOwn(buffers[i]) && i + 1 == document.buffers.size()) {
            buffers.erase(i);
            document.buffers.pop_back();
        }
    }
    for (const std::string& collection : madeCollections)
        if (document.json[collection].empty())
            document.json.erase(collection);
}
