// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens and saves scene files: connects reading, import, results, refinement and ground plane.
#include "ktSceneFile.h"

#include "ktAssimpImport.h"
#include "ktCompress.h"
#include "ktDecimalPoint.h"
#include "ktDecompress.h"
#include "ktFileError.h"
#include "ktGeometryInstances.h"
#include "ktGltfScene.h"
#include "ktGltfStore.h"
#include "ktGroundPlane.h"
#include "ktInstances.h"
#include "ktLyingModel.h"
#include "ktNodeExtras.h"
#include "ktPartOrientation.h"
#include "ktReadInterrupt.h"
#include "ktReadProgress.h"
#include "ktRefinedWriter.h"
#include "ktResultChannels.h"
#include "ktResultWriter.h"
#include "ktSplitWriter.h"

#include <algorithm>
#include <new>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGTransform.h>
#include <QFile>
#include <QFileInfo>

struct ktSceneFile::Data {
    ktGltfDocument document; ///< decoded
    ktCompressedInput compressed;
    ktNodeTree tree;
    ktGltfScene scene;
    osg::NodeRefPtr root;
    double unit_mm = 1000.0;
    bool isUnitGuessed = false, isUpAxisGuessed = false;
    ktUpAxis up = ktUpAxis::Y; ///< of the document

    /// Whether it is written without compression.
    bool isPlain(ktCompressionMode mode) const {
        return mode == ktCompressionMode::None || (mode == ktCompressionMode::AsInput && compressed.isEmpty());
    }
};

/// A document, and what its file says about its space.
struct ReadFile {
    ktGltfDocument document;
    ktFileUnit unit = ktFileUnit::Assumed;
    bool hasUpAxis = true;
    bool isImported = false;
};

namespace {

// How much of the reading is done, roughly.
constexpr double bytesRead = 0.2, decompressed = 0.6, built = 0.8;

// Runs `work`, with a decimal point in numbers. An exception becomes the report's error.
template <class Work>
bool reportOf(const QString& path, ktFileReport& report, const Work& work) {
    report.errorObject = "file";
    const ktDecimalPoint point;
    try {
        work();
        report.errorObject.clear();
        return true;
    } catch (const ktFileError& error) {
        report.errorObject = error.object();
        report.errorReason = error.reason();
    } catch (const std::bad_alloc&) {
        report.isOutOfMemory = true;
        report.errorReason = "needs more memory than there is";
    } catch (const std::exception& error) {
        report.errorReason = error.what();
    }
    report.error = path.toStdString() + ": " + (report.errorObject == "file" ? "" : report.errorObject + ": ") +
                   report.errorReason;
    return false;
}

/// glTF as text, in a file without an ending.
bool beginsLikeJson(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(64).trimmed().startsWith('{');
}

// Reads any supported format.
ReadFile readFile(const QString& path, std::optional<ktUpAxis> up, ktFileMessages& messages) {
    ktCheckReadable(path, "file");
    const QString ending = QFileInfo(path).suffix().toLower();
    const bool isNamedGltf = ending == "glb" || ending == "gltf";
    if (isNamedGltf || ktBeginsLikeGlb(path) || (ending.isEmpty() && beginsLikeJson(path)))
        try {
            return {ktReadGltf(path, messages)};
        } catch (const ktGltf1Error&) { // others read it, by its name
            if (!isNamedGltf)
                throw;
        }
    ktImportedFile imported = ktImportWithAssimp(path, up, messages);
    const ktFileUnit unit = imported.isUnitSure ? ktFileUnit::Named
                            : imported.hasUnit  ? ktFileUnit::Assumed
                                                : ktFileUnit::Unnamed;
    return {std::move(imported.document), unit, imported.hasUpAxis, true};
}

// The transform from the document's space to the world: millimetres, y up.
osg::Matrix worldMatrix(double unit_mm, ktUpAxis up) {
    osg::Matrix matrix;
    for (osg::UInt32 axis = 0; axis < 3; ++axis) {
        float column[3] = {0, 0, 0};
        column[axis] = static_cast<float>(unit_mm);
        ktTurnUp(up, column);
        for (osg::UInt32 row = 0; row < 3; ++row)
            matrix[axis][row] = column[row] + 0.0f; // no negative zero
    }
    return matrix;
}

// Keeps primitives while their vertices are written split, and puts them back at the end: each save starts from the
// primitives as they were read.
class WholePrimitives {
public:
    explicit WholePrimitives(ktGltfDocument& document_) : document(document_) {}
    WholePrimitives(const WholePrimitives&) = delete;
    WholePrimitives& operator=(const WholePrimitives&) = delete;
    ~WholePrimitives() {
        for (auto& [link, json] : kept)
            document.json["meshes"][link->mesh]["primitives"][link->primitive].swap(json);
    }

