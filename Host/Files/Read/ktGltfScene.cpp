// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds the scene graph from a glTF scene and links its nodes and geometries to those of the document.
#include "ktGltfScene.h"

#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktInstances.h"
#include "ktLightReader.h"
#include "ktNodeAttachments.h"
#include "ktNodeExtras.h"
#include "ktNodeMarks.h"
#include "ktPrimitiveReader.h"
#include "ktReadInterrupt.h"
#include "ktReadProgress.h"

#include <cstdio>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGTransform.h>

namespace {

// Limits the parts by the size of the document: a short file in which a thousand nodes show a mesh of a thousand
// primitives must not fill the memory.
std::size_t mostParts(const ktJson& json) {
    std::size_t described = ktJsonCount(json, "nodes");
    for (std::size_t mesh = 0; mesh < ktJsonCount(json, "meshes"); ++mesh)
        described += ktJsonCount(*ktJsonElement(json, "meshes", mesh), "primitives");
    return (std::size_t(1) << 17) + 32 * described;
}

class Builder {
public:
    Builder(const ktGltfDocument& document_, const ktNodeTree& tree_, const ktSurfaceOptions& options_,
            ktFileMessages& messages_)
        : document(document_), tree(tree_), options(options_), messages(messages_),
          primitives(document_, options_, messages_), poses(document_, matrices, messages_),
          partsLeft(mostParts(document_.json)) {}

    ktGltfScene build();
    void addNodes(ktGltfScene& target);

private:
    osg::NodePtr makeNode(std::size_t index, const ktJson& json);
    static osg::TransformPtr transformOf(const ktMatrix& matrix);
    void addMesh(std::size_t index, const ktJson& json, const osg::NodePtr& node);
    void addParts(const std::vector<std::size_t>& links, const osg::NodePtr& node);
    std::vector<std::size_t> linksOf(std::size_t mesh, const ktJson& node, const ktRestPose& pose);
    std::vector<std::size_t> readMesh(std::size_t mesh, const ktJson& node, const ktRestPose& pose);
    ktRestPose poseOf(std::size_t index, const ktJson& json);
    void addCamera(const ktJson& json, const osg::NodePtr& node);
    void noteSplits(const ktGltfScene& target);
    void shareSettings(const osg::NodePtr& node, const osg::AmbientOcclusionSettingsAttachmentPtr& settings);
    static void addChild(const osg::NodePtr& parent, const osg::NodePtr& child);

