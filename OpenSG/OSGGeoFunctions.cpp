// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts geometry: unshares properties, replaces multiple indices by single ones, counts primitives.
#include "OSGGeoFunctions.h"

#include "OSGLog.h"
#include "OSGPrimitiveIterator.h"

#include <cstring>
#include <unordered_map>

OSG_BEGIN_NAMESPACE

namespace {

template <class PropertyPtrT, class SetT>
void separateProperty(const GeometryPtr& geo, const PropertyPtrT property, const BitVector mask, SetT set) {
    if (property == NullFC || property->getParents().size() <= 1)
        return;
    beginEditCP(geo, mask);
    (geo.getCPtr()->*set)(property->clone());
    endEditCP(geo, mask);
}

} // namespace

void separateProperties(const GeometryPtr geo) {
    if (geo == NullFC)
        return;
    typedef Geometry G;
    separateProperty(geo, geo->getTypes(), G::TypesFieldMask, &G::setTypes);
    separateProperty(geo, geo->getLengths(), G::LengthsFieldMask, &G::setLengths);
    separateProperty(geo, geo->getPositions(), G::PositionsFieldMask, &G::setPositions);
    separateProperty(geo, geo->getNormals(), G::NormalsFieldMask, &G::setNormals);
    separateProperty(geo, geo->getColors(), G::ColorsFieldMask, &G::setColors);
    separateProperty(geo, geo->getSecondaryColors(), G::SecondaryColorsFieldMask, &G::setSecondaryColors);
    separateProperty(geo, geo->getTexCoords(), G::TexCoordsFieldMask, &G::setTexCoords);
    separateProperty(geo, geo->getTexCoords1(), G::TexCoords1FieldMask, &G::setTexCoords1);
    separateProperty(geo, geo->getTexCoords2(), G::TexCoords2FieldMask, &G::setTexCoords2);
    separateProperty(geo, geo->getTexCoords3(), G::TexCoords3FieldMask, &G::setTexCoords3);
    separateProperty(geo, geo->getTexCoords4(), G::TexCoords4FieldMask, &G::setTexCoords4);
    separateProperty(geo, geo->getTexCoords5(), G::TexCoords5FieldMask, &G::setTexCoords5);
    separateProperty(geo, geo->getTexCoords6(), G::TexCoords6FieldMask, &G::setTexCoords6);
    separateProperty(geo, geo->getTexCoords7(), G::TexCoords7FieldMask, &G::setTexCoords7);
    separateProperty(geo, geo->getIndices(), G::IndicesFieldMask, &G::setIndices);
}

namespace {

/// The different index combinations of the vertices, numbered in order of first appearance.
class IndexCombinations {
public:
    IndexCombinations(const GeoIndicesPtr& indices, const UInt32 mappings)
        : _mappings(mappings), _numbers(64, Hash{this}, Equal{this}) {
        const UInt32 vertices = indices->size() / mappings;
        _values.reserve(size_t(vertices) * mappings);
        ofVertex.reserve(vertices);
        for (UInt32 vertex = 0; vertex < vertices; ++vertex) {
            const UInt32 candidate = count();
            for (UInt32 j = 0; j < mappings; ++j)
                _values.push_back(indices->getValue(vertex * mappings + j));
            const auto entry = _numbers.emplace(candidate, candidate);
            if (!entry.second)
                _values.resize(size_t(candidate) * mappings);
            ofVertex.push_back(entry.first->second);
        }
    }
    IndexCombinations(const IndexCombinations&) = delete;
    void operator=(const IndexCombinations&) = delete;

    UInt32 count() const { return UInt32(_values.size() / _mappings); }
    UInt32 index(const UInt32 combination, const UInt32 mapping) const {
        return _values[size_t(combination) * _mappings + mapping];
    }

    /// Number of the combination of each vertex.
    std::vector<UInt32> ofVertex;

private:
    struct Hash {
        const IndexCombinations* owner;
        size_t operator()(const UInt32 combination) const {
            UInt64 hash = 0xcbf29ce484222325u;
            for (UInt32 j = 0; j < owner->_mappings; ++j)
                hash = (hash ^ owner->index(combination, j)) * 0x100000001b3u;
            return size_t(hash ^ (hash >> 32));
        }
    };
    struct Equal {
        const IndexCombinations* owner;
        bool operator()(const UInt32 a, const UInt32 b) const {
            const UInt32* const values = owner->_values.data();
            return std::memcmp(values + size_t(a) * owner->_mappings, values + size_t(b) * owner->_mappings,
                               owner->_mappings * sizeof(UInt32)) == 0;
        }
    };

