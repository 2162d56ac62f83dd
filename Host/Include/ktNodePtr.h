// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>

/// Handle of a node in the host's lists; may be null. Holds no reference.
typedef osg::NodePtr ktNodePtr;
