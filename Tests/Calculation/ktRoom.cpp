// SPDX-License-Identifier: LGPL-2.1-or-later
// Describes the room with coloured walls, a box and a lamp that tests of indirect light calculate.
#include "ktRoom.h"

#include <cmath>

const osg::Pnt3f ktRoomLamp::position_mm(1700, 2300, 1400);
const osg::Color3f ktRoomLamp::color(1.0f, 0.9f, 0.7f);

namespace {

int cells(const osg::Vec3f& edge) {
    return static_cast<int>(std::ceil(edge.length() / 100 - 1e-3f));
}

class Room {
public:
    /// The normal is along a x b or opposite to it.
    void add(const char* name, const osg::Pnt3f& corner, const osg::Vec3f& a, const osg::Vec3f& b,
             const osg::Color3f& color, float side = 1) {
        osg::Vec3f normal = a.cross(b) * side;
        normal.normalize();
        surfaces.push_back({name, corner, a, b, normal, color, cells(a), cells(b)});
    }

    std::vector<ktRoomSurface> surfaces;
};

} // namespace

std::vector<ktRoomSurface> ktMakeRoom(bool isClosed) {
    const osg::Color3f white(0.75f, 0.75f, 0.72f), red(0.7f, 0.08f, 0.06f), green(0.1f, 0.6f, 0.12f);
    const osg::Vec3f x(3000, 0, 0), y(0, 3000, 0), z(0, 0, 3000);
    Room room;
    room.add("floor", osg::Pnt3f(0, 0, 0), z, x, white);
    room.add("ceiling", osg::Pnt3f(0, 3000, 0), x, z, white);
    room.add("back", osg::Pnt3f(0, 0, 0), x, y, white);
    room.add("left", osg::Pnt3f(0, 0, 0), y, z, red);
    room.add("right", osg::Pnt3f(3000, 0, 0), z, y, green);
    if (isClosed)
        room.add("front", osg::Pnt3f(0, 0, 3000), y, x, white);

    const float turn = 0.3f, width = 900, height = 1000;
    const osg::Vec3f a(width * std::cos(turn), 0, width * std::sin(turn)),
        b(-width * std::sin(turn), 0, width * std::cos(turn)), up(0, height, 0);
    const osg::Pnt3f corner(1000, 450, 700);
    const osg::Color3f blue(0.4f, 0.45f, 0.7f);
    room.add("box back", corner, up, a, blue);
    room.add("box left", corner, b, up, blue);
    room.add("box front", corner + b, a, up, blue);
    room.add("box right", corner + a, up, b, blue);
    room.add("box top", corner + up, b, a, blue);
    room.add("box bottom", corner, a, b, blue);
    return room.surfaces;
}
