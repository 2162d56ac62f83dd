// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens any bytes as a .glb or .gltf file, with its materials, lights, settings and pictures, gives it results, splits
// triangles, saves it, compressed or not, and opens what was saved. What is wrong must be refused with a reason when it
// is read; what was read can be written, and what was written can be read.
#include "ktAnimManager.h"
#include "ktFuzzing.h"
#include "ktGeometryInstances.h"
#include "ktLogOutput.h"
#include "ktSceneFile.h"

#include <filesystem>
#include <functional>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGGeometry.h>
#include <QCoreApplication>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace fs = std::filesystem;

namespace {

void requireReason(const ktFileReport& report) {
    require(!report.errorReason.empty() && !report.errorObject.empty(), "refused without a reason");
    require(report.error.find("json.exception") == std::string::npos, "refused in words of a library: " + report.error);
    require(!report.isOutOfMemory, "takes all memory");
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

/// Appends the middle between the first two elements of a property. False if it holds something else.
template <class PropertyPtr, class AnyPtr>
bool addMiddle(const AnyPtr& any) {
    const PropertyPtr property = PropertyPtr::dcast(any);
    if (property == osg::NullFC || property->size() < 2)
        return false;
    auto middle = property->getField()[0];
    auto* const values = reinterpret_cast<float*>(&middle);
    const auto* const others = reinterpret_cast<const float*>(&property->getField()[1]);
    for (std::size_t i = 0; i < sizeof middle / sizeof(float); ++i)
        values[i] = (values[i] + others[i]) / 2;
    property->getField().push_back(middle);
    return true;
}

/// Appends a vertex to a geometry with positions, normals and colours of these types and makes it the corner of one
/// more triangle, as refinement does. Leaves other geometry alone.
void refine(const osg::GeometryPtr& geometry) {
    const osg::UInt32 count = geometry->getPositions()->getSize();
    const bool isPlain = geometry->getColors() == osg::NullFC && geometry->getSecondaryColors() == osg::NullFC;
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
    if (!isPlain || count < 3 || normals == osg::NullFC || normals->size() != count)
        return;
    addMiddle<osg::GeoPositions3fPtr>(geometry->getPositions());
    addMiddle<osg::GeoNormals3fPtr>(normals);
    for (const osg::GeoTexCoordsPtr& any :
         {geometry->getTexCoords(), geometry->getTexCoords1(), geometry->getTexCoords2(), geometry->getTexCoords3(),
          geometry->getTexCoords4(), geometry->getTexCoords5(), geometry->getTexCoords6(), geometry->getTexCoords7()})
        if (any != osg::NullFC)
            addMiddle<osg::GeoTexCoords1fPtr>(any) || addMiddle<osg::GeoTexCoords2fPtr>(any) ||
                addMiddle<osg::GeoTexCoords3fPtr>(any) || addMiddle<osg::GeoTexCoords4fPtr>(any);
    const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32::create();
    for (const osg::UInt32 index : {0u, count, 2u, count, 1u, 2u})
        indices->getField().push_back(index);
    geometry->setIndices(indices);
    const osg::GeoPLengthsUI32Ptr lengths = osg::GeoPLengthsUI32::create();
    lengths->getField().push_back(6);
    geometry->setLengths(lengths);
    const osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
    types->getField().push_back(GL_TRIANGLES);
    geometry->setTypes(types);
}

/// Refines every second geometry.
void pretendToRefine(const osg::NodePtr& root) {
    bool isNext = true;
    std::set<osg::GeometryPtr> seen;
    ktForEachGeometryInstance(root, ktInstances::All, [&](const ktGeometryInstance& instance) {
        const bool isAnimated = ktAnimManager::the()->hasVertexAnimation(instance.node); // those are never refined
        if (!isAnimated && instance.geometry->getPositions() != osg::NullFC &&
            instance.geometry->getNormals() != osg::NullFC && seen.insert(instance.geometry).second &&
            std::exchange(isNext, !isNext))
            refine(instance.geometry);
        return true;
    });
}

std::unique_ptr<ktSceneFile> open(const fs::path& path, const ktOpenOptions& options, ktFileReport& report) {
    std::unique_ptr<ktSceneFile> file = ktSceneFile::open(QString::fromStdString(path.string()), options, report);
    require(report.isGood() == static_cast<bool>(file), "no scene and no error, or both");
    return file;
}

/// A number that changes with the input.
unsigned choiceOf(const std::uint8_t* data, std::size_t size) {
    return static_cast<unsigned>(std::hash<std::string_view>()({reinterpret_cast<const char*>(data), size}) % 192);
}

/// Not what a file of these bytes may need: they are in the same folder.
fs::path write(const std::uint8_t* data, std::size_t size) {
    const bool isGlb = size >= 4 && std::equal(data, data + 4, "glTF");
    const fs::path path = fuzzFolder() / (isGlb ? "in.glb" : "in.gltf");
    writeInput(path, data, size);
    return path;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication application(*argc, *argv);
    osg::osgInit(*argc, *argv);
    ktLogOutput::setQuiet(true);
    fuzzFolder();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    emptyFuzzFolder();
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
    const unsigned choice = choiceOf(data, size);
    if (choice % 3 == 0)
        pretendToRefine(file->getRoot());
    ktSaveOptions saving;
    saving.compression = static_cast<ktCompressionMode>(choice / 3 % 4);
    saving.multiplyColors = choice / 12 % 4 != 0;
    saving.strength = choice / 48 % 4 == 0 ? 0.5f : 1.0f;
    const fs::path output = fuzzFolder() / (size % 4 < 2 ? "out.glb" : "out.gltf");
    for (int i = 0; i < 2; ++i) {
        ktFileReport ofSaving;
        require(file->save(QString::fromStdString(output.string()), saving, ofSaving),
                "was read and cannot be written: " + ofSaving.error);
    }
    ktFileReport again;
    require(open(output, {}, again) != nullptr, "was written and cannot be read: " + again.error);
    return 0;
}