    UInt32 _mappings;
    std::vector<UInt32> _values;
    std::unordered_map<UInt32, UInt32, Hash, Equal> _numbers;
};

/// Calls visit(mapping entry, property, map constant) for all mapped properties.
template <class VisitT>
void forEachMappedProperty(const GeometryPtr& geo, VisitT&& visit) {
    for (UInt32 mapping = 0; mapping < geo->getIndexMapping().size(); ++mapping)
        for (UInt16 bit = Geometry::MapPosition; bit < Geometry::MapEmpty; bit = UInt16(bit << 1))
            // If two entries name one property, the last one counts, as everywhere.
            if (geo->calcMappingIndex(bit) == Int16(mapping))
                if (GeoPropertyArrayInterface* const property = geo->getProperty(bit))
                    visit(mapping, *property, bit);
}

void numberIndices(const GeometryPtr& geo) {
    const GeoIndicesUI32Ptr indices = GeoIndicesUI32::create();
    beginEditCP(indices);
    for (UInt32 i = 0; i < geo->getPositions()->size(); ++i)
        indices->push_back(i);
    endEditCP(indices);
    const BitVector mask = Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask;
    beginEditCP(geo, mask);
    geo->setIndices(indices);
    geo->getIndexMapping().clear();
    endEditCP(geo, mask);
}

void writeIndices(const GeometryPtr& geo, const IndexCombinations& combinations) {
    // Reuses the index property, unless it is shared or its type is too small.
    GeoIndicesPtr indices = geo->getIndices();
    const bool tooSmall = combinations.count() > 0x10000 && GeoIndicesUI16Ptr::dcast(indices) != NullFC;
    if (tooSmall || indices.getRefCount() > 1)
        indices = tooSmall ? GeoIndicesPtr(GeoIndicesUI32::create()) : indices->clone();
    beginEditCP(indices);
    indices->clear();
    for (const UInt32 combination : combinations.ofVertex)
        indices->push_back(combination);
    endEditCP(indices);
    geo->setIndices(indices);
}

} // namespace

Int32 createSingleIndex(const GeometryPtr geo) {
    if (geo == NullFC || geo->getPositions() == NullFC) {
        logWarning("createSingleIndex: there is no geometry with positions");
        return -1;
    }
    if (geo->getIndices() == NullFC) {
        numberIndices(geo);
        return 0;
    }
    const UInt32 mappings = geo->getIndexMapping().size();
    if (mappings == 0)
        return 0;

    const IndexCombinations combinations(geo->getIndices(), mappings);
    bool inside = true;
    forEachMappedProperty(geo, [&](const UInt32 mapping, const GeoPropertyArrayInterface& property, UInt16) {
        for (UInt32 i = 0; i < combinations.count() && inside; ++i)
            inside = combinations.index(i, mapping) < property.getSize();
    });
    if (!inside) {
        logWarning("createSingleIndex: geometry %u has an index outside of a property",
                   unsigned(geo.getFieldContainerId()));
        return -1;
    }

    geo->unshareProperties();
    UInt16 mapped = 0;
    BitVector changedFields = Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask;
    std::vector<UInt8> values;
    forEachMappedProperty(geo, [&](const UInt32 mapping, GeoPropertyArrayInterface& property, const UInt16 bit) {
        const size_t valueSize = property.getFormatSize() * property.getDimension() + property.getStride();
        values.assign(property.getData(), property.getData() + property.getSize() * valueSize);
        property.resize(combinations.count());
        for (UInt32 i = 0; i < combinations.count(); ++i)
            std::memcpy(property.editData() + i * valueSize, &values[combinations.index(i, mapping) * valueSize],
                        valueSize);
        mapped |= bit;
        const AttachmentPtr attachment(dynamic_cast<Attachment*>(&property));
        changedFields |= geo->getFieldMaskOf(attachment);
        endEditCP(attachment);
    });

    beginEditCP(geo, changedFields);
    writeIndices(geo, combinations);
    geo->getIndexMapping().clear();
    geo->getIndexMapping().push_back(mapped);
    endEditCP(geo, changedFields);
    return Int32(combinations.count());
}

UInt32 calcPrimitiveCount(const GeometryPtr geo, UInt32& triangle, UInt32& line, UInt32& point) {
    triangle = line = point = 0;
    for (PrimitiveIterator it(geo); !it.isAtEnd(); ++it) {
        const UInt32 length = it.getLength();
        const UInt32 afterFirst = length > 1 ? length - 1 : 0;
        const UInt32 afterSecond = length > 2 ? length - 2 : 0;
        switch (it.getType()) {
        case GL_POINTS:
            point += length;
            break;
        case GL_LINES:
            line += length / 2;
            break;
        case GL_LINE_LOOP:
            line += length > 1 ? length : 0;
            break;
        case GL_LINE_STRIP:
            line += afterFirst;
            break;
        case GL_TRIANGLES:
            triangle += length / 3;
            break;
        case GL_TRIANGLE_STRIP:
        case GL_TRIANGLE_FAN:
        case GL_POLYGON:
            triangle += afterSecond;
            break;
        case GL_QUAD_STRIP:
            triangle += length > 3 ? length - length % 2 - 2 : 0;
            break;
        case GL_QUADS:
            triangle += 2 * (length / 4);
            break;
        default:
            break;
        }
    }
    return triangle + line + point;
}

OSG_END_NAMESPACE