    void keep(const ktPrimitiveLink& link) {
        kept.emplace_back(&link, document.json["meshes"][link.mesh]["primitives"][link.primitive]);
    }

private:
    ktGltfDocument& document;
    std::vector<std::pair<const ktPrimitiveLink*, ktJson>> kept;
};

// Removes the compressed copy of a primitive's vertices, because it would not match the results.
void dropCompression(ktGltfDocument& document, const ktPrimitiveLink& link, ktFileMessages& messages) {
    ktJson& primitive = document.json["meshes"][link.mesh]["primitives"][link.primitive];
    ktJson* extensions = ktJsonMember(primitive, "extensions");
    if (!extensions || !ktJsonMember(*extensions, "KHR_draco_mesh_compression"))
        return;
    if (!link.isRefined() && !ktHasResults(link.geometry))
        return;
    extensions->erase("KHR_draco_mesh_compression");
    if (extensions->empty())
        primitive.erase("extensions");
    messages.warn(ktPointer("meshes", link.mesh), "loses its compressed copy, which cannot hold the results");
}

} // namespace

ktSceneFile::ktSceneFile(std::unique_ptr<Data> data_) : data(std::move(data_)) {}

ktSceneFile::~ktSceneFile() = default;

std::unique_ptr<ktSceneFile> ktSceneFile::open(const QString& path, const ktOpenOptions& options,
                                               ktFileReport& report) {
    const ktReadInterrupt interrupt(options.isInterrupted);
    const ktReadProgress progress(options.progressed);
    auto data = std::make_unique<Data>();
    const bool good = reportOf(path, report, [&] {
        ktReadProgress::beginStage(0, bytesRead);
        ReadFile file = readFile(path, options.up, report.messages);
        data->document = std::move(file.document);
        ktReadProgress::beginStage(bytesRead, decompressed);
        data->compressed = ktDecompress(data->document, report.messages);
        if (!file.isImported)
            data->up = options.up.value_or(ktUpAxis::Y);
        ktReadInterrupt::check();
        if (options.uniqueInstances)
            ktMakeInstancesNodes(data->document, report.messages);
        data->tree = ktReadNodeTree(data->document, options.scene, report.messages);
        if (options.uniqueInstances)
            ktMakeMeshesUnique(data->document, data->tree);
        ktReadProgress::beginStage(data->compressed.isEmpty() ? bytesRead : decompressed, built);
        data->scene =
            ktBuildScene(data->document, data->tree, {options.creaseAngle_deg, options.keepVertices}, report.messages);

        ktReadProgress::beginStage(built, 1);
        ktSideRules rules;
        rules.isGltf = data->document.form != ktGltfForm::Memory;
        rules.normalsFollowWinding = QFileInfo(path).suffix().toLower() == "stl";
        ktCorrectOrientation(data->document, data->scene, rules, report.messages);

        std::string note;
        const double diagonal = ktSceneDiagonal(data->scene.root);
        data->unit_mm = ktDecideUnit(options.unit, diagonal, file.unit, note);
        if (!note.empty())
            report.messages.note(note);
        data->isUnitGuessed = !note.empty() && diagonal > 0.0;
        data->isUpAxisGuessed = !file.hasUpAxis;
        if (!file.hasUpAxis)
            if (const std::optional<ktUpAxis> lying = ktFindLyingAxis(data->scene.root))
                report.messages.note(std::string("The model seems to lie on its side: it has a flat side along ") +
                                     ktNameOf(*lying) + " and none along y. --up " + ktNameOf(*lying) +
                                     " makes this axis point up.");
        const osg::TransformPtr scale = osg::TransformPtr::dcast(data->scene.root->getCore());
        osg::beginEditCP(scale, osg::Transform::MatrixFieldMask);
        scale->setMatrix(worldMatrix(data->unit_mm, data->up));
        osg::endEditCP(scale, osg::Transform::MatrixFieldMask);
        data->root = osg::makeNodeFor(osg::Group::create());
        osg::beginEditCP(osg::NodePtr(data->root), osg::Node::ChildrenFieldMask);
        data->root->addChild(data->scene.root);
        osg::endEditCP(osg::NodePtr(data->root), osg::Node::ChildrenFieldMask);
    });
    return good ? std::unique_ptr<ktSceneFile>(new ktSceneFile(std::move(data))) : nullptr;
}

osg::NodePtr ktSceneFile::getRoot() const {
    return data->root;
}

std::vector<osg::NodePtr> ktSceneFile::getTopNodes() const {
    std::vector<osg::NodePtr> nodes;
    for (osg::UInt32 i = 0; i < data->scene.root->getNChildren(); ++i)
        nodes.push_back(data->scene.root->getChild(i));
    return nodes;
}