    const ktGltfDocument& document;
    const ktNodeTree& tree;
    const ktSurfaceOptions options;
    ktFileMessages& messages;
    ktPrimitiveReader primitives;
    ktGltfScene scene;
    std::vector<osg::NodePtr> made;                ///< one per entry of the tree
    std::vector<std::optional<ktMatrix>> matrices; ///< filled for the first skin
    ktRestPoseReader poses;
    std::size_t partsLeft; ///< that may be made
    std::map<std::pair<std::size_t, std::vector<double>>, std::vector<std::size_t>> linksOfMesh;
};

void Builder::addChild(const osg::NodePtr& parent, const osg::NodePtr& child) {
    osg::beginEditCP(parent, osg::Node::ChildrenFieldMask);
    parent->addChild(child);
    osg::endEditCP(parent, osg::Node::ChildrenFieldMask);
}

ktGltfScene Builder::build() {
    ktGltfScene target;
    target.materials = std::make_unique<ktMaterialReader>(document, messages);
    target.root = osg::makeNodeFor(osg::Transform::create());
    addNodes(target);
    if (target.primitives.empty()) {
        const std::string object = tree.scene ? ktPointer("scenes", *tree.scene) : "file";
        const auto& warnings = messages.warnings();
        throw ktFileError(object, "has no geometry that can be used" +
                                      (warnings.empty() ? std::string() : "; first: " + warnings.front().text()));
    }
    noteSplits(target);
    return target;
}

void Builder::noteSplits(const ktGltfScene& target) {
    std::size_t vertices = 0, surfaces = 0;
    for (const ktPrimitiveLink& link : target.primitives)
        if (link.isSplit()) {
            vertices += link.splitVertices;
            ++surfaces;
        }
    if (vertices == 0)
        return;
    char angle[32];
    std::snprintf(angle, sizeof angle, "%g", options.creaseAngle_deg);
    messages.note("Surfaces without normals have edges sharper than " + std::string(angle) +
                  " degrees; their vertices are split there: " + std::to_string(vertices) + " added (" +
                  std::to_string(surfaces) + (surfaces == 1 ? " surface)." : " surfaces)."));
}

void Builder::addNodes(ktGltfScene& target) {
    std::swap(scene, target);
    for (const ktNodeTree::Entry& entry : tree.entries) {
        ktReadInterrupt::check();
        ktReadProgress::tell(made.size(), tree.entries.size());
        const ktJson& json = *ktJsonElement(document.json, "nodes", entry.node);
        const osg::NodePtr node = makeNode(entry.node, json);
        addChild(entry.parent == ktNodeTree::none ? osg::NodePtr(scene.root) : made[entry.parent], node);
        made.push_back(node);
        scene.nodes.push_back({entry.node, node});
        const auto settings = ktReadNodeExtras(json, node);
        if (ktJsonMember(json, "mesh"))
            addMesh(entry.node, json, node);
        const osg::NodePtr light = ktReadLight(document, entry.node, messages);
        if (light != osg::NullFC)
            addChild(node, light);
        if (settings != osg::NullFC)
            shareSettings(node, settings);
        addCamera(json, node);
    }
    std::swap(scene, target);
}

osg::TransformPtr Builder::transformOf(const ktMatrix& matrix) {
    const osg::TransformPtr transform = osg::Transform::create();
    osg::beginEditCP(transform, osg::Transform::MatrixFieldMask);
    transform->setMatrix(ktToOSG(matrix));
    osg::endEditCP(transform, osg::Transform::MatrixFieldMask);
    return transform;
}

osg::NodePtr Builder::makeNode(std::size_t index, const ktJson& json) {
    bool valid = false;
    const ktMatrix matrix = ktReadNodeMatrix(json, valid);
    if (!valid)
        messages.warn(ktPointer("nodes", index), "has no valid transform; it stays where its parent is");
    osg::GroupPtr core;
    if (matrix == ktIdentity) {
        core = osg::Group::create();
    } else {
        core = transformOf(matrix);
    }
    const osg::NodePtr node = osg::makeNodeFor(core);
    std::string name = ktJsonText(json, "name");
    const auto mesh = ktJsonWhole(json, "mesh");
    if (name.empty() && mesh)
        if (const ktJson* shown = ktJsonElement(document.json, "meshes", static_cast<std::size_t>(*mesh)))
            name = ktJsonText(*shown, "name");
    if (!name.empty())
        osg::setName(node, name);
    if (const ktJson* extensions = ktJsonMember(json, "extensions")) {
        const ktJson* visibility = ktJsonMember(*extensions, "KHR_node_visibility");
        if (visibility && !ktJsonBool(*visibility, "visible", true))
            node->setActive(false);
    }
    return node;
}

ktRestPose Builder::poseOf(std::size_t index, const ktJson& json) {
    if (ktJsonMember(json, "skin") && matrices.empty())
        matrices = ktFindNodeMatrices(document, tree);
    return poses.read(index);
}

void Builder::addMesh(std::size_t index, const ktJson& json, const osg::NodePtr& node) {
    const auto mesh = ktJsonWhole(json, "mesh");
    if (!mesh || *mesh >= ktJsonCount(document.json, "meshes")) {
        messages.warn(ktPointer("nodes", index) + "/mesh", "does not exist");
        return;
    }
    const std::vector<std::size_t> links = linksOf(static_cast<std::size_t>(*mesh), json, poseOf(index, json));
    const std::vector<ktMatrix> instances = ktReadInstances(document, index, messages);
    const std::size_t shown = std::max<std::size_t>(1, instances.size());
    if (!links.empty() && shown > partsLeft / links.size())
        throw ktFileError("/nodes", "show far more primitives than a file of this size describes");
    partsLeft -= shown * links.size();
    for (std::size_t i = 0; i < instances.size(); ++i) {
        if (i % 1024 == 0)
            ktReadInterrupt::check();
        const osg::NodePtr instance = osg::makeNodeFor(transformOf(instances[i]));
        addChild(node, instance);
        addParts(links, instance);
    }
    if (instances.empty())
        addParts(links, node);
}

void Builder::addParts(const std::vector<std::size_t>& links, const osg::NodePtr& node) {
    for (const std::size_t link : links) {
        const osg::NodePtr part = osg::makeNodeFor(osg::GeometryPtr(scene.primitives[link].geometry));
        addChild(node, part);
        if (scene.primitives[link].isAnimated)
            ktNodeMarks::setVertexAnimation(part, true);
        if (links.size() > 1)
            ktNodeMarks::setGeometryComponent(part, true);
    }
}

// Nodes that show a mesh in the same pose share its geometries. Nodes with a skin never share.
std::vector<std::size_t> Builder::linksOf(std::size_t mesh, const ktJson& node, const ktRestPose& pose) {
    if (ktJsonMember(node, "skin"))
        return readMesh(mesh, node, pose);
    const auto key = std::make_pair(mesh, pose.weights);
    const auto known = linksOfMesh.find(key);
    return known != linksOfMesh.end() ? known->second : linksOfMesh[key] = readMesh(mesh, node, pose);
}

std::vector<std::size_t> Builder::readMesh(std::size_t mesh, const ktJson& node, const ktRestPose& pose) {
    std::vector<std::size_t> links;
    const ktJson& json = *ktJsonElement(document.json, "meshes", mesh);
    if (ktJsonCount(json, "primitives") == 0)
        messages.warn(ktPointer("meshes", mesh), "has no primitives");
    for (std::size_t p = 0; p < ktJsonCount(json, "primitives"); ++p) {
        ktReadInterrupt::check();
        std::optional<ktPrimitiveLink> link = primitives.read(mesh, p, pose);
        if (!link)
            continue;
        link->isAnimated = link->isAnimated || ktJsonMember(node, "skin");
        link->isGroundPlane = ktIsGroundPlaneNode(node);
        const std::string object = ktPointer("meshes", mesh) + "/primitives/" + std::to_string(p);
        const ktJson& primitive = *ktJsonElement(json, "primitives", p);
        osg::MaterialPtr material = link->isGroundPlane
                                        ? osg::MaterialPtr(scene.materials->shadowMaterial())
                                        : osg::MaterialPtr(scene.materials->materialOf(primitive, object));
        osg::beginEditCP(osg::GeometryPtr(link->geometry), osg::Geometry::MaterialFieldMask);
        link->geometry->setMaterial(material);
        osg::endEditCP(osg::GeometryPtr(link->geometry), osg::Geometry::MaterialFieldMask);
        links.push_back(scene.primitives.size());
        scene.primitives.push_back(std::move(*link));
    }
    return links;
}

// Attaches a node's settings to all scene graph nodes of that node: they were calculated together.
void Builder::shareSettings(const osg::NodePtr& node, const osg::AmbientOcclusionSettingsAttachmentPtr& settings) {
    for (osg::UInt32 i = 0; i < node->getNChildren(); ++i) {
        ktAttach(node->getChild(i), settings);
        shareSettings(node->getChild(i), settings); // parts of instances
    }
}

void Builder::addCamera(const ktJson& json, const osg::NodePtr& node) {
    const auto index = ktJsonWhole(json, "camera");
    const ktJson* camera = index ? ktJsonElement(document.json, "cameras", static_cast<std::size_t>(*index)) : nullptr;
    if (!camera)
        return;
    ktSceneCamera out;
    out.node = node;
    out.name = ktJsonText(*camera, "name");
    if (out.name.empty())
        out.name = ktJsonText(json, "name");
    if (const ktJson* lens = ktJsonMember(*camera, "perspective")) {
        const double angle = ktJsonNumber(*lens, "yfov", 0.0);
        if (!(angle > 0.0 && angle < 3.14))
            return;
        out.heightAngle_rad = angle;
        out.aspectRatio = std::max(0.0, ktJsonNumber(*lens, "aspectRatio", 0.0));
    } else if (const ktJson* box = ktJsonMember(*camera, "orthographic")) {
        out.isPerspective = false;
        out.width = 2.0 * ktJsonNumber(*box, "xmag", 0.0);
        out.height = 2.0 * ktJsonNumber(*box, "ymag", 0.0);
        if (!(out.width > 0.0 && out.height > 0.0))
            return;
    } else {
        return;
    }
    scene.cameras.push_back(out);
}

} // namespace

ktGltfScene ktBuildScene(const ktGltfDocument& document, const ktNodeTree& tree, const ktSurfaceOptions& options,
                         ktFileMessages& messages) {
    return Builder(document, tree, options, messages).build();
}

void ktExtendScene(ktGltfScene& scene, const ktGltfDocument& document, std::size_t node, ktFileMessages& messages) {
    ktNodeTree tree;
    tree.entries.push_back({node, ktNodeTree::none});
    Builder(document, tree, {}, messages).addNodes(scene);
}

bool ktIsGroundPlaneNode(const ktJson& node) {
    const ktJson* extras = ktJsonMember(node, "extras");
    return extras && ktJsonBool(*extras, "ambientOcclusionGroundPlane", false);
}
