// SPDX-License-Identifier: LGPL-2.1-or-later
// Lays out buffers and images for a .glb or .gltf file, and updates the document's references to them.
#include "ktGltfPacking.h"

#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfReferences.h"
#include "ktGltfStore.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

bool hasUri(const ktJson& json, const char* collection, std::size_t index) {
    const ktJson* entry = ktJsonElement(json, collection, index);
    return entry && ktJsonMember(*entry, "uri");
}

bool isAvailable(const ktGltfDocument& document, std::size_t buffer) {
    return document.buffers[buffer].problem.empty();
}

void append(ktPackedGltf& packed, const std::uint8_t* data, std::size_t size) {
    const std::size_t offset = (packed.binarySize + 7) / 8 * 8;
    packed.binary.push_back({data, size, offset});
    packed.binarySize = offset + size;
}

// Moves a reference to a buffer: of a view, or of an extension inside a view, which may refer to another buffer.
void moveReference(ktJson& holder, const std::vector<std::size_t>& newIndex, const std::vector<std::size_t>& offset) {
    const auto buffer = ktJsonWhole(holder, "buffer");
    if (!buffer || *buffer >= newIndex.size())
        return;
    const std::size_t old = static_cast<std::size_t>(*buffer);
    holder["buffer"] = newIndex[old];
    if (offset[old])
        holder["byteOffset"] = ktJsonWhole(holder, "byteOffset").value_or(0) + offset[old];
}

// Puts every buffer that has bytes into the binary chunk. The others stay separate entries after it.
void embedBuffers(const ktGltfDocument& document, ktPackedGltf& packed) {
    const std::size_t count = document.buffers.size();
    std::vector<std::size_t> sizes;
    for (std::size_t i = 0; i < count; ++i)
        sizes.push_back(isAvailable(document, i) ? document.buffers[i].bytes.size() : SIZE_MAX);
    ktParkViewsBeyond(packed.json, sizes);
    std::vector<std::size_t> newIndex(count, 0);
    std::vector<std::size_t> offset(count, 0);
    ktJson buffers = ktJson::array();
    buffers.push_back(ktJson::object());
    for (std::size_t i = 0; i < count; ++i) {
        const ktJson& entry = packed.json["buffers"][i];
        if (isAvailable(document, i)) {
            append(packed, document.buffers[i].bytes.data(), document.buffers[i].bytes.size());
            offset[i] = packed.binary.back().offset;
            for (const auto& member : entry.items())
                if (member.key() != "uri" && !buffers[0].contains(member.key()))
                    buffers[0][member.key()] = member.value();
        } else {
            newIndex[i] = buffers.size();
            buffers.push_back(entry);
        }
    }
    if (packed.binary.empty())
        return;
    buffers[0]["byteLength"] = packed.binarySize;
    packed.json["buffers"] = std::move(buffers);
    for (std::size_t i = 0; i < ktJsonCount(packed.json, "bufferViews"); ++i) {
        ktJson& view = packed.json["bufferViews"][i];
        moveReference(view, newIndex, offset);
        if (ktJson* extensions = ktJsonMember(view, "extensions"); extensions && extensions->is_object())
            for (ktJson& extension : *extensions)
                moveReference(extension, newIndex, offset);
    }
}

const char* imageType(const ktBytes& bytes) {
    const auto begins = [&](const char* magic, std::size_t size, std::size_t at = 0) {
        return bytes.size() >= at + size && std::memcmp(bytes.data() + at, magic, size) == 0;
    };
    if (begins("\x89PNG", 4))
        return "image/png";
    if (begins("\xFF\xD8\xFF", 3))
        return "image/jpeg";
    if (begins("WEBP", 4, 8))
        return "image/webp";
    if (begins("\xABKTX 20", 7))
        return "image/ktx2";
    return nullptr;
}

