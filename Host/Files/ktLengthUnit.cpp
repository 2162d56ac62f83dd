// SPDX-License-Identifier: LGPL-2.1-or-later
// Parses length units, and decides how many millimetres one unit of a scene is.
#include "ktLengthUnit.h"

#include "ktGeometryInstances.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

namespace {

struct NamedUnit {
    const char* name;
    double millimetres;
};

const NamedUnit units[] = {{"auto", 0.0}, {"m", 1000.0}, {"cm", 10.0}, {"mm", 1.0}, {"inch", 25.4}, {"foot", 304.8}};

const double assumedDiagonal_mm = 3000.0;

std::string readable(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", number);
    return text;
}

} // namespace

std::optional<ktLengthUnit> ktParseLengthUnit(const std::string& text) {
    for (const NamedUnit& unit : units)
        if (text == unit.name)
            return ktLengthUnit{unit.millimetres};
    double factor = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), factor);
    if (error != std::errc() || end != text.data() + text.size() || !(factor > 0.0) || factor > 1e12)
        return std::nullopt;
    return ktLengthUnit{factor};
}

double ktSceneDiagonal(const osg::NodePtr& root) {
    double low[3], high[3];
    std::fill_n(low, 3, std::numeric_limits<double>::max());
    std::fill_n(high, 3, std::numeric_limits<double>::lowest());
    ktForEachGeometryInstance(root, ktInstances::All, [&](const ktGeometryInstance& instance) {
        const auto positions = osg::GeoPositions3fPtr::dcast(instance.geometry->getPositions());
        if (positions == osg::NullFC || osg::UShadowMaterialPtr::dcast(instance.geometry->getMaterial()) != osg::NullFC)
            return true;
        // In double: positions may be as large as the largest float.
        for (const osg::Pnt3f& point : positions->getField())
            for (osg::UInt32 axis = 0; axis < 3; ++axis) {
                double value = instance.toWorld[3][axis];
                for (osg::UInt32 k = 0; k < 3; ++k)
                    value += double(instance.toWorld[k][axis]) * point[k];
                if (std::isfinite(value)) {
                    low[axis] = std::min(low[axis], value);
                    high[axis] = std::max(high[axis], value);
                }
            }
        return true;
    });
    return low[0] > high[0] ? 0.0 : std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
}

double ktDecideUnit(const ktLengthUnit& unit, double diagonal, ktFileUnit fileUnit, std::string& note) {
    if (!unit.isAutomatic())
        return unit.millimetres;
    const bool isMetres = fileUnit != ktFileUnit::Unnamed;
    if (isMetres && diagonal >= 0.01 && diagonal <= 100.0)
        return 1000.0;
    if (fileUnit == ktFileUnit::Named && diagonal > 0.0 && std::isfinite(diagonal))
        return 1000.0;
    const double factor = assumedDiagonal_mm / diagonal;
    if (!(diagonal > 0.0) || !std::isfinite(factor) || !(factor > 0.0)) {
        note = "The scene has no extent; its unit is taken for a metre.";
        return 1000.0;
    }
    note = isMetres ? "The scene would have a diagonal of " + readable(diagonal) + " m, which is hardly meant"
                    : "The file does not say what its unit is";
    note += "; its diagonal of " + readable(diagonal) + " units is taken for 3 m.";
    return factor;
}
