// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGVector.h>
#include <string>
#include <vector>

/// A flat rectangle of the room. Cells are those of ktWholeMesh::addGrid().
struct ktRoomSurface {
    std::string name;
    osg::Pnt3f corner; ///< mm
    osg::Vec3f a, b;   ///< edges, perpendicular to each other
    osg::Vec3f normal;
    osg::Color3f color;
    int columns, rows; ///< cells along a and b, 100 mm or less
};

/// A room of 3 m. The left wall is red, the right wall green, and a tilted box hangs in the room. The box does not
/// touch the floor. If it did, light interpolated between covered and open vertices of the floor would be wrong,
/// with triangles of any size.
/// @param isClosed true: with a front wall; false: open towards +z
std::vector<ktRoomSurface> ktMakeRoom(bool isClosed);

/// The lamp of the room.
namespace ktRoomLamp {
extern const osg::Pnt3f position_mm;
extern const osg::Color3f color; ///< light at a distance of 1 m
} // namespace ktRoomLamp