// Embeds PNG and JPEG images. Others may not be embedded; they are copied like other resources.
void embedImages(const ktGltfDocument& document, ktPackedGltf& packed, ktFileMessages& messages) {
    for (std::size_t i = 0; i < ktJsonCount(packed.json, "images"); ++i) {
        if (!hasUri(packed.json, "images", i))
            continue;
        ktJson& image = packed.json["images"][i];
        const std::string uri = ktJsonText(image, "uri");
        const std::string object = ktPointer("images", i);
        if (ktIsDataUri(uri))
            continue;
        try {
            auto bytes =
                std::make_unique<ktBytes>(ktReadWholeFile(ktResolveAssetUri(document.folder(), uri, object), object));
            const char* type = imageType(*bytes);
            if (!type)
                continue;
            append(packed, bytes->data(), bytes->size());
            ktJson view = {{"buffer", 0}, {"byteOffset", packed.binary.back().offset}, {"byteLength", bytes->size()}};
            ktMarkAsOwn(view); // it may move when results before it are removed
            ktJson& views = ktJsonArray(packed.json, "bufferViews");
            views.push_back(std::move(view));
            packed.owned.push_back(std::move(bytes));
            image.erase("uri");
            image["bufferView"] = views.size() - 1;
            image["mimeType"] = type;
        } catch (const ktFileError& error) {
            messages.warn(error.object(), "image cannot be embedded", error.reason());
        }
    }
    if (packed.binary.empty())
        return;
    ktJson& buffers = ktJsonArray(packed.json, "buffers");
    if (buffers.empty())
        buffers.push_back(ktJson::object());
    buffers[0]["byteLength"] = packed.binarySize;
}

QString withSuffix(const QString& path, const QString& suffix) {
    const QFileInfo info(path);
    const QString folder = info.path() == "." ? QString() : info.path() + '/';
    const QString ending = info.suffix().isEmpty() ? QString() : '.' + info.suffix();
    return folder + info.completeBaseName() + '-' + suffix + ending;
}

bool holds(const QString& path, const ktBytes& bytes) {
    const QFileInfo info(path);
    return info.isFile() && static_cast<std::size_t>(info.size()) == bytes.size() &&
           ktReadWholeFile(path, "file") == bytes;
}

// Whether a resource of the source has disappeared since it was read.
bool isGone(const ktGltfDocument& document, const QString& relative) {
    const QString path = QDir(document.folder()).filePath(relative);
    return !ktFindIgnoringCase(path.toStdString()) && !QFileInfo(path).isSymLink();
}

// Copies the resource of an entry to another folder: to the same relative path, or, if a file of different content has
// that name, to a name with the hash of its content. A file that is gone is written again from `read`, if not null.
void copyResource(const ktGltfDocument& document, ktJson& entry, const std::string& object, const QString& folder,
                  const ktBytes* read, ktPackedGltf& packed, ktFileMessages& messages) {
    const std::string uri = ktJsonText(entry, "uri");
    if (!ktJsonMember(entry, "uri") || ktIsDataUri(uri))
        return;
    try {
        const QString relative = ktDecodeAssetUri(uri, object);
        auto bytes = std::make_unique<ktBytes>();
        if (read && isGone(document, relative))
            *bytes = *read;
        else
            *bytes = ktReadWholeFile(ktResolveAssetUri(document.folder(), uri, object), object);
        QString target = relative;
        if (QFileInfo::exists(QDir(folder).filePath(target)) && !holds(QDir(folder).filePath(target), *bytes)) {
            target = withSuffix(relative, ktHashContent(bytes->data(), bytes->size()));
            entry["uri"] = ktEncodeAssetUri(target);
        }
        if (!holds(QDir(folder).filePath(target), *bytes))
            packed.files.push_back({target, bytes->data(), bytes->size()});
        packed.owned.push_back(std::move(bytes));
    } catch (const ktFileError& error) {
        messages.warn(error.object(), "cannot be copied to the new folder", error.reason());
    }
}

