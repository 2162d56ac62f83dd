// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads .gltf and .glb files into a document.
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGlbContainer.h"
#include "ktGltfDocument.h"
#include "ktGltfExtensions.h"

#include <algorithm>
#include <cstring>
#include <QFile>
#include <QFileInfo>

namespace {

// One level of indentation is the white space after the first line break.
void findIndentation(const char* text, std::size_t size, ktGltfDocument& document) {
    const char* const end = text + size;
    const char* at = std::find(text, end, '\n');
    if (at == end)
        return;
    const char* const begin = ++at;
    while (at < end && (*at == ' ' || *at == '\t'))
        ++at;
    document.indent = static_cast<int>(std::min<std::ptrdiff_t>(at - begin, 16));
    document.indentWith = begin < at ? *begin : ' ';
}

// In version 1 the version number may be missing, but collections are objects, not arrays. Only text: no importer reads
// version 1 inside a container of version 2.
bool isGltf1(const ktGltfDocument& document, const std::string& version) {
    const ktJson* meshes = ktJsonMember(document.json, "meshes");
    return document.form == ktGltfForm::Gltf &&
           (version.compare(0, 2, "1.") == 0 || (version.empty() && meshes && meshes->is_object()));
}

// `isVersion1`: others may read the file.
[[noreturn]] void refuse(bool isVersion1, const std::string& object, const std::string& reason) {
    if (isVersion1)
        throw ktGltf1Error(object, reason);
    throw ktFileError(object, reason);
}

void checkAsset(const ktGltfDocument& document) {
    const ktJson& json = document.json;
    if (!json.is_object())
        throw ktFileError("file", "is no glTF: the JSON is not an object");
    const ktJson* asset = ktJsonMember(json, "asset");
    const std::string version = asset ? ktJsonText(*asset, "version") : std::string();
    if (!asset)
        refuse(isGltf1(document, version), "/asset", "is missing, so this is no glTF");
    if (version != "2" && version.compare(0, 2, "2.") != 0)
        refuse(isGltf1(document, version), "/asset/version",
               "is '" + version.substr(0, 20) + "'; only glTF 2 can be read");
    const std::string least = ktJsonText(*asset, "minVersion");
    if (!least.empty() && least != "2.0")
        throw ktFileError("/asset/minVersion", "asks for glTF " + least.substr(0, 20) + "; only glTF 2.0 can be read");
}

// Writing adds to these. A file in which that is not possible is refused before the bake and not after it.
void checkCollections(const ktJson& json) {
    for (const char* key : {"accessors", "buffers", "bufferViews", "extensionsRequired", "extensionsUsed", "materials",
                            "meshes", "nodes"})
        if (const ktJson* collection = ktJsonMember(json, key); collection && !collection->is_array())
            throw ktFileError(std::string("/") + key, "is not an array");
}

void cutToLength(ktGltfBuffer& buffer, const ktJson& entry, const std::string& object, ktFileMessages& messages) {
    const auto length = ktJsonWhole(entry, "byteLength");
    if (!length) {
        messages.warn(object, "has no valid byteLength; the length of its data is taken");
    } else if (*length > buffer.bytes.size()) {
        messages.warn(object, "has less data than its byteLength says",
                      std::to_string(buffer.bytes.size()) + " of " + std::to_string(*length) + " bytes");
    } else {
        buffer.bytes.resize(static_cast<std::size_t>(*length));
    }
}

// Whether readers that decode compressed data do not need the buffer.
bool isFallback(const ktJson& entry) {
    const ktJson* extensions = ktJsonMember(entry, "extensions");
    for (const char* name : {"EXT_meshopt_compression", "KHR_meshopt_compression"})
        if (const ktJson* extension = extensions ? ktJsonMember(*extensions, name) : nullptr)
            if (ktJsonBool(*extension, "fallback", false))
                return true;
    return false;
}

ktGltfBuffer readBuffer(const ktGltfDocument& document, std::size_t index, ktBytes& binary, bool hasBinary,
                        ktFileMessages& messages) {
    const std::string object = ktPointer("buffers", index);
    const ktJson& entry = *ktJsonElement(document.json, "buffers", index);
    ktGltfBuffer buffer;
    if (isFallback(entry)) {
        buffer.problem = "has no data: it is the place of decoded data";
        return buffer;
    }
    try {
        if (!entry.is_object())
            throw ktFileError(object, "is not an object");
        const std::string uri = ktJsonText(entry, "uri");
        if (ktIsDataUri(uri))
            buffer.bytes = ktDecodeDataUri(uri, object);
        else if (ktJsonMember(entry, "uri"))
            buffer.bytes = ktReadWholeFile(ktResolveAssetUri(document.folder(), uri, object), object);
        else if (index == 0 && hasBinary)
            buffer.bytes.swap(binary);
        else
            throw ktFileError(object, "has no data");
        cutToLength(buffer, entry, object, messages);
    } catch (const ktFileError& error) {
        buffer.bytes.clear();
        buffer.problem = error.reason();
        messages.warn(object, error.reason());
    }
    return buffer;
}

} // namespace

QString ktGltfDocument::folder() const {
    return QFileInfo(path).absolutePath();
}

ktGltfDocument ktReadGltf(const QString& path, ktFileMessages& messages) {
    ktGltfDocument document;
    document.path = QFileInfo(path).absoluteFilePath();
    ktBytes file = ktReadWholeFile(path, "file");
    if (file.empty())
        throw ktFileError("file", "is empty");
    bool hasBinary = false;
    if (ktIsGlb(file)) {
        document.form = ktGltfForm::Glb;
        ktGlbParts parts = ktSplitGlb(file, messages);
        document.json = ktParseJson(reinterpret_cast<const char*>(file.data()) + parts.jsonBegin, parts.jsonSize);
        document.chunks = std::move(parts.others);
        hasBinary = parts.hasBinary;
        // Moved in place: a large file must not be in memory twice.
        const std::size_t size = parts.binarySize;
        if (size)
            std::memmove(file.data(), file.data() + parts.binaryBegin, size);
        file.resize(size);
    } else {
        document.form = ktGltfForm::Gltf;
        const char* text = reinterpret_cast<const char*>(file.data());
        document.json = ktParseJson(text, file.size());
        findIndentation(text, file.size(), document);
        ktBytes().swap(file);
    }
    checkAsset(document);
    checkCollections(document.json);
    ktCheckRequiredExtensions(document.json);
    for (std::size_t i = 0; i < ktJsonCount(document.json, "buffers"); ++i)
        document.buffers.push_back(readBuffer(document, i, file, hasBinary, messages));
    return document;
}

bool ktBeginsLikeGlb(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(4) == "glTF";
}
