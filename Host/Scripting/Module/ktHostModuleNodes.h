// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>
#include <OpenSG/OSGNode.h>
#include <string>

/// A node as scripts hold it: by the number of its container, which is never used twice, and without a reference.
class ktHostModuleNode {
public:
    explicit ktHostModuleNode(const osg::NodePtr& node) : id(node.getFieldContainerId()) {}

    /// The node; throws ktHostModuleError when it is not in the scene any more.
    osg::NodePtr get() const;

    boost::python::object getName() const;
    boost::python::object getPath() const;
    std::string getKind() const;
    unsigned int getVertexCount() const;
    bool isLocked() const;
    boost::python::object describe() const;
    bool operator==(const ktHostModuleNode& other) const { return id == other.id; }
    bool operator!=(const ktHostModuleNode& other) const { return id != other.id; }
    long hash() const { return static_cast<long>(id); }

private:
    osg::UInt32 id;
};

/// The scene's nodes: functions of the module `kthost`, described in ktHostModuleHelp.h.
namespace ktHostModuleNodes {

boost::python::list nodes();
boost::python::list select(const boost::python::object& what);
boost::python::list selection();
boost::python::dict results(const boost::python::object& node);

} // namespace ktHostModuleNodes
