// SPDX-License-Identifier: LGPL-2.1-or-later
// Imports other file formats with Assimp in a separate, limited process and converts them to glTF in memory.
#include "ktAssimpImport.h"

#include "ktAssimpSpace.h"
#include "ktAssimpTarget.h"
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktLimitedProcess.h"
#include "ktPlyStrips.h"
#include "ktReadRecord.h"

#include <algorithm>
#include <assimp/config.h>
#include <assimp/DefaultIOSystem.h>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <cstring>
#include <new>
#include <QFileInfo>
#include <stdexcept>

namespace {

// Sizes of what the importing process returns: one JSON text, then the bytes of buffer 0.
struct Header {
    std::uint64_t jsonSize = 0;
    std::uint64_t dataSize = 0;
};

// Opens regular files only: with a pipe or a device, the importer could wait forever. Finds names that differ in upper
// and lower case.
class RegularFiles : public Assimp::DefaultIOSystem {
public:
    explicit RegularFiles(ktJson& files_) : files(files_) {}
    bool Exists(const char* path) const override { return ktFindIgnoringCase(path).has_value(); }
    Assimp::IOStream* Open(const char* path, const char* mode) override {
        const std::optional<std::string> found = ktFindIgnoringCase(path);
        files.push_back(found ? *found : path);
        return found ? DefaultIOSystem::Open(found->c_str(), mode) : nullptr;
    }

private:
    ktJson& files; // those that were opened, or were to be
};

bool hasEnding(const std::string& path, std::initializer_list<const char*> endings) {
    const QString ending = QFileInfo(QString::fromStdString(path)).suffix().toLower();
    return std::any_of(endings.begin(), endings.end(), [&](const char* one) { return ending == one; });
}

ktJson import(const std::string& path, std::optional<ktUpAxis> up, ktBytes& bytes) {
    ktJson answer = {{"files", ktJson::array()}};
    Assimp::Importer importer;
    importer.SetIOHandler(new RegularFiles(answer["files"])); // the importer takes ownership
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_IGNORE_UP_DIRECTION, up.has_value());
    const unsigned steps = aiProcess_Triangulate | aiProcess_JoinIdenticalVertices | aiProcess_SortByPType |
                           aiProcess_LimitBoneWeights | aiProcess_FlipUVs;
    const std::optional<std::string> ply = hasEnding(path, {"ply"}) ? ktConvertPlyStrips(path) : std::nullopt;
    const aiScene* scene =
        ply ? importer.ReadFileFromMemory(ply->data(), ply->size(), steps, "ply") : importer.ReadFile(path, steps);
    if (!scene) {
        const std::string reason = importer.GetErrorString();
        if (reason.find("bad_alloc") != std::string::npos)
            throw std::bad_alloc();
        answer["error"] = reason;
        return answer;
    }
    ktFileMessages messages;
    ktAssimpTarget target(*scene, path.substr(0, path.rfind('/') + 1), messages);
    target.isInvisibleDoubtful = hasEnding(path, {"obj", "dae", "zae"});
    ktConvertAssimpMaterials(target);
    ktConvertAssimpNodes(target);
    ktConvertAssimpAnimations(target);
    const ktAssimpSpace space = ktFindAssimpSpace(*scene, path, up);
    ktConvertAssimpSpace(target, space);
    if (!target.bytes.empty())
        target.add("buffers", {{"byteLength", target.bytes.size()}});
    answer["hasUnit"] = space.metres > 0.0;
    answer["isUnitSure"] = space.isUnitSure;
    answer["hasUpAxis"] = space.hasUpAxis;
    answer["warnings"] = ktJson::array();
    for (const ktFileWarning& warning : messages.warnings())
        answer["warnings"].push_back({warning.object, warning.reason, warning.detail, warning.count});
    answer["document"] = std::move(target.json);
    bytes.swap(target.bytes);
    return answer;
}

ktJson importOrFail(const std::string& path, std::optional<ktUpAxis> up, ktBytes& bytes) {
    try {
        return import(path, up, bytes);
    } catch (const std::runtime_error& error) {
        return {{"error", error.what()}};
    }
}

void importInto(ktByteSink& sink, const std::string& path, std::optional<ktUpAxis> up) {
    ktBytes bytes;
    // Names in old files may have any encoding; bytes that are not UTF-8 are replaced.
    const std::string text = importOrFail(path, up, bytes).dump(-1, ' ', false, ktJson::error_handler_t::replace);
    const Header header = {text.size(), bytes.size()};
    sink.write(&header, sizeof header);
    sink.write(text.data(), text.size());
    sink.write(bytes.data(), bytes.size());
}

} // namespace

bool ktCanImportWithAssimp(const QString& path) {
    const QString ending = QFileInfo(path).suffix().toLower();
    return !ending.isEmpty() && Assimp::Importer().IsExtensionSupported(ending.toStdString());
}

ktImportedFile ktImportWithAssimp(const QString& path, std::optional<ktUpAxis> up, ktFileMessages& messages) {
    const QFileInfo info(path);
    const std::string file = info.absoluteFilePath().toStdString();
    const auto size = static_cast<std::size_t>(info.size());
    ktProcessLimits limits;
    limits.memory_bytes = (std::size_t(4) << 30) + 100 * size;
    limits.time_s = 20 + static_cast<unsigned>(size >> 16);
    limits.wait_s = 60 + 4 * limits.time_s; // the machine may be busy or the disk slow
    const ktBytes answer = ktRunLimited(limits, [&](ktByteSink& sink) { importInto(sink, file, up); });

    Header header;
    if (answer.size() < sizeof header)
        throw ktFileError("file", "cannot be imported");
    std::memcpy(&header, answer.data(), sizeof header);
    const char* text = reinterpret_cast<const char*>(answer.data()) + sizeof header;
    ktJson json = ktJson::parse(text, text + header.jsonSize);
    for (const ktJson& name : json.value("files", ktJson::array()))
        ktReadRecord::add(QString::fromStdString(name.get<std::string>()));
    if (json.contains("error"))
        throw ktFileError("file", "cannot be imported: " + json["error"].get<std::string>());
    for (const ktJson& warning : json["warnings"])
        for (std::size_t i = 0; i < warning[3].get<std::size_t>(); ++i)
            messages.warn(warning[0], warning[1], warning[2]);

    ktImportedFile imported;
    imported.hasUnit = json["hasUnit"];
    imported.isUnitSure = json["isUnitSure"];
    imported.hasUpAxis = json["hasUpAxis"];
    imported.document.path = info.absoluteFilePath();
    imported.document.form = ktGltfForm::Memory;
    imported.document.indent = 2;
    imported.document.json = std::move(json["document"]);
    if (header.dataSize) {
        const auto* data = reinterpret_cast<const std::uint8_t*>(text) + header.jsonSize;
        imported.document.buffers.push_back({ktBytes(data, data + header.dataSize), ""});
    }
    return imported;
}
