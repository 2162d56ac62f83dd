// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktUpAxis.h"

#include <OpenSG/OSGNode.h>
#include <optional>

/// The axis that seems to point up in a model that plainly lies on its side: along y it ends in an edge or a point, and
/// along this axis it begins with a flat side and does not end with one. Empty if the model has a flat side below, or
/// if there is doubt. Ground planes do not count.
/// @param root with y up
std::optional<ktUpAxis> ktFindLyingAxis(const osg::NodePtr& root);
