// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes a document as a .gltf or .glb file.
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktFolderLock.h"
#include "ktGlbContainer.h"
#include "ktGltfOwnBuffers.h"
#include "ktGltfPacking.h"
#include "ktOutputFile.h"
#include "ktReadInterrupt.h"

#include <limits>
#include <new>
#include <QDir>
#include <QFileInfo>

namespace {

std::size_t padded(std::size_t size) {
    return (size + 3) / 4 * 4;
}

void writeGlb(const ktPackedGltf& packed, const std::vector<ktGlbChunk>& chunks, const QString& path) {
    ktReadInterrupt::check();
    std::string text = packed.json.dump(-1, ' ', false, ktJson::error_handler_t::replace);
    text.resize(padded(text.size()), ' ');
    std::size_t size = 12 + 8 + text.size();
    if (packed.binarySize)
        size += 8 + padded(packed.binarySize);
    for (const ktGlbChunk& chunk : chunks)
        size += 8 + padded(chunk.bytes.size());
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw ktFileError("file",
                          "would be larger than the 4 GiB that a .glb file can hold; write a .gltf file instead");

    ktOutputFile file(path);
    file.writeWord(ktGlbMagic);
    file.writeWord(2);
    file.writeWord(size);
    file.writeWord(text.size());
    file.writeWord(ktGlbJsonChunk);
    file.write(text.data(), text.size());
    const char nothing[4] = {};
    if (packed.binarySize) {
        file.writeWord(padded(packed.binarySize));
        file.writeWord(ktGlbBinaryChunk);
        std::size_t at = 0;
        for (const ktPackedPiece& piece : packed.binary) {
            for (; at < piece.offset; ++at)
                file.write(nothing, 1);
            file.write(piece.data, piece.size);
            at += piece.size;
        }
        file.write(nothing, padded(at) - at);
    }
    for (const ktGlbChunk& chunk : chunks) {
        file.writeWord(padded(chunk.bytes.size()));
        file.writeWord(chunk.type);
        file.write(chunk.bytes.data(), chunk.bytes.size());
        file.write(nothing, padded(chunk.bytes.size()) - chunk.bytes.size());
    }
    file.commit();
}

// Writes the files that a document needs, before the document. Deletes new ones again if writing the document fails.
// Never replaces a file of different content.
class FilesBeside {
public:
    explicit FilesBeside(const QDir& folder_) : folder(folder_) {}
    ~FilesBeside() {
        for (const QString& path : written)
            QFile::remove(path);
    }
    FilesBeside(const FilesBeside&) = delete;
    FilesBeside& operator=(const FilesBeside&) = delete;
    void write(const ktPackedGltf& packed) {
        for (const ktPackedFile& resource : packed.files)
            write(resource);
    }
    void keep() { written.clear(); }

private:
    void write(const ktPackedFile& resource) {
        const QString path = folder.absoluteFilePath(resource.relativePath);
        const bool existed = QFileInfo::exists(path);
        try {
            if (!QDir().mkpath(QFileInfo(path).absolutePath()))
                throw ktFileError("file", "cannot be written: its folder cannot be made");
            ktOutputFile file(path);
            file.write(resource.data, resource.size);
            file.commit();
        } catch (const ktFileError& error) {
            throw ktFileError("file", "needs '" + path.toStdString() + "', which " + error.reason());
        }
        if (!existed)
            written.push_back(path);
    }

    QDir folder;
    std::vector<QString> written;
};

} // namespace

void ktWriteGltf(ktGltfDocument& document, const QString& path, ktFileMessages& messages) {
    const QFileInfo target(path);
    const QString ending = target.suffix().toLower();
    if (ending != "glb" && ending != "gltf")
        throw ktFileError("file", "has the ending '" + ending.toStdString() + "'; only .glb and .gltf can be written");
    if (target.exists() && !target.isFile())
        throw ktFileError("file", "is not a regular file");
    if (!target.absoluteDir().exists())
        throw ktFileError("file",
                          "cannot be written: there is no folder '" + target.absolutePath().toStdString() + "'");

    if (ending == "glb") {
        ktPackedGltf packed(document);
        ktPackForGlb(packed, document, target.absolutePath(), messages);
        FilesBeside files(target.absoluteDir());
        files.write(packed);
        writeGlb(packed, document.chunks, path);
        files.keep();
        return;
    }
    // Otherwise one writer could delete the buffer that another one is about to name.
    const ktFolderLock lock(target.absolutePath());
    const std::vector<QString> replaced = ktFindOwnBuffers(path);
    ktPackedGltf packed(document);
    ktPackForGltf(packed, document, target.absolutePath(), target.completeBaseName(), messages);
    FilesBeside files(target.absoluteDir());
    files.write(packed);
    ktReadInterrupt::check();
    const std::string text =
        packed.json.dump(document.indent, document.indentWith, false, ktJson::error_handler_t::replace) + "\n";
    ktOutputFile file(path);
    file.write(text.data(), text.size());
    file.commit();
    files.keep();
    try {
        ktRemoveUnusedBuffers(replaced, packed.json, path);
    } catch (const std::bad_alloc&) {
        // The document is written. Buffers that nothing names harm nobody.
    }
}
