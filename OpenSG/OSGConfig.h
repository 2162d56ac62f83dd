// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGCONFIG_H
#define OSGCONFIG_H

// Namespace and export macros of the scene graph.
//
// The namespace is OSG. osg is an alias, so osg::Node and OSG::Node are the same type.

#define OSG_BEGIN_NAMESPACE namespace OSG {
#define OSG_END_NAMESPACE }
#define OSG_USING_NAMESPACE using namespace OSG;

// Symbols are visible by default. The macros exist only so that declarations look as in OpenSG 1.x.
#define OSG_BASE_DLLMAPPING
#define OSG_SYSTEMLIB_DLLMAPPING
#define OSG_SYSTEMLIB_DLLTMPLMAPPING

namespace OSG {}
namespace osg = OSG;

#endif
