// SPDX-License-Identifier: LGPL-2.1-or-later
// Functions of the module kthost that find, select and describe nodes of the scene.
#include "ktHostModuleNodes.h"

#include "ktBakedLight.h"
#include "ktHostModuleBuffer.h"
#include "ktHostModuleError.h"
#include "ktHostModuleGuard.h"
#include "ktHostModuleScene.h"
#include "ktHostModuleText.h"
#include "ktNodePermission.h"
#include "ktOriginalNodes.h"
#include "ktScenegraph.h"
#include "ktSceneState.h"

#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGTriangleIterator.h>
#include <vector>

namespace python = boost::python;

namespace {

std::string nameOf(const osg::NodePtr& node) {
    const char* const name = osg::getName(node);
    return name ? name : "";
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

osg::GeometryPtr geometryOf(const osg::NodePtr& node) {
    return osg::GeometryPtr::dcast(node->getCore());
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

osg::NodePtr sceneRoot() {
    const osg::NodePtr root = ktScenegraph::getRootNode();
    if (root == osg::NullFC)
        ktHostModuleGuard::refuse("no scene is open");
    return root;
}

std::vector<float> readPositions(const osg::GeometryPtr& geometry) {
    const osg::GeoPositionsPtr positions = geometry->getPositions();
    std::vector<float> numbers;
    numbers.reserve(3 * positions->getSize());
    for (osg::UInt32 i = 0; i < positions->getSize(); ++i) {
        const osg::Pnt3f position = positions->getValue(i);
        numbers.insert(numbers.end(), {position[0], position[1], position[2]});
    }
    return numbers;
}

std::vector<std::uint32_t> readTriangles(const osg::GeometryPtr& geometry) {
    std::vector<std::uint32_t> corners;
    for (osg::TriangleIterator triangle(geometry); !triangle.isAtEnd(); ++triangle)
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
    if (nameOf(get()).empty())
        return ktTextResult(path);
    const osg::NodePtr root = sceneRoot();
    for (osg::NodePtr node = get(); node != osg::NullFC; node = node == root ? osg::NodePtr() : node->getParent())
        if (const std::string name = nameOf(node); !name.empty())
            path = "/" + escapedForPath(name) + path;
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

python::dict ktHostModuleNodes::results(const python::object& what) {
    const osg::NodePtr node = findNodes(what).front();
    const std::string name = nameOf(node);
    const osg::GeometryPtr geometry = geometryOf(node);
    if (geometry == osg::NullFC || geometry->getPositions() == osg::NullFC)
        throw ktHostModuleError("the node \"" + name + "\" holds no geometry");
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
