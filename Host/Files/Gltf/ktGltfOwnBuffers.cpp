// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the buffer files of an earlier bake, and deletes those that no file needs any more.
#include "ktGltfOwnBuffers.h"

#include "ktFileError.h"
#include "ktGltfStore.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

constexpr qint64 headerSize = 20; // of a .glb file and its first chunk, whose length is at byte 12

// The number of bytes at the begin of a glTF file that may hold names of files: all of a .gltf, the JSON of a .glb.
qint64 textSize(QFile& file) {
    char header[headerSize];
    if (file.read(header, headerSize) != headerSize || std::memcmp(header, "glTF", 4) != 0)
        return file.size();
    const auto* const length = reinterpret_cast<const unsigned char*>(header + 12);
    return std::min(file.size(), headerSize + (qint64(length[0]) | qint64(length[1]) << 8 | qint64(length[2]) << 16 |
                                               qint64(length[3]) << 24));
}

// Whether a text is in a file, or the file cannot be searched.
bool mayHold(const QString& path, const QByteArray& text) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return true;
    const qint64 size = textSize(file);
    if (size < text.size())
        return false;
    const uchar* const content = size > std::numeric_limits<int>::max() ? nullptr : file.map(0, size);
    return !content ||
           QByteArray::fromRawData(reinterpret_cast<const char*>(content), static_cast<int>(size)).contains(text);
}

// Whether another glTF file beside the buffer file may name it. The hash in its name is enough to find it.
bool isNamedByOthers(const QString& buffer, const QString& path) {
    const QFileInfo info(buffer);
    const QByteArray hash = info.completeBaseName().section('-', -1).toLatin1();
    const QString own = QFileInfo(path).canonicalFilePath();
    const QDir folder = info.absoluteDir();
    const QStringList names =
        folder.entryList({"*.gltf", "*.glb"}, QDir::Files | QDir::Hidden | QDir::System); // in any case of letters
    return std::any_of(names.begin(), names.end(), [&](const QString& name) {
        const QString other = folder.filePath(name);
        return QFileInfo(other).canonicalFilePath() != own && mayHold(other, hash);
    });
}

} // namespace

std::vector<QString> ktFindOwnBuffers(const QString& path) {
    std::vector<QString> files;
    if (!QFileInfo(path).isFile())
        return files;
    try {
        const ktBytes text = ktReadWholeFile(path, "file");
        const ktJson json = ktParseJson(reinterpret_cast<const char*>(text.data()), text.size());
        const QRegularExpression pattern('^' + QRegularExpression::escape(QFileInfo(path).completeBaseName()) +
                                         "-([0-9a-f]{12})\\.bin$");
        for (std::size_t i = 0; i < ktJsonCount(json, "buffers"); ++i) {
            const std::string uri = ktJsonText(json["buffers"][i], "uri");
            const QString name = ktIsDataUri(uri) || uri.empty() ? QString() : ktDecodeAssetUri(uri, "file");
            const auto match = pattern.match(name);
            const QString file = QFileInfo(path).absoluteDir().filePath(name);
            if (!match.hasMatch() || !QFileInfo(file).isFile())
                continue;
            const ktBytes bytes = ktReadWholeFile(file, "file");
            if (ktHashContent(bytes.data(), bytes.size()) == match.captured(1))
                files.push_back(file);
        }
    } catch (const ktFileError&) {
        // An unreadable file refers to nothing that could be deleted.
    }
    return files;
}

void ktRemoveUnusedBuffers(const std::vector<QString>& files, const ktJson& json, const QString& path) {
    for (const QString& file : files) {
        const std::string uri = ktEncodeAssetUri(QFileInfo(file).fileName());
        bool used = false;
        for (std::size_t i = 0; i < ktJsonCount(json, "buffers"); ++i)
            used = used || ktJsonText(json["buffers"][i], "uri") == uri;
        if (!used && !isNamedByOthers(file, path))
            QFile::remove(file);
    }
}
