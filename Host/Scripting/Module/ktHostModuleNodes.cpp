// SPDX-License-Identifier: LGPL-2.1-or-later
// Functions of the module kthost that find, select and describe nodes of the scene.
#include "ktHostModuleNodes.h"

#include "ktBakedLight.h"
#include "ktGeometryInstances.h"
#include "ktHostModuleBuffer.h"
#include "ktHostModuleError.h"
#include "ktHostModuleGuard.h"
#include "ktHostModuleScene.h"
#include "ktHostModuleText.h"
#include "ktNodePermission.h"
#include "ktOriginalNodes.h"
#include "ktScenegraph.h"
#include "ktSceneState.h"

#include <algorithm>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGTriangleIterator.h>
#include <vector>

namespace python = boost::python;

namespace {

std::string ownNameOf(const osg::NodePtr& node) {
    const char* const name = osg::getName(node);
    return name ? name : "";
}

osg::GeometryPtr geometryOf(const osg::NodePtr& node) {
    return osg::GeometryPtr::dcast(node->getCore());
}

/// Whether the node is one of the geometries that a node of the file has: those have no names.
bool isPartOfParent(const osg::NodePtr& node) {
    return geometryOf(node) != osg::NullFC && ownNameOf(node).empty() && node->getParent() != osg::NullFC;
}

/// The name in the file. Geometry has the name of its node in the file.
std::string nameOf(const osg::NodePtr& node) {
    return ownNameOf(isPartOfParent(node) ? node->getParent() : node);
}

/// The nodes that hold the geometry of a node of the file.
std::vector<osg::NodePtr> partsOf(const osg::NodePtr& node) {
    if (geometryOf(node) != osg::NullFC)
        return {node};
    std::vector<osg::NodePtr> parts;
    for (osg::UInt32 i = 0; i < node->getNChildren(); ++i)
        if (isPartOfParent(node->getChild(i)))
            parts.push_back(node->getChild(i));
    return parts;
}

/// Escapes a name for a path that finds this name, and names that have another character in place of a "/".
std::string escapedForPath(const std::string& name) {
    std::string escaped;
    for (const char c : name) {
        if (c == '*' || c == '?' || c == '[' || c == ']' || c == '\\')
            escaped += '\\';
        escaped += c == '/' ? '?' : c;
    }
    return escaped;
}

std::vector<osg::NodePtr> findNodes(const python::object& what) {
    const python::extract<const ktHostModuleNode&> node(what);
    if (node.check())
        return {node().get()};
    const std::string text = ktTextArgument(what, "a node");
    std::vector<osg::NodePtr> found = ktSceneState::findNodes(text);
    if (found.empty())
        throw ktHostModuleError("no node is called \"" + text + "\"");
    return found;
}

python::list toList(const std::vector<osg::NodePtr>& nodes) {
    python::list list;
    for (const osg::NodePtr& node : nodes)
        list.append(ktHostModuleNode(node));
    return list;
}

/// Four rows of four numbers, for column vectors.
python::tuple toRows(const osg::Matrix& matrix) {
    const auto row = [&matrix](osg::UInt32 number) {
        return python::make_tuple(matrix[0][number], matrix[1][number], matrix[2][number], matrix[3][number]);
    };
    return python::make_tuple(row(0), row(1), row(2), row(3));
}

/// Tells what the node lacks, and which nodes below it have it.
[[noreturn]] void refuseWithoutGeometry(const osg::NodePtr& node) {
    constexpr std::size_t mostNames = 3;
    std::vector<std::string> names;
    ktForEachGeometryInstance(node, ktInstances::All, [&](const ktGeometryInstance& instance) {
        const std::string name = "\"" + nameOf(instance.node) + "\"";
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
        return names.size() <= mostNames;
    });
    std::string text = "the node \"" + nameOf(node) + "\" holds no geometry";
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "; nodes below it do: " : ", ") + (i < mostNames ? names[i] : "...");
    throw ktHostModuleError(text);
}

