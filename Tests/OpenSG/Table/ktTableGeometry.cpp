// SPDX-License-Identifier: LGPL-2.1-or-later
// The table's lines of geometry: copies, index mappings, normals, the functions of OSGGeoFunctions.h.
#include "ktTable.h"

#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGPrimitiveIterator.h>
#include <OpenSG/OSGSimpleMaterial.h>
#include <OpenSG/OSGTriangleIterator.h>

namespace ktTable {
namespace {

/// A roof of two quads that meet at a ridge, with shared vertices.
GeometryPtr makeRoof() {
    const GeometryPtr geometry = makeRow({{GL_QUADS, 8}});
    const GeoPositions3fPtr positions = GeoPositions3f::create();
    for (const Pnt3f& each :
         {Pnt3f(-1, 0, 0), Pnt3f(-1, 0, 2), Pnt3f(0, 1, 2), Pnt3f(0, 1, 0), Pnt3f(1, 0, 0), Pnt3f(1, 0, 2)})
        positions->push_back(each);
    const GeoIndicesUI32Ptr indices = GeoIndicesUI32::create();
    for (const UInt32 index : {0, 1, 2, 3, 3, 2, 5, 4})
        indices->push_back(index);
    geometry->setPositions(positions);
    geometry->setIndices(indices);
    return geometry;
}

std::string round4(const Vec3f& v) {
    std::ostringstream text;
    text << std::setprecision(4) << '(' << v[0] + 0.0f << ' ' << v[1] + 0.0f << ' ' << v[2] + 0.0f << ')';
    return text.str();
}

/// The normal of each corner of each triangle.
std::string normalsOf(const GeometryPtr& geometry) {
    std::string text;
    for (TriangleIterator t = geometry->beginTriangles(); t != geometry->endTriangles(); ++t)
        for (Int32 corner = 0; corner < 3; ++corner)
            text += round4(t.getNormal(corner));
    return text;
}

std::string indicesOf(const GeoIndicesPtr& indices) {
    std::ostringstream text;
    if (indices == NullFC)
        return "none";
    for (UInt32 i = 0; i < indices->getSize(); ++i)
        text << (i == 0 ? "" : " ") << indices->getValue(i);
    return text.str();
}

void printCopies() {
    const GeometryPtr geometry = makeRoof();
    addRefCP(geometry);
    const SimpleMaterialPtr material = SimpleMaterial::create();
    geometry->setMaterial(material);
    const GeometryPtr clone = geometry->clone();
    addRefCP(clone);
    line("clone of a geometry: own properties", clone->getPositions() != geometry->getPositions(),
         clone->getIndices() != geometry->getIndices(), clone->getTypes() != geometry->getTypes(),
         clone->getMaterial() == geometry->getMaterial(), clone->getNormals() == NullFC);
    line("clone of a geometry: values", clone->getPositions()->getSize(), indicesOf(clone->getIndices()));
    line("references of the clone's parts", getRefCount(clone->getPositions()), getRefCount(clone->getMaterial()));
    clone->setPositions(geometry->getPositions());
    line("positions of two geometries", getRefCount(geometry->getPositions()),
         geometry->getPositions()->getParents().size());
    separateProperties(clone);
    line("positions, separated", clone->getPositions() != geometry->getPositions(),
         getRefCount(geometry->getPositions()), geometry->getPositions()->getParents().size());
    subRefCP(clone);
    const FieldContainerPtr copy = geometry->shallowCopy();
    line("shallow copy shares", GeometryPtr::dcast(copy)->getPositions() == geometry->getPositions(),
         GeometryPtr::dcast(copy)->getMaterial() == geometry->getMaterial(), getRefCount(copy));
    line("property that is null", Geometry::create()->getPositions() == NullFC);
}

void printMappings() {
    const GeometryPtr geometry = makeRoof();
    addRefCP(geometry);
    const GeoTexCoords2fPtr texCoords = GeoTexCoords2f::create();
    for (UInt32 i = 0; i < 4; ++i)
        texCoords->push_back(Vec2f(Real32(i), Real32(i * i)));
    geometry->setTexCoords(texCoords);
    const GeoIndicesUI32Ptr indices = GeoIndicesUI32::create();
    for (const UInt32 index : {0, 0, 1, 1, 2, 2, 3, 3, 3, 3, 2, 2, 5, 1, 4, 0})
        indices->push_back(index);
    geometry->setIndices(indices);
    geometry->getIndexMapping().push_back(Geometry::MapPosition | Geometry::MapNormal);
    geometry->getIndexMapping().push_back(Geometry::MapTexCoords);
    line("entries of a mapping", geometry->calcMappingIndex(Geometry::MapPosition),
         geometry->calcMappingIndex(Geometry::MapNormal), geometry->calcMappingIndex(Geometry::MapTexCoords),
         geometry->calcMappingIndex(Geometry::MapColor));
    line("bits of a mapping", Geometry::MapPosition, Geometry::MapNormal, Geometry::MapColor, Geometry::MapTexCoords,
         Geometry::MapTexCoords7);
    std::string corners;
    for (TriangleIterator t = geometry->beginTriangles(); t != geometry->endTriangles(); ++t)
        for (Int32 corner = 0; corner < 3; ++corner) {
            std::ostringstream text;
            text << t.getPositionIndex(corner) << '/' << t.getNormalIndex(corner) << '/' << t.getTexCoordsIndex(corner)
                 << '/' << t.getColorIndex(corner) << '/' << t.getIndexIndex(corner) << ' ';
            corners += text.str();
        }
    line("mapped corners", corners);
    for (PrimitiveIterator p = geometry->beginPrimitives(); p != geometry->endPrimitives(); ++p)
        line("primitive", p.getIndex(), p.getType(), p.getLength(), p.getPositionIndex(3), p.getTexCoordsIndex(3));
    line("vertices of a single index", createSingleIndex(geometry), indicesOf(geometry->getIndices()),
         geometry->getIndexMapping().size(), geometry->getPositions()->getSize(), geometry->getTexCoords()->getSize());
    std::string values;
    for (UInt32 i = 0; i < geometry->getPositions()->getSize(); ++i)
        values += textOf(geometry->getPositions()->getValue(i)) + textOf(Pnt3f(geometry->getTexCoords()->getValue(i)));
    line("values of a single index", values);
    const GeometryPtr single = makeRoof();
    line("vertices of a single index without a mapping", createSingleIndex(single), indicesOf(single->getIndices()));
    line("property by its bit", geometry->getProperty(Geometry::MapPosition) != nullptr,
         geometry->getProperty(Geometry::MapColor) == nullptr);
}

void printNormals() {
    GeometryPtr roof = makeRoof();
    calcVertexNormals(roof);
    line("smooth normals", roof->getNormals()->getSize(), normalsOf(roof));
    line("indices after smooth normals", indicesOf(roof->getIndices()), roof->getIndexMapping().size());
    roof = makeRoof();
    calcVertexNormals(roof, 3);
    line("normals, crease angle of 3", normalsOf(roof));
    roof = makeRoof();
    calcVertexNormals(roof, 0.5f);
    line("normals, crease angle of 0.5", normalsOf(roof));
    roof = makeRoof();
    calcFaceNormals(roof);
    line("normals of faces", normalsOf(roof));
    UInt32 triangles = 0, lines = 0, points = 0;
    const GeometryPtr row = makeRow({{GL_TRIANGLE_STRIP, 5}, {GL_LINE_STRIP, 4}, {GL_POINTS, 3}, {GL_LINE_LOOP, 3}});
    const UInt32 sum = calcPrimitiveCount(row, triangles, lines, points);
    line("counts", triangles, lines, points, sum);
    const GeometryPtr empty = Geometry::create();
    line("triangles of an empty geometry", empty->beginTriangles() == empty->endTriangles(),
         empty->beginPrimitives() == empty->endPrimitives());
    for (const UInt8 type : {GL_POINTS, GL_LINES, GL_LINE_LOOP, GL_LINE_STRIP, GL_TRIANGLES, GL_TRIANGLE_STRIP,
                             GL_TRIANGLE_FAN, GL_QUADS, GL_QUAD_STRIP, GL_POLYGON})
        line("name of a primitive", Geometry::mapType(type));
    TriangleIterator last = makeRoof()->beginTriangles();
    last.seek(3);
    line("triangle by number", last.getIndex(), last.getPositionIndex(0), last.getPositionIndex(1),
         last.getPositionIndex(2), textOf(last.getPosition(2)));
}

} // namespace

void printGeometry() {
    printCopies();
    printMappings();
    printNormals();
}

} // namespace ktTable
