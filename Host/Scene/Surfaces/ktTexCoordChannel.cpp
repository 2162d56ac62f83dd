// SPDX-License-Identifier: LGPL-2.1-or-later
// Gets and sets the texture coordinate channels of a geometry by number.
#include "ktTexCoordChannel.h"

osg::GeoTexCoordsPtr ktGetTexCoords(const osg::GeometryPtr& geometry, int channel) {
    switch (channel) {
    case 0:
        return geometry->getTexCoords();
    case 1:
        return geometry->getTexCoords1();
    case 2:
        return geometry->getTexCoords2();
    case 3:
        return geometry->getTexCoords3();
    case 4:
        return geometry->getTexCoords4();
    case 5:
        return geometry->getTexCoords5();
    case 6:
        return geometry->getTexCoords6();
    case 7:
        return geometry->getTexCoords7();
    default:
        return osg::NullFC;
    }
}

void ktSetTexCoords(const osg::GeometryPtr& geometry, int channel, const osg::GeoTexCoordsPtr& property) {
    switch (channel) {
    case 0:
        return geometry->setTexCoords(property);
    case 1:
        return geometry->setTexCoords1(property);
    case 2:
        return geometry->setTexCoords2(property);
    case 3:
        return geometry->setTexCoords3(property);
    case 4:
        return geometry->setTexCoords4(property);
    case 5:
        return geometry->setTexCoords5(property);
    case 6:
        return geometry->setTexCoords6(property);
    case 7:
        return geometry->setTexCoords7(property);
    default:
        return;
    }
}
