// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the nodes of the scene by name or by a path with wildcards.
#include "ktSceneState.h"

#include "ktSceneStorage.h"

#include <fnmatch.h>
#include <OpenSG/OSGSimpleAttachments.h>

namespace {

// Null for a node without a name or with an empty name.
const char* nameOf(const osg::NodePtr& node) {
    const char* name = osg::getName(node);
    return name != nullptr && name[0] != '\0' ? name : nullptr;
}

osg::NodePtr nearestNamedAbove(const osg::NodePtr& node) {
    const osg::NodePtr root = ktSceneStorage::the().root;
    osg::NodePtr above = node;
    while (above != osg::NullFC) {
        above = above == root ? osg::NodePtr() : above->getParent();
        if (above != osg::NullFC && nameOf(above) != nullptr)
            return above;
    }
    return osg::NullFC;
}

struct Path {
    std::vector<std::string> names;
    bool isFromTop = false;
};

Path parsePath(const std::string& text) {
    Path path;
    path.isFromTop = !text.empty() && text.front() == '/';
    std::string name;
    for (const char c : text + "/") {
        if (c != '/') {
            name += c;
        } else if (!name.empty()) {
            path.names.push_back(name);
            name.clear();
        }
    }
    return path;
}

bool matches(osg::NodePtr node, const Path& path) {
    for (auto name = path.names.rbegin(); name != path.names.rend(); ++name) {
        if (node == osg::NullFC || nameOf(node) == nullptr || fnmatch(name->c_str(), nameOf(node), 0) != 0)
            return false;
        node = nearestNamedAbove(node);
    }
    return !path.names.empty() && (!path.isFromTop || node == osg::NullFC);
}

// Nodes of the scene in traversal order. Does not recurse, because trees may be deep.
template <class Predicate>
std::vector<osg::NodePtr> collect(Predicate isWanted) {
    std::vector<osg::NodePtr> found;
    std::vector<osg::NodePtr> pending;
    if (ktSceneStorage::the().root != osg::NullFC)
        pending.push_back(ktSceneStorage::the().root);
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        if (isWanted(node))
            found.push_back(node);
        for (osg::UInt32 i = node->getNChildren(); i > 0; --i)
            pending.push_back(node->getChild(i - 1));
    }
    return found;
}

} // namespace

std::vector<osg::NodePtr> ktSceneState::findNodes(const std::string& text) {
    if (text.empty())
        return {};
    const auto isNamedSo = [&](const osg::NodePtr& node) { return nameOf(node) != nullptr && text == nameOf(node); };
    std::vector<osg::NodePtr> found = collect(isNamedSo);
    if (!found.empty())
        return found;
    const Path path = parsePath(text);
    return collect([&](const osg::NodePtr& node) { return matches(node, path); });
}
