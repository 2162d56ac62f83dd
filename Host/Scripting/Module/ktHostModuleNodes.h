// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>
#include <OpenSG/OSGNode.h>
#include <string>

/// A node in a script. Holds the id of its container, which is never reused, and no reference.
class ktHostModuleNode {
public:
    explicit ktHostModuleNode(const osg::NodePtr& node) : id(node.getFieldContainerId()) {}

    /// The node. Throws ktHostModuleError if it is no longer in the scene.
    osg::NodePtr get() const;

    boost::python::object getName() const;
    boost::python::object getPath() const;
    std::string getKind() const;
    unsigned int getVertexCount() const;
    boost::python::object getParent() const;
    boost::python::list getChildren() const;
    boost::python::list getGeometry() const;
    boost::python::tuple getMatrix() const;
    boost::python::tuple getWorldMatrix() const;
    bool isLocked() const;
    boost::python::object describe() const;
    bool operator==(const ktHostModuleNode& other) const { return id == other.id; }
    bool operator!=(const ktHostModuleNode& other) const { return id != other.id; }
    long hash() const { return static_cast<long>(id); }

private:
    osg::UInt32 id;
};

/// Functions of the module `kthost` for the scene's nodes, described in ktHostModuleHelp.h.
namespace ktHostModuleNodes {

boost::python::list nodes();
boost::python::list find(const boost::python::object& name);
boost::python::list select(const boost::python::object& what);
boost::python::list selection();
boost::python::dict results(const boost::python::object& node);
/// Refuses a selection whose geometry is points and lines only.
void refusePointsAndLines();

} // namespace ktHostModuleNodes
