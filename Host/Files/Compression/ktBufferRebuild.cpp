// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the buffers of a document anew when the content of buffer views has changed.
#include "ktBufferRebuild.h"

#include "ktCompressedInput.h"
#include "ktExtensionNames.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace {

constexpr std::size_t alignment = 8;

// Moves each "bufferView" of a document, except in extras, which are not ours to read.
void renumber(ktJson& value, const std::vector<std::size_t>& newIndex) {
    if (value.is_object()) {
        for (auto member = value.begin(); member != value.end(); ++member) {
            if (member.key() == "extras")
                continue;
            if (member.key() == "bufferView") {
                if (const auto old = ktJsonAsWhole(*member); old && *old < newIndex.size())
                    *member = newIndex[static_cast<std::size_t>(*old)];
                continue;
            }
            renumber(*member, newIndex);
        }
    } else if (value.is_array()) {
        for (ktJson& element : value)
            renumber(element, newIndex);
    }
}

// Whether an extension refers to views by a name that renumber() does not know.
bool hasHiddenReferences(const ktJson& json) {
    const ktJson* used = ktJsonMember(json, "extensionsUsed");
    return used && std::any_of(used->begin(), used->end(), [](const ktJson& name) {
               return name == "EXT_structural_metadata" || name == "EXT_feature_metadata";
           });
}

} // namespace

/// Bytes of an old buffer that a view shows.
struct ktBufferRebuild::Piece {
    std::size_t buffer, begin, end, view;
};

ktBufferRebuild::ktBufferRebuild(ktGltfDocument& document_)
    : document(document_), views(ktJsonArray(document_.json, "bufferViews")), changes(views.size()) {}

void ktBufferRebuild::replace(std::size_t view, ktBytes content) {
    changes[view] = {How::Replaced, std::move(content), {}};
}

void ktBufferRebuild::remove(std::size_t view) {
    changes[view] = {How::Removed, {}, {}};
}

std::size_t ktBufferRebuild::add(const ktJson& json, ktBytes content) {
    const auto free =
        std::find_if(changes.begin(), changes.end(), [](const Change& change) { return change.how == How::Removed; });
    const std::size_t index = static_cast<std::size_t>(free - changes.begin());
    if (free == changes.end()) {
        changes.emplace_back();
        views.push_back(ktJson::object());
    }
    ktJson view = {{"buffer", 0}, {"byteOffset", 0}, {"byteLength", content.size()}};
    view.update(json);
    views[index] = std::move(view);
    replace(index, std::move(content));
    return index;
}

void ktBufferRebuild::compress(std::size_t view, ktBytes stream, ktJson extension) {
    changes[view] = {How::Compressed, std::move(stream), std::move(extension)};
}

std::size_t ktBufferRebuild::append(const std::uint8_t* data, std::size_t size, std::size_t phase) {
    const std::size_t offset = (bytes.size() + alignment - 1) / alignment * alignment + phase % alignment;
    bytes.resize(offset);
    bytes.insert(bytes.end(), data, data + size);
    return offset;
}

std::vector<ktBufferRebuild::Piece> ktBufferRebuild::findPieces(bool own) const {
    std::vector<Piece> pieces;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const auto buffer = ktJsonWhole(views[i], "buffer"), length = ktJsonWhole(views[i], "byteLength");
        const auto offset = ktJsonByteOffset(views[i]);
        if (changes[i].how != How::Kept || ktIsOwnData(views[i]) != own || !buffer || !offset || !length ||
            *buffer >= document.buffers.size())
            continue;
        const std::size_t size = document.buffers[static_cast<std::size_t>(*buffer)].bytes.size();
        if (*offset <= size && *length <= size - *offset)
            pieces.push_back({static_cast<std::size_t>(*buffer), static_cast<std::size_t>(*offset),
                              static_cast<std::size_t>(*offset + *length), i});
    }
    std::sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) {
        return std::tie(a.buffer, a.begin, a.view) < std::tie(b.buffer, b.begin, b.view);
    });
    return pieces;
}

// Copies the bytes of unchanged views, those of several views once.
void ktBufferRebuild::keepPieces(bool own) {
    const std::vector<Piece> pieces = findPieces(own);
    for (std::size_t first = 0, next = 0; first < pieces.size(); first = next) {
        std::size_t end = pieces[first].end;
        for (next = first; next < pieces.size() && pieces[next].buffer == pieces[first].buffer &&
                           (next == first || pieces[next].begin < end);
             ++next)
            end = std::max(end, pieces[next].end);
        const ktBytes& old = document.buffers[pieces[first].buffer].bytes;
        const std::size_t begin = pieces[first].begin;
        const std::size_t place = append(old.data() + begin, end - begin, begin);
        for (std::size_t i = first; i < next; ++i) {
            ktJson& view = views[pieces[i].view];
            view["buffer"] = 0;
            view["byteOffset"] = place + (pieces[i].begin - begin);
            isPlaced[pieces[i].view] = true;
        }
    }
}

