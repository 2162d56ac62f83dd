// SPDX-License-Identifier: LGPL-2.1-or-later
// Imports other file formats with Assimp in a separate, limited process and converts them to glTF in memory.
#include "ktAssimpImport.h"

#include "ktAssimpSpace.h"
#include "ktAssimpTarget.h"
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktImportFormat.h"
#include "ktLimitedProcess.h"
#include "ktPlyCounts.h"
#include "ktPlyStrips.h"
#include "ktReadRecord.h"

#include <algorithm>
#include <assimp/config.h>
#include <assimp/DefaultIOSystem.h>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <cerrno>
#include <cstring>
#include <new>
#include <QFileInfo>
#include <stdexcept>
#include <unistd.h>

namespace {

// Sizes of what the importing process returns: one JSON text, then the bytes of buffer 0.
struct Header {
    std::uint64_t jsonSize = 0;
    std::uint64_t dataSize = 0;
};

// Importers catch exceptions, but not what the process does if it has no memory.
[[noreturn]] void throwOutOfMemory() {
    if (const std::new_handler handler = std::get_new_handler())
        handler();
    throw std::bad_alloc();
}

// Opens regular files only: with a pipe or a device, the importer could wait forever. Finds names that differ in upper
// and lower case.
class RegularFiles : public Assimp::DefaultIOSystem {
public:
    /// The imported file has the name `alias` for the importer, and is at `path`.
    RegularFiles(std::string alias_, std::string path_, ktJson& files_, ktJson& outside_)
        : alias(std::move(alias_)), path(std::move(path_)), files(files_), outside(outside_) {}

    bool Exists(const char* name) const override { return find(name).has_value(); }
    Assimp::IOStream* Open(const char* name, const char* mode) override {
        const std::optional<std::string> found = find(name);
        files.push_back(found ? *found : name);
        if (!found)
            return nullptr;
        errno = 0;
        Assimp::IOStream* const stream = DefaultIOSystem::Open(found->c_str(), mode);
        if (!stream && errno == ENOMEM)
            throwOutOfMemory();
        if (!stream && errno == EACCES && access(found->c_str(), R_OK) == 0)
            outside.push_back(*found);
        return stream;
    }

private:
    std::optional<std::string> find(const char* name) const { return ktFindIgnoringCase(name == alias ? path : name); }

    std::string alias, path;
    ktJson& files;   // those that were opened, or were to be
    ktJson& outside; // those that this process may not open, although the user could
};

bool isAny(const std::string& format, std::initializer_list<const char*> formats) {
    return std::find(formats.begin(), formats.end(), format) != formats.end();
}

ktJson import(const ktFileToImport& file, std::optional<ktUpAxis> up, ktBytes& bytes) {
    ktJson answer = {{"files", ktJson::array()}, {"outside", ktJson::array()}};
    Assimp::Importer importer;
    const std::string name = file.nameWithEnding();
    // The importer takes ownership.
    importer.SetIOHandler(new RegularFiles(name, file.path, answer["files"], answer["outside"]));
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_IGNORE_UP_DIRECTION, up.has_value());
    const unsigned steps = aiProcess_Triangulate | aiProcess_JoinIdenticalVertices | aiProcess_SortByPType |
                           aiProcess_LimitBoneWeights | aiProcess_FlipUVs;
    if (file.format == "ply")
        if (const std::string reason = ktCheckPlyCounts(file.path); !reason.empty())
            throw std::runtime_error(reason);
    const std::optional<std::string> ply = file.format == "ply" ? ktConvertPlyStrips(file.path) : std::nullopt;
    const aiScene* scene =
        ply ? importer.ReadFileFromMemory(ply->data(), ply->size(), steps, "ply") : importer.ReadFile(name, steps);
    if (!scene) {
        const std::string reason = importer.GetErrorString();
        if (reason.find("bad_alloc") != std::string::npos)
            throw std::bad_alloc();
        answer["error"] = reason;
        return answer;
    }
    ktFileMessages messages;
    ktAssimpTarget target(*scene, file, messages);
    target.isInvisibleDoubtful = isAny(file.format, {"obj", "dae", "zae"});
    ktConvertAssimpMaterials(target);
    ktConvertAssimpNodes(target);
    ktConvertAssimpAnimations(target);
    const ktAssimpSpace space = ktFindAssimpSpace(*scene, file, up);
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

ktJson importOrFail(const ktFileToImport& file, std::optional<ktUpAxis> up, ktBytes& bytes) {
    try {
        return import(file, up, bytes);
    } catch (const std::runtime_error& error) {
        return {{"error", error.what()}};
    }
}

void importInto(ktByteSink& sink, const ktFileToImport& file, std::optional<ktUpAxis> up) {
    ktBytes bytes;
    // Names in old files may have any encoding; bytes that are not UTF-8 are replaced.
    const std::string text = importOrFail(file, up, bytes).dump(-1, ' ', false, ktJson::error_handler_t::replace);
    const Header header = {text.size(), bytes.size()};
    sink.write(&header, sizeof header);
    sink.write(text.data(), text.size());
    sink.write(bytes.data(), bytes.size());
}

} // namespace

ktImportedFile ktImportWithAssimp(const QString& path, std::optional<ktUpAxis> up, ktFileMessages& messages) {
    const QFileInfo info(path);
    const ktFileToImport file = {info.absoluteFilePath().toStdString(), ktFindImportFormat(path)};
    const auto size = static_cast<std::size_t>(info.size());
    ktProcessLimits limits;
    limits.memory_bytes = (std::size_t(4) << 30) + 100 * size;
    limits.time_s = 20 + static_cast<unsigned>(size >> 16);
    limits.wait_s = 60 + 4 * limits.time_s; // the machine may be busy or the disk slow
    limits.readableFolders = {info.absolutePath().toStdString(),
                              QFileInfo(info.canonicalFilePath()).path().toStdString()};
    const ktBytes answer = ktRunLimited(limits, [&](ktByteSink& sink) { importInto(sink, file, up); });

    Header header;
    if (answer.size() < sizeof header)
        throw ktFileError("file", "cannot be imported");
    std::memcpy(&header, answer.data(), sizeof header);
    const char* text = reinterpret_cast<const char*>(answer.data()) + sizeof header;
    ktJson json = ktJson::parse(text, text + header.jsonSize);
    for (const ktJson& name : json.value("files", ktJson::array()))
        ktReadRecord::add(QString::fromStdString(name.get<std::string>()));
    for (const ktJson& name : json.value("outside", ktJson::array()))
        messages.warn(name.get<std::string>(), "is outside the scene's folder and was not read");
    if (json.contains("error"))
        throw ktFileError("file", "cannot be imported: " + json["error"].get<std::string>() +
                                      (file.format == "blend" ? ". Export glTF from Blender" : ""));
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
