// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktConformingRefiner.h"
#include "ktTracedScene.h"

#include <set>

/// Vertices of a scene that are closer than this are at the same position. World units.
double ktWeldDistance(const ktTracedScene& scene);

/// Forbids splitting the edges that geometry outside a group shares.
/// @param inside the geometries of the group
/// @throws ktCanceled
void ktLockSharedEdges(ktConformingRefiner& refiner, const ktTracedScene& scene,
                       const std::set<ktGeometryNumber>& inside);
