// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens any bytes as a .glb or .gltf file, with its materials, lights, settings and pictures, gives it results, splits
// triangles, saves it, compressed or not, and does the same with what was saved. What is wrong must be refused with a
// reason when it is read; what was read can be written, and what was written can be read. An interrupt ends reading
// and writing.
#include "ktAnimManager.h"
#include "ktFuzzing.h"
#include "ktGeometryInstances.h"
#include "ktLogOutput.h"
#include "ktReadRecord.h"
#include "ktSceneFile.h"
#include "ktSharedCounters.h"

#include <filesystem>
#include <functional>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGGeometry.h>
#include <QBuffer>
#include <QColor>
#include <QCoreApplication>
#include <QImage>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
#include <webp/encode.h>

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
    // Texture coordinates may be one number. NOLINTNEXTLINE(bugprone-sizeof-expression)
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

/// Decisions that change with the input.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size)
        : rest(std::hash<std::string_view>()({reinterpret_cast<const char*>(data), size})) {}
    /// 0 to count - 1. A few dozen answers are independent.
    unsigned below(unsigned count) {
        const auto chosen = static_cast<unsigned>(rest % count);
        rest = rest / count * 0x9E3779B97F4A7C15u + 1;
        return chosen;
    }
    bool oneIn(unsigned count) { return below(count) == 0; }

private:
    std::uint64_t rest;
};

/// An interrupt at one of the moments in which the reader or writer asks for it.
class Interrupt {
public:
    explicit Interrupt(unsigned moment_) : moment(moment_) {}
    std::function<bool()> question() {
        return [this] { return asked++ >= moment; };
    }
    bool hasCome() const { return asked > moment; }

private:
    unsigned moment, asked = 0;
};

ktOpenOptions chooseOptions(Choices& choices) {
    ktOpenOptions options;
    options.uniqueInstances = choices.oneIn(2);
    options.keepVertices = choices.oneIn(3);
    options.creaseAngle_deg = 90.0 * choices.below(3);
    const char* const axes[] = {"x", "y", "z", "-y"};
    if (choices.oneIn(3))
        options.up = ktParseUpAxis(axes[choices.below(4)]);
    if (choices.oneIn(8))
        options.scene = choices.below(3);
    const char* const units[] = {"auto", "auto", "mm", "inch", "1e30"};
    options.unit = ktParseLengthUnit(units[choices.below(5)]).value_or(ktLengthUnit());
    options.progressed = [](double share) { require(share >= 0 && share <= 1, "no share"); };
    return options;
}

ktSaveOptions chooseSaving(Choices& choices) {
    ktSaveOptions saving;
    const std::vector<std::string>& names = ktCompressionNames();
    const auto mode = ktParseCompressionMode(names[choices.below(static_cast<unsigned>(names.size()))]);
    require(mode.has_value(), "a name without a mode");
    saving.compression = *mode;
    saving.multiplyColors = !choices.oneIn(4);
    saving.strength = choices.oneIn(4) ? 0.5f : 1.0f;
    saving.exposure = choices.oneIn(4) ? 2.0f : 1.0f;
    return saving;
}

std::unique_ptr<ktSceneFile> open(const fs::path& path, const ktOpenOptions& options, ktFileReport& report) {
    std::unique_ptr<ktSceneFile> file = ktSceneFile::open(QString::fromStdString(path.string()), options, report);
    require(report.isGood() == static_cast<bool>(file), "no scene and no error, or both");
    if (file)
        require(file->getUnit_mm() > 0 && !file->getNodesToBake().empty() == !file->getTopNodes().empty(),
                "no unit or no nodes");
    return file;
}

/// Opens it with an interrupt at any moment.
void interruptOpening(const fs::path& path, ktOpenOptions options, Choices& choices) {
    Interrupt interrupt(choices.below(30));
    options.isInterrupted = interrupt.question();
    ktFileReport report;
    const auto file = open(path, options, report);
    require(!interrupt.hasCome() || !file, "reading goes on after an interrupt");
}

void save(ktSceneFile& file, const fs::path& output, const ktSaveOptions& options) {
    const QString path = QString::fromStdString(output.string());
    ktFileReport report;
    require(file.save(path, options, report), "was read and cannot be written: " + report.error);
    require(output.extension() != ".glb" || fs::file_size(output) >= file.leastDataSize(path, options.compression),
            "is smaller than foretold");
}

void interruptSaving(ktSceneFile& file, const fs::path& output, ktSaveOptions options, Choices& choices) {
    Interrupt interrupt(choices.below(20));
    const bool existed = fs::exists(output);
    options.isInterrupted = interrupt.question();
    ktFileReport report;
    const bool isSaved = file.save(QString::fromStdString(output.string()), options, report);
    require(isSaved == report.error.empty(), "no file and no error, or both");
    require(isSaved != interrupt.hasCome(), "an interrupt while it was written");
    require((isSaved || existed) == fs::exists(output), "a file in spite of an interrupt");
}

