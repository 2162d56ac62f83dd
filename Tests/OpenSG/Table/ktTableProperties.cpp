// SPDX-License-Identifier: LGPL-2.1-or-later
// The table's lines of geometry properties: their storage types, and values as they are stored and read.
#include "ktTable.h"

#include <OpenSG/OSGGeoProperty.h>

namespace ktTable {
namespace {

template <class ValueT>
std::string plain(const ValueT& value) {
    std::ostringstream text;
    text << std::setprecision(6) << '(';
    if constexpr (std::is_arithmetic_v<ValueT>)
        text << +value;
    else
        for (UInt32 i = 0; i < sizeof(ValueT) / sizeof(value[0]); ++i)
            text << (i == 0 ? "" : " ") << +value[i];
    text << ')';
    return text.str();
}

/// What a property of this type is, and what two values become in it.
template <class PropertyT>
void describe(const char* name, const typename PropertyT::PtrType::StoredObjectType::GenericType& first,
              const typename PropertyT::PtrType::StoredObjectType::GenericType& second) {
    const typename PropertyT::PtrType property = PropertyT::create();
    addRefCP(property);
    line((std::string(name) + ": type").c_str(), property->getTypeName(), property->getFormat(),
         property->getFormatSize(), property->getDimension(), property->getStride(), property->getSize());
    property->push_back(first);
    property->addValue(second);
    property->insertValue(second, 0);
    property->setValue(first, 2);
    std::string stored, read;
    for (UInt32 i = 0; i < property->size(); ++i) {
        stored += plain(property->getField()[i]);
        read += plain(property->getValue(i));
    }
    line((std::string(name) + ": values").c_str(), stored, read, property->size(), property->getSize());
    const auto copy = property->clone();
    property->clear();
    line((std::string(name) + ": copy").c_str(), copy->size(), plain(copy->getValue(1)), getRefCount(copy),
         property->size());
    property->resize(2);
    line((std::string(name) + ": resized").c_str(), property->size());
    subRefCP(property);
}

} // namespace

void printProperties() {
    const Pnt3f p(1.5f, -2, 3), q(0.25f, 100, 7);
    describe<GeoPositions2f>("GeoPositions2f", p, q);
    describe<GeoPositions3f>("GeoPositions3f", p, q);
    describe<GeoPositions4f>("GeoPositions4f", p, q);
    describe<GeoPositions2d>("GeoPositions2d", p, q);
    describe<GeoPositions3d>("GeoPositions3d", p, q);
    describe<GeoPositions4d>("GeoPositions4d", p, q);
    describe<GeoPositions2s>("GeoPositions2s", p, q);
    describe<GeoPositions3s>("GeoPositions3s", p, q);
    describe<GeoPositions4s>("GeoPositions4s", p, q);
    const Vec3f up(0, 1, 0), slanted(-0.6f, 0, 0.8f);
    describe<GeoNormals3f>("GeoNormals3f", up, slanted);
    describe<GeoNormals3s>("GeoNormals3s", up, slanted);
    describe<GeoNormals3b>("GeoNormals3b", up, slanted);
    const Color3f red(1, 0, 0), grey(0.2f, 0.4f, 0.6f);
    describe<GeoColors3f>("GeoColors3f", red, grey);
    describe<GeoColors4f>("GeoColors4f", red, grey);
    describe<GeoColors3ub>("GeoColors3ub", red, grey);
    describe<GeoColors4ub>("GeoColors4ub", red, grey);
    const Vec2f s(0.5f, 2), t(-1, 0.125f);
    describe<GeoTexCoords1f>("GeoTexCoords1f", s, t);
    describe<GeoTexCoords2f>("GeoTexCoords2f", s, t);
    describe<GeoTexCoords3f>("GeoTexCoords3f", s, t);
    describe<GeoTexCoords4f>("GeoTexCoords4f", s, t);
    describe<GeoTexCoords2d>("GeoTexCoords2d", s, t);
    describe<GeoTexCoords4d>("GeoTexCoords4d", s, t);
    describe<GeoIndicesUI32>("GeoIndicesUI32", 3, 70000);
    describe<GeoIndicesUI16>("GeoIndicesUI16", 3, 40000);
    describe<GeoPTypesUI8>("GeoPTypesUI8", GL_TRIANGLES, GL_QUADS);
    describe<GeoPLengthsUI32>("GeoPLengthsUI32", 3, 70000);
    describe<GeoPLengthsUI16>("GeoPLengthsUI16", 3, 40000);
    describe<GeoPLengthsUI8>("GeoPLengthsUI8", 3, 200);
}

} // namespace ktTable