// Writes buffers again that have disappeared since they were read. Saving over the source may have deleted them.
void restoreBuffers(const ktGltfDocument& document, ktPackedGltf& packed) {
    for (std::size_t i = 0; i < document.buffers.size(); ++i) {
        if (!isAvailable(document, i) || !hasUri(packed.json, "buffers", i))
            continue;
        const std::string uri = ktJsonText(packed.json["buffers"][i], "uri");
        if (ktIsDataUri(uri))
            continue;
        const QString relative = ktDecodeAssetUri(uri, ktPointer("buffers", i));
        if (isGone(document, relative))
            packed.files.push_back({relative, document.buffers[i].bytes.data(), document.buffers[i].bytes.size()});
    }
}

// @param hasAllBuffers whether packed.json has the same buffers as the document; otherwise those with bytes are
// embedded
void copyResources(const ktGltfDocument& document, const QString& folder, bool hasAllBuffers, ktPackedGltf& packed,
                   ktFileMessages& messages) {
    if (QFileInfo(folder).canonicalFilePath() == QFileInfo(document.folder()).canonicalFilePath()) {
        if (hasAllBuffers)
            restoreBuffers(document, packed);
        return;
    }
    for (std::size_t i = 0; i < ktJsonCount(packed.json, "buffers"); ++i)
        copyResource(document, packed.json["buffers"][i], ktPointer("buffers", i), folder,
                     hasAllBuffers && isAvailable(document, i) ? &document.buffers[i].bytes : nullptr, packed,
                     messages);
    for (std::size_t i = 0; i < ktJsonCount(packed.json, "images"); ++i)
        copyResource(document, packed.json["images"][i], ktPointer("images", i), folder, nullptr, packed, messages);
}

// The binary chunk must be the first buffer.
bool mustEmbed(const ktGltfDocument& document) {
    if (document.form != ktGltfForm::Glb)
        return true;
    for (std::size_t i = 1; i < document.buffers.size(); ++i)
        if (isAvailable(document, i) && !hasUri(document.json, "buffers", i))
            return true;
    return false;
}

} // namespace

ktPackedGltf::ktPackedGltf(ktGltfDocument& document)
    : borrowed(document.json, {"buffers", "bufferViews", "images"}), json(borrowed.json) {}

void ktPackForGlb(ktPackedGltf& packed, const ktGltfDocument& document, const QString& folder,
                  ktFileMessages& messages) {
    const bool embeds = mustEmbed(document);
    if (embeds) {
        embedBuffers(document, packed);
        embedImages(document, packed, messages);
    } else if (!document.buffers.empty() && isAvailable(document, 0) && !hasUri(document.json, "buffers", 0)) {
        append(packed, document.buffers[0].bytes.data(), document.buffers[0].bytes.size());
        packed.json["buffers"][0]["byteLength"] = packed.binarySize;
    }
    copyResources(document, folder, !embeds, packed, messages);
}

void ktPackForGltf(ktPackedGltf& packed, const ktGltfDocument& document, const QString& folder, const QString& stem,
                   ktFileMessages& messages) {
    copyResources(document, folder, true, packed, messages);
    bool inside = document.form == ktGltfForm::Gltf;
    for (std::size_t i = 0; i < document.buffers.size(); ++i)
        inside = inside &&
                 (!hasUri(document.json, "buffers", i) || ktIsDataUri(ktJsonText(document.json["buffers"][i], "uri")));
    for (std::size_t i = 0; i < document.buffers.size(); ++i) {
        const ktBytes& bytes = document.buffers[i].bytes;
        if (!isAvailable(document, i) || hasUri(document.json, "buffers", i) || bytes.empty())
            continue;
        ktJson& entry = packed.json["buffers"][i];
        entry["byteLength"] = bytes.size();
        if (inside) {
            entry["uri"] = ktEncodeDataUri(bytes.data(), bytes.size(), ktPointer("buffers", i));
            continue;
        }
        const QString name = stem + '-' + ktHashContent(bytes.data(), bytes.size()) + ".bin";
        entry["uri"] = ktEncodeAssetUri(name);
        packed.files.push_back({name, bytes.data(), bytes.size()});
    }
}
