// SPDX-License-Identifier: LGPL-2.1-or-later
// Instantiates the types of geometry properties, and tells geometries that a property has changed.
#include "OSGGeoProperty.h"

#include "OSGGeometry.h"

OSG_BEGIN_NAMESPACE

// Parents before children: types are registered in this order.
template class AbstractGeoProperty<GeoPositionsPropertyDesc>;
template class AbstractGeoProperty<GeoNormalsPropertyDesc>;
template class AbstractGeoProperty<GeoColorsPropertyDesc>;
template class AbstractGeoProperty<GeoTexCoordsPropertyDesc>;
template class AbstractGeoProperty<GeoIndicesPropertyDesc>;
template class AbstractGeoProperty<GeoPTypesPropertyDesc>;
template class AbstractGeoProperty<GeoPLengthsPropertyDesc>;

template class GeoProperty<GeoPositions2sPropertyDesc>;
template class GeoProperty<GeoPositions3sPropertyDesc>;
template class GeoProperty<GeoPositions4sPropertyDesc>;
template class GeoProperty<GeoPositions2fPropertyDesc>;
template class GeoProperty<GeoPositions3fPropertyDesc>;
template class GeoProperty<GeoPositions4fPropertyDesc>;
template class GeoProperty<GeoPositions2dPropertyDesc>;
template class GeoProperty<GeoPositions3dPropertyDesc>;
template class GeoProperty<GeoPositions4dPropertyDesc>;
template class GeoProperty<GeoNormals3fPropertyDesc>;
template class GeoProperty<GeoNormals3sPropertyDesc>;
template class GeoProperty<GeoNormals3bPropertyDesc>;
template class GeoProperty<GeoColors3fPropertyDesc>;
template class GeoProperty<GeoColors4fPropertyDesc>;
template class GeoProperty<GeoColors3ubPropertyDesc>;
template class GeoProperty<GeoColors4ubPropertyDesc>;
template class GeoProperty<GeoTexCoords1fPropertyDesc>;
template class GeoProperty<GeoTexCoords2fPropertyDesc>;
template class GeoProperty<GeoTexCoords3fPropertyDesc>;
template class GeoProperty<GeoTexCoords4fPropertyDesc>;
template class GeoProperty<GeoTexCoords1dPropertyDesc>;
template class GeoProperty<GeoTexCoords2dPropertyDesc>;
template class GeoProperty<GeoTexCoords3dPropertyDesc>;
template class GeoProperty<GeoTexCoords4dPropertyDesc>;
template class GeoProperty<GeoIndicesUI32PropertyDesc>;
template class GeoProperty<GeoIndicesUI16PropertyDesc>;
template class GeoProperty<GeoPTypesUI8PropertyDesc>;
template class GeoProperty<GeoPLengthsUI32PropertyDesc>;
template class GeoProperty<GeoPLengthsUI16PropertyDesc>;
template class GeoProperty<GeoPLengthsUI8PropertyDesc>;

namespace detail {

void geoPropertyChanged(const Attachment& property) {
    // A copy, because a geometry's changed() may change the list.
    const std::vector<FieldContainerPtr> parents = property.getParents().getValues();
    for (const FieldContainerPtr& parent : parents)
        if (const GeometryPtr geometry = GeometryPtr::dcast(parent); geometry != NullFC)
            changedCP(geometry, geometry->getFieldMaskOf(AttachmentPtr(&property)), ChangedOrigin::Child);
}

} // namespace detail

OSG_END_NAMESPACE