void ktBufferRebuild::placeChanged(bool own) {
    for (std::size_t i = 0; i < changes.size(); ++i) {
        Change& change = changes[i];
        if ((change.how != How::Replaced && change.how != How::Compressed) || ktIsOwnData(views[i]) != own)
            continue;
        const std::size_t place = append(change.bytes.data(), change.bytes.size(), 0);
        isPlaced[i] = true;
        ktJson& view = views[i];
        if (change.how == How::Replaced) {
            view["buffer"] = 0;
            view["byteOffset"] = place;
            view["byteLength"] = change.bytes.size();
        } else {
            const std::size_t size = static_cast<std::size_t>(*ktJsonWhole(change.extension, "byteStride") *
                                                              *ktJsonWhole(change.extension, "count"));
            ktJson extension = {{"buffer", 0}, {"byteOffset", place}, {"byteLength", change.bytes.size()}};
            extension.update(change.extension);
            view["buffer"] = nullptr; // the last one, whose number is not known yet
            view["byteOffset"] = fallbackSize;
            view["byteLength"] = size;
            view["extensions"][ktMeshoptExtension] = std::move(extension);
            fallbackSize += (size + 3) / 4 * 4;
        }
        ktBytes().swap(change.bytes);
    }
}

// Views that could not be read stay unreadable: their buffers without data stay, after the new one.
void ktBufferRebuild::moveViewsWithoutData() {
    std::map<std::size_t, std::vector<std::size_t>> viewsOfBuffer;
    for (std::size_t i = 0; i < views.size(); ++i) {
        const auto buffer = ktJsonWhole(views[i], "buffer");
        if (isPlaced[i] || changes[i].how == How::Removed || !buffer || *buffer >= document.buffers.size())
            continue;
        const std::size_t old = static_cast<std::size_t>(*buffer);
        if (!document.buffers[old].problem.empty()) {
            viewsOfBuffer[old].push_back(i);
            continue;
        }
        views[i]["buffer"] = 0;
        if (ktJsonByteOffset(views[i]))
            views[i]["byteOffset"] = bytes.size() + 1; // beyond the end, as before
    }
    for (const auto& [old, shown] : viewsOfBuffer) {
        withoutData.push_back(old);
        for (const std::size_t view : shown)
            views[view]["buffer"] = withoutData.size();
    }
}

void ktBufferRebuild::makeBuffers() {
    ktJson entries = ktJson::array();
    std::vector<ktGltfBuffer> buffers(1);
    ktJson first = ktJson::object();
    if (const ktJson* old = ktJsonElement(document.json, "buffers", 0);
        old && old->is_object() && !ktIsOwnData(*old) && document.buffers[0].problem.empty())
        first = *old;
    first.erase("uri");
    first["byteLength"] = bytes.size();
    entries.push_back(std::move(first));
    buffers[0].bytes.swap(bytes);
    for (const std::size_t i : withoutData) {
        entries.push_back(document.json["buffers"][i]);
        buffers.push_back(std::move(document.buffers[i]));
    }
    if (fallbackSize > 0) {
        const ktJson isFallback = {{ktMeshoptExtension, {{"fallback", true}}}};
        entries.push_back({{"byteLength", fallbackSize}, {"extensions", isFallback}});
        buffers.push_back({{}, "is the place of decoded data"});
        for (ktJson& view : views)
            if (const auto buffer = view.find("buffer"); buffer != view.end() && buffer->is_null())
                *buffer = entries.size() - 1;
    }
    document.json["buffers"] = std::move(entries);
    document.buffers = std::move(buffers);
}

void ktBufferRebuild::removeViews() {
    std::vector<std::size_t> newIndex(views.size());
    ktJson kept = ktJson::array();
    const bool isFixed = hasHiddenReferences(document.json);
    for (std::size_t i = 0; i < views.size(); ++i) {
        newIndex[i] = kept.size();
        if (changes[i].how != How::Removed)
            kept.push_back(std::move(views[i]));
        else if (isFixed)
            kept.push_back({{"buffer", 0}, {"byteOffset", 0}, {"byteLength", 1}});
    }
    const bool isSame = kept.size() == views.size();
    views = std::move(kept);
    if (!isSame)
        renumber(document.json, newIndex);
    if (views.empty())
        document.json.erase("bufferViews");
}

void ktBufferRebuild::finish() {
    isPlaced.assign(views.size(), false);
    for (const bool own : {false, true}) {
        keepPieces(own);
        placeChanged(own);
    }
    moveViewsWithoutData();
    makeBuffers();
    removeViews();
}
