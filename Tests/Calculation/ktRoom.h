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
    osg::Vec3f a, b;   ///< edges, at right angles
    osg::Vec3f normal;
    osg::Color3f color;
    int columns, rows; ///< cells along a and b, 100 mm or less
};

/// A room of 3 m, its left wall red, its right wall green, and a box that hangs askew in it: where it stood on the
/// floor, light interpolated between vertices that it covers and others would never come near the truth, however small
/// the triangles.
/// @param isClosed with the wall in front, else open towards +z
std::vector<ktRoomSurface> ktMakeRoom(bool isClosed);

/// The lamp of the room.
namespace ktRoomLamp {
extern const osg::Pnt3f position_mm;
extern const osg::Color3f color; ///< light at a distance of 1 m
} // namespace ktRoomLamp
