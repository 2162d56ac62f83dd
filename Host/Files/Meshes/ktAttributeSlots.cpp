// SPDX-License-Identifier: LGPL-2.1-or-later
// Decides which glTF attributes become texture coordinate channels of a geometry, so that refinement keeps them.
#include "ktAttributeSlots.h"

#include "ktResultAttributes.h"

#include <cstring>

namespace {

template <class Property>
osg::GeoTexCoordsPtr make(const std::vector<float>& values) {
    typedef typename Property::StoredFieldType::StoredType Stored;
    const typename Property::PtrType property = Property::create();
    osg::beginEditCP(property);
    property->resize(values.size() * sizeof(float) / sizeof(Stored));
    if (!values.empty())
        std::memcpy(property->getData(), values.data(), values.size() * sizeof(float));
    osg::endEditCP(property);
    return property;
}

} // namespace

std::optional<int> ktFindTexCoordChannel(std::uint64_t n) {
    if (n <= 4)
        return static_cast<int>(n);
    return n == 5 ? std::optional<int>(6) : std::nullopt;
}

osg::GeoTexCoordsPtr ktMakeTexCoords(int width, const std::vector<float>& values) {
    switch (width) {
    case 1:
        return make<osg::GeoTexCoords1f>(values);
    case 2:
        return make<osg::GeoTexCoords2f>(values);
    case 3:
        return make<osg::GeoTexCoords3f>(values);
    default:
        return make<osg::GeoTexCoords4f>(values);
    }
}

bool ktNeedsSlot(const std::string& attribute) {
    if (attribute == "POSITION" || attribute == "NORMAL" || attribute == "COLOR_0")
        return false;
    if (attribute.compare(0, 7, "JOINTS_") == 0 || attribute.compare(0, 8, "WEIGHTS_") == 0)
        return false;
    return !ktIsResultAttribute(attribute);
}