/// The node whose results a script means. Throws ktHostModuleError if there is not exactly one.
osg::NodePtr findPart(const python::object& what) {
    const std::vector<osg::NodePtr> found = findNodes(what);
    for (const osg::NodePtr& node : found) {
        const std::vector<osg::NodePtr> parts = partsOf(node);
        if (parts.size() > 1)
            throw ktHostModuleError("the node \"" + nameOf(node) + "\" holds " + std::to_string(parts.size()) +
                                    " geometries; pass one of its member \"geometry\"");
        if (!parts.empty())
            return parts.front();
    }
    refuseWithoutGeometry(found.front());
}

osg::NodePtr sceneRoot() {
    const osg::NodePtr root = ktScenegraph::getRootNode();
    if (root == osg::NullFC)
        ktHostModuleGuard::refuse("no scene is open");
    return root;
}

std::vector<float> readPositions(const osg::GeometryPtr& geometry) {
    const osg::GeoPositionsPtr positions = geometry->getPositions();
    std::vector<float> numbers;
    numbers.reserve(std::size_t(3) * positions->getSize());
    for (osg::UInt32 i = 0; i < positions->getSize(); ++i) {
        const osg::Pnt3f position = positions->getValue(i);
        numbers.insert(numbers.end(), {position[0], position[1], position[2]});
    }
    return numbers;
}

std::vector<std::uint32_t> readTriangles(const osg::GeometryPtr& geometry) {
    std::vector<std::uint32_t> corners;
    for (osg::TriangleIterator triangle = geometry->beginTriangles(); !triangle.isAtEnd(); ++triangle)
        for (int corner = 0; corner < 3; ++corner)
            corners.push_back(static_cast<std::uint32_t>(triangle.getPositionIndex(corner)));
    return corners;
}

} // namespace

osg::NodePtr ktHostModuleNode::get() const {
    ktHostModuleGuard::requireMainThread();
    const osg::NodePtr node = osg::NodePtr::dcast(osg::FieldContainerFactory::the()->getContainer(id));
    if (node == osg::NullFC || !ktIsInScene(node))
        throw ktHostModuleError("the node is not in the scene any more");
    return node;
}

python::object ktHostModuleNode::getName() const {
    return ktTextResult(nameOf(get()));
}

python::object ktHostModuleNode::getPath() const {
    std::string path;
    if (ownNameOf(get()).empty())
        return ktTextResult(path);
    const osg::NodePtr root = sceneRoot();
    for (osg::NodePtr node = get(); node != osg::NullFC; node = node == root ? osg::NodePtr() : node->getParent())
        if (const std::string name = ownNameOf(node); !name.empty())
            path.insert(0, "/" + escapedForPath(name));
    return ktTextResult(path);
}

std::string ktHostModuleNode::getKind() const {
    const osg::NodePtr node = get();
    return node->getCore() == osg::NullFC ? "" : node->getCore()->getTypeName();
}

unsigned int ktHostModuleNode::getVertexCount() const {
    const osg::GeometryPtr geometry = geometryOf(get());
    return geometry == osg::NullFC || geometry->getPositions() == osg::NullFC ? 0u
                                                                              : geometry->getPositions()->getSize();
}

python::object ktHostModuleNode::getParent() const {
    const osg::NodePtr node = get();
    const bool isTop = node == ktScenegraph::getRootNode() || node->getParent() == osg::NullFC;
    return isTop ? python::object() : python::object(ktHostModuleNode(node->getParent()));
}

python::list ktHostModuleNode::getChildren() const {
    const osg::NodePtr node = get();
    python::list list;
    for (osg::UInt32 i = 0; i < node->getNChildren(); ++i)
        list.append(ktHostModuleNode(node->getChild(i)));
    return list;
}

python::list ktHostModuleNode::getGeometry() const {
    return toList(partsOf(get()));
}

python::tuple ktHostModuleNode::getMatrix() const {
    const osg::TransformPtr transform = osg::TransformPtr::dcast(get()->getCore());
    osg::Matrix identity;
    identity.setIdentity();
    return toRows(transform == osg::NullFC ? identity : transform->getMatrix());
}

python::tuple ktHostModuleNode::getWorldMatrix() const {
    return toRows(get()->getToWorld());
}