/// Gives a scene results, pictures and perhaps a plane, and saves it.
void bake(ktSceneFile& file, const fs::path& output, Choices& choices) {
    ktFileReport ofPictures;
    file.loadPictures(ofPictures);
    require(ofPictures.isGood() && !file.hasPicturesToLoad(), "pictures: " + ofPictures.error);
    if (choices.oneIn(7)) {
        ktFileReport ofPlane;
        file.addGroundPlane(ofPlane);
    }
    if (!choices.oneIn(8))
        pretendToBake(file.getRoot());
    if (choices.oneIn(3))
        pretendToRefine(file.getRoot());
    const ktSaveOptions saving = chooseSaving(choices);
    if (choices.oneIn(8))
        interruptSaving(file, output, saving, choices);
    save(file, output, saving);
    if (choices.oneIn(4))
        save(file, output, chooseSaving(choices));
}

/// Pictures and data that inputs can name.
struct Resource {
    const char* name;
    QByteArray bytes;
};
std::vector<Resource> resources;

void makeResources() {
    QImage picture(3, 2, QImage::Format_RGBA8888);
    picture.fill(QColor(200, 100, 50, 128));
    for (const char* name : {"p.png", "p.jpg", "p.webp"}) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        if (std::string_view(name) != "p.webp")
            picture.save(&buffer, name + 2);
        else {
            std::uint8_t* encoded = nullptr;
            const std::size_t size =
                WebPEncodeLosslessRGBA(picture.constBits(), 3, 2, picture.bytesPerLine(), &encoded);
            buffer.write(reinterpret_cast<const char*>(encoded), static_cast<qint64>(size));
            WebPFree(encoded);
        }
        buffer.close();
        resources.push_back({name, bytes});
    }
    resources.push_back({"p.ktx2", QByteArray("\xABKTX 20\xBB\r\n\x1A\n and more", 21)});
    QByteArray data; // corners of squares, then indices of 32 and 16 bits
    for (int i = 0; i < 48; ++i)
        for (const int part : {i % 2 + i / 4, i / 2 % 2, i % 3}) {
            const auto number = static_cast<float>(part);
            data.append(reinterpret_cast<const char*>(&number), sizeof number);
        }
    for (std::uint32_t i = 0; i < 48; ++i)
        data.append(reinterpret_cast<const char*>(&i), sizeof i);
    for (std::uint16_t i = 0; i < 48; ++i)
        data.append(reinterpret_cast<const char*>(&i), sizeof i);
    resources.push_back({"a.bin", data});
}

/// Writes the input, and the files that it names.
fs::path write(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const fs::path path = fuzzFolder() / (text.substr(0, 4) == "glTF" ? "in.glb" : "in.gltf");
    writeInput(path, data, size);
    for (const Resource& resource : resources)
        if (text.find(resource.name) != std::string_view::npos)
            writeInput(fuzzFolder() / resource.name, reinterpret_cast<const std::uint8_t*>(resource.bytes.constData()),
                       static_cast<std::size_t>(resource.bytes.size()));
    return path;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication application(*argc, *argv);
    osg::osgInit(*argc, *argv);
    ktLogOutput::setQuiet(true);
    shareCounters();
    fuzzFolder();
    makeResources();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    emptyFuzzFolder();
    const fs::path path = write(data, size);
    Choices choices(data, size);
    const ktOpenOptions options = chooseOptions(choices);
    if (choices.oneIn(8))
        interruptOpening(path, options, choices);
    const ktReadRecord record;
    ktFileReport report;
    const std::unique_ptr<ktSceneFile> file = open(path, options, report);
    require(ktReadRecord::has(QString::fromStdString(path.string())), "was read without a record");
    if (!file) {
        requireReason(report);
        return 0;
    }
    const char* const endings[] = {".glb", ".gltf"};
    const fs::path folder = choices.oneIn(4) ? fuzzFolder() / "other" : fuzzFolder();
    fs::create_directory(folder);
    const fs::path once = folder / ("once" + std::string(endings[choices.below(2)])),
                   twice = folder / ("twice" + std::string(endings[choices.below(2)]));
    bake(*file, once, choices);
    ktFileReport ofOnce, ofTwice;
    ktOpenOptions sameScene;
    sameScene.scene = options.scene; // others may have nothing to bake
    const bool isSecondOverFirst = choices.oneIn(4);
    const std::unique_ptr<ktSceneFile> again = open(once, sameScene, ofOnce);
    require(again != nullptr, "was written and cannot be read: " + ofOnce.error);
    if (choices.oneIn(2))
        return 0;
    bake(*again, isSecondOverFirst ? once : twice, choices);
    require(open(isSecondOverFirst ? once : twice, sameScene, ofTwice) != nullptr,
            "was written a second time and cannot be read: " + ofTwice.error);
    return 0;
}
