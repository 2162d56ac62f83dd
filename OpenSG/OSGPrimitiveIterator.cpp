// SPDX-License-Identifier: LGPL-2.1-or-later
// Iterates over the primitives of a geometry, and stays in range if the geometry is broken.
#include "OSGPrimitiveIterator.h"

#include "OSGLog.h"
#include "OSGNode.h"

OSG_BEGIN_NAMESPACE

void PrimitiveIterator::setGeo(const GeometryPtr& geometry) {
    *this = PrimitiveIterator();
    if (geometry == NullFC)
        return;
    _geo = geometry;
    _types = geometry->getTypes();
    _lengths = geometry->getLengths();
    _indices = geometry->getIndices();
    setToBegin();
}

void PrimitiveIterator::setGeo(const NodePtr& node) {
    const GeometryPtr geometry = GeometryPtr::dcast(node != NullFC ? node->getCore() : NodeCorePtr());
    if (geometry == NullFC)
        logWarning("PrimitiveIterator: node %u has no geometry", unsigned(node.getFieldContainerId()));
    setGeo(geometry);
}

void PrimitiveIterator::setToBegin() {
    if (_geo == NullFC)
        return;
    _mappings = osgMax(UInt32(1), _geo->getIndexMapping().size());
    for (UInt32 slot = 0; slot < SlotCount; ++slot)
        // A property that the mapping does not mention uses the first index.
        _mappingOf[slot] = UInt8(osgMax(Int16(0), _geo->calcMappingIndex(UInt16(Geometry::MapPosition << slot))));
    if (_indices != NullFC)
        _vertices = _indices->size() / _mappings;
    else
        _vertices = _geo->getPositions() != NullFC ? _geo->getPositions()->size() : 0;

    _primIndex = 0;
    _firstVertex = 0;
    readPrimitive();
}

void PrimitiveIterator::setToEnd() {
    _primIndex = _types != NullFC ? _types->size() : 0;
    _length = 0;
    _ended = true;
}

void PrimitiveIterator::seek(const Int32 index) {
    setToBegin();
    while (!_ended && getIndex() < index)
        PrimitiveIterator::operator++();
}

void PrimitiveIterator::operator++() {
    if (_ended)
        return;
    _firstVertex += _length;
    ++_primIndex;
    readPrimitive();
}

void PrimitiveIterator::readPrimitive() {
    if (_types == NullFC || _primIndex >= _types->size()) {
        setToEnd();
        return;
    }
    _ended = false;
    _type = _types->getValue(_primIndex);
    const UInt32 left = _vertices - _firstVertex;
    if (_lengths == NullFC)
        _length = left;
    else
        _length = _primIndex < _lengths->size() ? osgMin(left, _lengths->getValue(_primIndex)) : 0;
}

OSG_END_NAMESPACE
