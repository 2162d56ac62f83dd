// SPDX-License-Identifier: LGPL-2.1-or-later
// Announces changes of all properties of a geometry at once.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"

using namespace ktAmbientOcclusionInternal;

void ktAmbientOcclusion::beginEditGeometryFields(const osg::GeometryPtr&, unsigned int) {}

void ktAmbientOcclusion::endEditGeometryFields(const osg::GeometryPtr& geometry, unsigned int) {
    if (geometry == osg::NullFC)
        return;
    announce(geometry, osg::GeometryBase::PositionsFieldMask);
    const auto announceHeld = [&geometry](const osg::FieldContainerPtr& property, osg::BitVector mask) {
        if (property != osg::NullFC)
            announce(geometry, mask);
    };
    announceHeld(geometry->getNormals(), osg::GeometryBase::NormalsFieldMask);
    announceHeld(geometry->getColors(), osg::GeometryBase::ColorsFieldMask);
    announceHeld(geometry->getSecondaryColors(), osg::GeometryBase::SecondaryColorsFieldMask);
    announceHeld(geometry->getTexCoords(), osg::GeometryBase::TexCoordsFieldMask);
    announceHeld(geometry->getTexCoords1(), osg::GeometryBase::TexCoords1FieldMask);
    announceHeld(geometry->getTexCoords2(), osg::GeometryBase::TexCoords2FieldMask);
    announceHeld(geometry->getTexCoords3(), osg::GeometryBase::TexCoords3FieldMask);
    announceHeld(geometry->getTexCoords4(), osg::GeometryBase::TexCoords4FieldMask);
    announceHeld(geometry->getTexCoords5(), osg::GeometryBase::TexCoords5FieldMask);
    announceHeld(geometry->getTexCoords6(), osg::GeometryBase::TexCoords6FieldMask);
    announceHeld(geometry->getTexCoords7(), osg::GeometryBase::TexCoords7FieldMask);
}