bool ktHostModuleNode::isLocked() const {
    return !ktNodePermission::allows(get(), ktNodePermission::ChangeIllumination);
}

python::object ktHostModuleNode::describe() const {
    ktHostModuleGuard::requireMainThread();
    try {
        const osg::NodePtr node = get();
        return ktTextResult("<kthost.Node " + getKind() + " \"" + nameOf(node) + "\">");
    } catch (const ktHostModuleError&) {
        return ktTextResult("<kthost.Node that has left the scene>");
    }
}

python::list ktHostModuleNodes::nodes() {
    python::list list;
    std::vector<osg::NodePtr> pending = {sceneRoot()};
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        list.append(ktHostModuleNode(node));
        for (osg::UInt32 i = node->getNChildren(); i-- > 0;)
            pending.push_back(node->getChild(i));
    }
    return list;
}

python::list ktHostModuleNodes::find(const python::object& name) {
    sceneRoot();
    return toList(ktSceneState::findNodes(ktTextArgument(name, "name")));
}

python::list ktHostModuleNodes::select(const python::object& what) {
    sceneRoot();
    if (what.is_none()) {
        ktHostModuleScene::selectTopNodes();
        return selection();
    }
    std::vector<osg::NodePtr> wanted;
    if (ktIsPythonString(what) || python::extract<const ktHostModuleNode&>(what).check()) {
        wanted = findNodes(what);
    } else {
        const python::handle<> items(PyObject_GetIter(what.ptr())); // throws, with TypeError set, if it is not iterable
        while (PyObject* const item = PyIter_Next(items.get())) {
            const std::vector<osg::NodePtr> found = findNodes(python::object(python::handle<>(item)));
            wanted.insert(wanted.end(), found.begin(), found.end());
        }
        if (PyErr_Occurred())
            python::throw_error_already_set();
    }
    ktSceneState::setSelection(wanted);
    return selection();
}

python::list ktHostModuleNodes::selection() {
    python::list list;
    for (const ktNodePtr& node : ktScenegraph::getSelectedRootNodes())
        if (node != osg::NullFC)
            list.append(ktHostModuleNode(node));
    return list;
}

void ktHostModuleNodes::refusePointsAndLines() {
    if (ktHasNoTriangles(ktScenegraph::getSelectedRootNodes()))
        ktHostModuleGuard::refuse("the selection holds no triangles; points or lines are not baked");
}

python::dict ktHostModuleNodes::results(const python::object& what) {
    const osg::NodePtr node = findPart(what);
    const std::string name = nameOf(node);
    const osg::GeometryPtr geometry = geometryOf(node);
    if (geometry->getPositions() == osg::NullFC)
        throw ktHostModuleError("the geometry \"" + name + "\" has no positions");
    if (ktCountTriangles(geometry) == 0)
        throw ktHostModuleError("the geometry \"" + name + "\" has no triangles; points or lines get no results");
    const std::vector<std::array<float, 3>> arriving = ktReadBakedLight(node, geometry);
    if (arriving.empty())
        throw ktHostModuleError("the node \"" + name + "\" has no results");

    const osg::GeoTexCoords4fPtr channel = osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7());
    std::vector<float> occlusion, indirect, light;
    occlusion.reserve(arriving.size());
    indirect.reserve(3 * arriving.size());
    light.reserve(3 * arriving.size());
    for (std::size_t vertex = 0; vertex < arriving.size(); ++vertex) {
        const osg::Vec4f& value = channel->getField()[vertex];
        occlusion.push_back(value[3]);
        indirect.insert(indirect.end(), {value[0], value[1], value[2]});
        light.insert(light.end(), arriving[vertex].begin(), arriving[vertex].end());
    }
    python::dict buffers;
    buffers["positions"] = ktMakeBuffer(readPositions(geometry), 3);
    buffers["triangles"] = ktMakeBuffer(readTriangles(geometry), 3);
    buffers["ao"] = ktMakeBuffer(std::move(occlusion), 1);
    buffers["indirect"] = ktMakeBuffer(std::move(indirect), 3);
    buffers["light"] = ktMakeBuffer(std::move(light), 3);
    return buffers;
}
