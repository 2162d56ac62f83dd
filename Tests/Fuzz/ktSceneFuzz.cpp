// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens any bytes as a .glb or .gltf file, with its materials, lights, settings and pictures, gives it results, saves
// it and opens what was saved. What is wrong must be refused with a reason when it is read; what was read can be
// written, and what was written can be read.
#include "ktGeometryInstances.h"
#include "ktLogOutput.h"
#include "ktSceneFile.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGGeometry.h>
#include <QCoreApplication>
#include <string>

namespace fs = std::filesystem;

namespace {

fs::path folder;

void require(bool condition, const std::string& what) {
    if (condition)
        return;
    std::fprintf(stderr, "%s\n", what.c_str());
    std::abort();
}

void requireReason(const ktFileReport& report) {
    require(!report.errorReason.empty() && !report.errorObject.empty(), "refused without a reason");
    require(report.error.find("json.exception") == std::string::npos, "refused in words of a library: " + report.error);
    require(!report.isOutOfMemory, "takes all memory");
}

void deleteFolder() {
    std::error_code error;
    fs::remove_all(folder, error);
}

/// Results that differ from vertex to vertex.
void pretendToBake(const osg::NodePtr& root) {
    float next = 0;
    ktForEachGeometryInstance(root, ktInstances::All, [&next](const ktGeometryInstance& instance) {
        const osg::GeometryPtr geometry = instance.geometry;
        if (geometry->getNormals() == osg::NullFC || geometry->getPositions() == osg::NullFC)
            return true;
        const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
        for (osg::UInt32 i = 0; i < geometry->getPositions()->getSize(); ++i) {
            next = next > 0.9f ? 0.013f : next + 0.0377f;
            results->getField().push_back(osg::Vec4f(next / 3, next / 6, next / 12, next));
        }
        geometry->setTexCoords7(results);
        return true;
    });
}

std::unique_ptr<ktSceneFile> open(const fs::path& path, const ktOpenOptions& options, ktFileReport& report) {
    std::unique_ptr<ktSceneFile> file = ktSceneFile::open(QString::fromStdString(path.string()), options, report);
    require(report.isGood() == static_cast<bool>(file), "no scene and no error, or both");
    return file;
}

/// Not what a file of these bytes may need: they are in the same folder.
fs::path write(const std::uint8_t* data, std::size_t size) {
    const bool isGlb = size >= 4 && std::equal(data, data + 4, "glTF");
    const fs::path path = folder / (isGlb ? "in.glb" : "in.gltf");
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    return path;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication application(*argc, *argv);
    osg::osgInit(*argc, *argv);
    ktLogOutput::setQuiet(true);
    std::string name = (fs::temp_directory_path() / "ktSceneFuzz-XXXXXX").string();
    require(mkdtemp(name.data()) != nullptr, "no temporary folder");
    folder = name;
    std::atexit(deleteFolder);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (const auto& entry : fs::directory_iterator(folder))
        fs::remove(entry.path());
    const fs::path path = write(data, size);
    ktOpenOptions options;
    options.uniqueInstances = size % 2 != 0;
    options.keepVertices = size % 3 == 0;
    if (size % 5 == 0)
        options.up = ktUpAxis::Z;
    ktFileReport report;
    const std::unique_ptr<ktSceneFile> file = open(path, options, report);
    if (!file) {
        requireReason(report);
        return 0;
    }
    ktFileReport ofPictures;
    file->loadPictures(ofPictures);
    require(ofPictures.isGood(), "pictures: " + ofPictures.error);
    if (size % 7 == 0) {
        ktFileReport ofPlane;
        file->addGroundPlane(ofPlane);
    }
    pretendToBake(file->getRoot());
    const fs::path output = folder / (size % 4 < 2 ? "out.glb" : "out.gltf");
    for (int i = 0; i < 2; ++i) {
        ktFileReport ofSaving;
        require(file->save(QString::fromStdString(output.string()), {}, ofSaving),
                "was read and cannot be written: " + ofSaving.error);
    }
    ktFileReport again;
    require(open(output, {}, again) != nullptr, "was written and cannot be read: " + again.error);
    return 0;
}
