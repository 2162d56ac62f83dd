// SPDX-License-Identifier: LGPL-2.1-or-later
// The table's lines of numbers: vectors, colours, quaternions, matrices, boxes. Five digits where a result is
// calculated.
#include "ktTable.h"

#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGLine.h>
#include <OpenSG/OSGQuaternion.h>

namespace ktTable {
namespace {

Matrix makeMatrix() {
    Matrix matrix;
    matrix.setTransform(Vec3f(1, 2, 3), Quaternion(Vec3f(1, 2, 2), 0.75f), Vec3f(1, 2, 0.5f));
    return matrix;
}

void printVectors() {
    Vec3f a(1, -2, 3);
    const Vec3f b(4, 5, -6);
    line("sum, difference, negative", five(a + b), five(a - b), five(-a));
    line("product and dot product", five(a * 2.0f), a * b, a.dot(b));
    line("cross product", five(a % b), five(a.cross(b)));
    line("lengths", a.length(), a.squareLength(), a.maxValue(), b.maxValue());
    line("zero", Vec3f(0, 0, 0).isZero(), Vec3f(5e-7f, 0, 0).isZero(), Vec3f(1e-3f, 0, 0).isZero());
    line("less", a < b, b < a, a < a, Vec3f(1, -3, 0) < a);
    line("equal", a == Vec3f(1, -2, 3 + 5e-7f), a == Vec3f(1, -2, 3.001f), a.equals(Vec3f(1, -2, 3.4f), 0.5f));
    a -= b;
    a /= 2;
    line("changed in place", five(a));
    const Pnt3f p(1, 2, 3), q(4, 6, 3);
    line("distance", p.dist(q), p.dist2(q), five(q - p), five(p + b));
    line("from other sizes", five(Vec4f(Vec3f(1, 2, 3)), 4), five(Pnt3f(Vec2f(1, 2))), five(Vec2f(p), 2));
    line("of two numbers", five(Vec3f(1, 2)), five(Vec2f(1, 2), 2));
    Color4f color(0.1f, 0.2f, 0.3f, 0.4f);
    line("colour, four parts", five(color, 4), color.alpha(), color.getRGBA());
    color.setRGBA(0x11223344);
    line("colour, unpacked", five(color, 4));
    const Color4ub bytes(10, 20, 30, 40);
    line("colour of bytes", int(bytes.red()), int(bytes[3]), bytes.getRGBA());
    line("colours added", five(Color3f(0.5f, 0.25f, 0) + Color3f(0.25f, 1, 1), 3),
         five(Color3f(0.5f, 0.25f, 1) * Color3f(0.25f, 1, 0.5f), 3));
}

void printQuaternions() {
    line("quaternion, new", five(Quaternion()));
    const Quaternion q(Vec3f(1, 2, 2), 0.75f), r(Vec3f(0, 0, 3), 1.5f);
    line("quaternion of axis and angle", five(q));
    line("quaternion between directions", five(Quaternion(Vec3f(1, 0, 0), Vec3f(0, 1, 1))));
    line("quaternion between opposite directions", Quaternion(Vec3f(1, 0, 0), Vec3f(-1, 0, 0)).length());
    Vec3f axis;
    Real32 angle = 0;
    q.getValueAsAxisRad(axis, angle);
    line("its axis and angle", five(axis), five(&angle, 1));
    Quaternion result;
    result.setValue(0.25f, 0.5f, 0.75f);
    line("quaternion of three angles", five(result));
    result.setValueAsAxisDeg(Vec3f(0, 1, 0), 90);
    line("quaternion in degrees", five(result));
    result = q;
    result.mult(r);
    line("quaternion, product", five(result));
    result = q;
    result.multLeft(r);
    line("quaternion, product from the left", five(result));
    result = q;
    result.invert();
    line("quaternion, inverse", five(result), five(q.inverse()));
    result = q;
    result.scaleAngle(2);
    line("quaternion, twice the angle", five(result));
    result.slerpThis(q, r, 0.25f);
    line("quaternion, a quarter of the way", five(result));
    Vec3f turned;
    Matrix matrix;
    q.getValue(matrix);
    matrix.multMatrixVec(Vec3f(1, 2, 3), turned);
    line("quaternion, its matrix", five(matrix), five(turned));
    line("quaternion of a matrix", five(Quaternion(matrix)));
    line("quaternion, equal", q == Quaternion(Vec3f(1, 2, 2), 0.75f), q == r, q.equals(r, 5));
}

void printMatrices() {
    const Matrix matrix = makeMatrix();
    Matrix other;
    other.setTransform(Vec3f(-1, 0, 2), Quaternion(Vec3f(0, 1, 0), 1));
    Matrix result(matrix);
    result.mult(other);
    line("matrix, product", five(result));
    result = matrix;
    result.multLeft(other);
    line("matrix, product from the left", five(result));
    matrix.inverse(result);
    line("matrix, inverted", five(result));
    result = matrix;
    line("matrix, inverted in place", result.invert(), five(result));
    line("matrix, inverted from", result.invertFrom(matrix), five(result));
    line("matrix, transposed", matrix.transposed(result), five(result));
    result = matrix;
    line("matrix, inverse of 3 x 3", result.invert3(), five(result));
    const Real32 determinants[2] = {matrix.det(), matrix.det3()};
    line("matrix, determinants", five(determinants, 2));
    result = matrix;
    result.add(other);
    line("matrix, sum", five(result));
    result.addScaled(other, -1);
    result.scale(2);
    line("matrix, scaled", five(result));
    result.negate();
    line("matrix, negative", five(result));
    Matrix flat;
    flat.setScale(1, 0, 1);
    line("matrix without an inverse", flat.inverse(result));
    Vec3f translation, scale;
    Quaternion rotation, orientation;
    matrix.getTransform(translation, rotation, scale, orientation);
    line("matrix, taken apart", five(translation));
    result.setTransform(translation, rotation, scale, orientation);
    line("matrix, put together again", result.equals(matrix, 1e-4f));
    result.setTransform(Vec3f(1, 2, 3), Quaternion(Vec3f(0, 0, 1), 1), Vec3f(2, 3, 4), Quaternion(Vec3f(1, 0, 0), 0.5f),
                        Vec3f(5, 6, 7));
    line("matrix with a centre", five(result));
    result.setTransform(Quaternion(Vec3f(0, 0, 1), 1));
    line("matrix of a rotation", five(result));
    result.setTransform(Vec3f(7, 8, 9));
    line("matrix of a translation", five(result));
    result.setScale(2, 3, 4);
    line("matrix, scale set", five(result));
    result.setRotate(Quaternion(Vec3f(1, 0, 0), 0.5f));
    line("matrix, rotation set", five(result));
    result.setTranslate(1, 2, 3);
    line("matrix, translation set", five(result));
    Real32 numbers[16];
    for (int i = 0; i < 16; ++i)
        numbers[i] = Real32(i);
    result.setValue(numbers);
    line("matrix of sixteen numbers", five(result));
    result.setValue(numbers, false);
    line("matrix of sixteen numbers, row by row", five(result));
    const Matrix rows(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    line("matrix of rows", five(rows), rows[1][2]);
    Pnt3f point;
    matrix.multMatrixPnt(Pnt3f(1, 2, 3), point);
    line("matrix by point", five(point));
    Matrix projection;
    projection[2][3] = -1;
    projection[3][3] = 0;
    projection.multFullMatrixPnt(Pnt3f(4, 6, -2), point);
    line("projection by point", five(point));
    line("matrices equal", matrix == makeMatrix(), matrix == other, matrix.equals(other, 10), matrix != other);
    std::ostringstream text;
    text << Matrix();
    line("matrix as text", text.str().size(), text.str().substr(0, 7));
}

void printBoxes() {
    BoxVolume box(-1, -2, -3, 1, 2, 3);
    Pnt3f centre;
    box.getCenter(centre);
    Vec3f size;
    box.getSize(size);
    line("box: centre and size", textOf(centre), five(size));
    Real32 enter = 0, leave = 0;
    const bool meets = box.intersect(Line(Pnt3f(-5, 0.5f, 0.5f), Vec3f(1, 0, 0)), enter, leave);
    line("box: where a line meets it", meets, enter, leave);
    line("box: lines beside it", box.intersect(Line(Pnt3f(-5, 3, 0), Vec3f(1, 0, 0))),
         box.intersect(Line(Pnt3f(-5, 3, 0), Vec3f(2, -1, 0))));
    line("box: boxes", box.intersect(BoxVolume(0, 0, 0, 9, 9, 9)), box.intersect(BoxVolume(2, 0, 0, 9, 9, 9)),
         box.intersect(BoxVolume()));
    line("box: on its surface", box.isOnSurface(Pnt3f(1, 0, 0)), box.isOnSurface(Pnt3f(0, 0, 0)));
    box.setBoundsByCenterAndSize(Pnt3f(1, 1, 1), Vec3f(2, 4, 6));
    line("box of centre and size", textOf(box.getMin()), textOf(box.getMax()));
    box.setEmpty();
    line("box, emptied", stateOf(box), box.getScalarVolume(), box.intersect(Pnt3f(0, 0, 0)));
    box.extendBy(BoxVolume());
    line("box, extended by an empty one", stateOf(box));
    box.extendBy(Pnt3f(1, 2, 3));
    line("box of a point", stateOf(box), textOf(box.getMin()), textOf(box.getMax()), box.getScalarVolume());
    box.setInfinite();
    box.extendBy(Pnt3f(9, 9, 9));
    line("infinite box", stateOf(box), box.intersect(Pnt3f(1000, 0, 0)));
    const Line ray(Pnt3f(1, 2, 3), Vec3f(0, 0, 2));
    line("line", textOf(ray.getPosition()), five(ray.getDirection()), ray.distance(Pnt3f(4, 6, 100)));
    line("line of two points", five(Line(Pnt3f(1, 0, 0), Pnt3f(3, 0, 0)).getDirection()));
}

} // namespace

void printTransforms() {
    printVectors();
    printQuaternions();
    printMatrices();
    printBoxes();
}

} // namespace ktTable