std::vector<osg::NodePtr> ktSceneFile::getNodesToBake() const {
    std::vector<osg::NodePtr> nodes;
    for (const osg::NodePtr& node : getTopNodes()) {
        bool hasGeometry = false;
        ktForEachGeometryInstance(node, ktInstances::All, [&](const ktGeometryInstance&) {
            hasGeometry = true;
            return false;
        });
        if (hasGeometry)
            nodes.push_back(node);
    }
    return nodes.empty() ? getTopNodes() : nodes;
}

const std::vector<ktSceneCamera>& ktSceneFile::getCameras() const {
    return data->scene.cameras;
}

double ktSceneFile::getUnit_mm() const {
    return data->unit_mm;
}

bool ktSceneFile::isUnitGuessed() const {
    return data->isUnitGuessed;
}

bool ktSceneFile::isUpAxisGuessed() const {
    return data->isUpAxisGuessed;
}

void ktSceneFile::loadPictures(ktFileReport& report, const std::function<bool()>& isInterrupted) {
    const ktReadInterrupt interrupt(isInterrupted);
    reportOf(data->document.path, report, [&] { data->scene.materials->loadPictures(report.messages); });
}

bool ktSceneFile::hasPicturesToLoad() const {
    return data->scene.materials->hasPicturesToLoad();
}

osg::NodePtr ktSceneFile::addGroundPlane(ktFileReport& report) {
    osg::NodePtr plane;
    reportOf(data->document.path, report,
             [&] { plane = ktAddGroundPlane(data->document, data->tree, data->scene, data->up, report.messages); });
    return plane;
}

bool ktSceneFile::save(const QString& path, const ktSaveOptions& options, ktFileReport& report) {
    const ktReadInterrupt interrupt(options.isInterrupted, "was not written: interrupted");
    return reportOf(path, report, [&] {
        ktReadInterrupt::check();
        const std::vector<ktPrimitiveLink>& primitives = data->scene.primitives;
        // Writing refined geometry drops what the file had for it. An application may undo the refinement, so that
        // happens in a copy.
        std::optional<ktGltfDocument> copy;
        if (std::any_of(primitives.begin(), primitives.end(),
                        [](const ktPrimitiveLink& link) { return link.isRefined(); }))
            copy = data->document;
        ktGltfDocument& document = copy ? *copy : data->document;
        ktRemoveResults(document, primitives);
        for (const ktPrimitiveLink& link : primitives) {
            dropCompression(document, link, report.messages);
            if (link.isRefined())
                ktForgetRefined(document, link);
        }
        WholePrimitives whole(document);
        ktGltfStore store(document);
        for (const ktPrimitiveLink& link : primitives)
            if (link.isRefined())
                ktWriteRefined(document, store, link, report.messages);
        for (const ktPrimitiveLink* link : ktChooseGeometries(primitives))
            if (link->isSplit() && !link->isRefined() && ktHasResults(link->geometry)) {
                whole.keep(*link);
                ktWriteSplit(document, store, *link, report.messages);
            }
        ktWriteResults(document, store, primitives, {options.multiplyColors, options.exposure, options.strength});
        store.finish();
        for (const ktNodeLink& link : data->scene.nodes) {
            if (link.node % 1024 == 0)
                ktReadInterrupt::check();
            ktWriteNodeExtras(document.json["nodes"][link.node], link.shown, ktPointer("nodes", link.node),
                              report.messages);
        }
        if (data->isPlain(options.compression)) {
            ktWriteGltf(document, path, report.messages);
            return;
        }
        ktGltfDocument packed = document; // the document in memory stays decoded
        ktCompress(packed, options.compression, data->compressed, report.messages);
        ktWriteGltf(packed, path, report.messages);
    });
}

std::uint64_t ktSceneFile::leastDataSize(const QString& path, ktCompressionMode compression) const {
    const ktGltfDocument& document = data->document;
    const bool isGltf = QFileInfo(path).suffix().toLower() == "gltf";
    if (!data->isPlain(compression) || (isGltf && document.form == ktGltfForm::Gltf))
        return 0;
    std::vector<std::uint64_t> sizes(document.buffers.size(), 0);
    for (std::size_t i = 0; i < ktJsonCount(document.json, "bufferViews"); ++i) {
        const ktJson& view = *ktJsonElement(document.json, "bufferViews", i);
        const auto buffer = ktJsonWhole(view, "buffer");
        if (buffer && *buffer < sizes.size() && !ktIsOwn(view))
            sizes[*buffer] += ktJsonWhole(view, "byteLength").value_or(0);
    }
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i)
        sum += std::min<std::uint64_t>(sizes[i], document.buffers[i].bytes.size()); // views may overlap
    return sum;
}
