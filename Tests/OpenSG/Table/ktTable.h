// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef KTTABLE_H
#define KTTABLE_H

// What the parts of the table share: its lines, texts of values, and small scenes.
#include <cmath>
#include <iomanip>
#include <iostream>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGQuaternion.h>
#include <OpenSG/OSGThread.h>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace ktTable {

using namespace osg;

// The parts of the table.
void printTrees();
void printProperties();
void printGeometry();
void printTransforms();

/// Prints a line: the name of the case, then what the scene graph does.
template <class... ValuesT>
void line(const char* name, const ValuesT&... values) {
    std::ostringstream text;
    text << std::setprecision(9) << std::boolalpha;
    ((text << ' ' << values), ...);
    std::cout << name << ':' << text.str() << '\n';
}

inline std::string textOf(const Pnt3f& p) {
    std::ostringstream text;
    text << std::setprecision(9) << '(' << p[0] << ' ' << p[1] << ' ' << p[2] << ')';
    return text.str();
}
inline std::string textOf(const Color3f& c) {
    return textOf(Pnt3f(c[0], c[1], c[2]));
}
inline std::string textOf(const Matrix& m) {
    std::ostringstream text;
    text << std::setprecision(7);
    for (UInt32 row = 0; row < 4; ++row)
        for (UInt32 column = 0; column < 4; ++column)
            text << (row + column == 0 ? "" : " ") << m[column][row] + 0.0f;
    return text.str();
}
/// Values with five digits, for results that are calculated.
template <class ValuesT>
std::string five(const ValuesT& values, const UInt32 count) {
    std::ostringstream text;
    text << std::setprecision(5) << '(';
    for (UInt32 i = 0; i < count; ++i) {
        const Real32 rounded = std::abs(values[i]) < 1e-6f ? 0.0f : Real32(values[i]);
        text << (i == 0 ? "" : " ") << rounded;
    }
    text << ')';
    return text.str();
}
inline std::string five(const Quaternion& q) {
    return five(q.getValues(), 4);
}
inline std::string five(const Vec3f& v) {
    return five(v, 3);
}
inline std::string five(const Pnt3f& v) {
    return five(v, 3);
}
inline std::string five(const Matrix& m) {
    return five(m.getValues(), 16);
}
template <class VolumeT>
std::string stateOf(const VolumeT& volume) {
    std::string text;
    text += volume.isValid() ? "valid " : "";
    text += volume.isEmpty() ? "empty " : "";
    text += volume.isStatic() ? "static " : "";
    text += volume.isInfinite() ? "infinite " : "";
    return text;
}

/// Records what the change list of this thread gets, and names the containers in it.
class Recorder {
public:
    Recorder() : list(*Thread::getCurrentChangeList()) {
        list.setReadOnly(false);
        list.clearAll();
    }
    ~Recorder() {
        list.clearAll();
        list.setReadOnly(true);
    }
    void name(const FieldContainerPtr& container, const char* text) {
        names.emplace_back(container.getFieldContainerId(), text);
    }
    std::string take() {
        std::ostringstream text;
        for (auto entry = list.beginChanged(); entry != list.endChanged(); ++entry)
            text << nameOf(entry->first) << '/' << std::hex << (entry->second & 0xffffffff) << std::dec << ' ';
        text << "+ref";
        for (auto entry = list.beginAddRefd(); entry != list.endAddRefd(); ++entry)
            text << ' ' << nameOf(*entry);
        text << " -ref";
        for (auto entry = list.beginSubRefd(); entry != list.endSubRefd(); ++entry)
            text << ' ' << nameOf(*entry);
        text << " new " << list.sizeCreated() << " gone " << list.sizeDestroyed();
        list.clearAll();
        return text.str();
    }

private:
    std::string nameOf(UInt32 id) const {
        for (const auto& each : names)
            if (each.first == id)
                return each.second;
        return "other";
    }

    ChangeList& list;
    std::vector<std::pair<UInt32, std::string>> names;
};

inline NodePtr makeNode(const NodeCorePtr& core) {
    const NodePtr node = Node::create();
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(core);
    endEditCP(node, Node::CoreFieldMask);
    return node;
}

inline GeometryPtr makeRow(const std::vector<std::pair<UInt8, UInt32>>& primitives) {
    const GeoPTypesUI8Ptr types = GeoPTypesUI8::create();
    const GeoPLengthsUI32Ptr lengths = GeoPLengthsUI32::create();
    const GeoPositions3fPtr positions = GeoPositions3f::create();
    UInt32 count = 0;
    for (const auto& primitive : primitives) {
        types->push_back(primitive.first);
        lengths->push_back(primitive.second);
        count += primitive.second;
    }
    for (UInt32 i = 0; i < count; ++i)
        positions->push_back(Pnt3f(Real32(i), Real32(i % 3), Real32(i % 2)));
    const GeometryPtr geometry = Geometry::create();
    beginEditCP(geometry);
    geometry->setTypes(types);
    geometry->setLengths(lengths);
    geometry->setPositions(positions);
    endEditCP(geometry);
    return geometry;
}

template <class IteratorT>
std::string partsOf(IteratorT it, const IteratorT& end, UInt32 corners) {
    std::ostringstream text;
    for (; it != end; ++it) {
        text << '[';
        for (UInt32 i = 0; i < corners; ++i)
            text << (i == 0 ? "" : " ") << it.getPositionIndex(Int32(i));
        text << ']';
    }
    return text.str();
}

} // namespace ktTable

#endif
