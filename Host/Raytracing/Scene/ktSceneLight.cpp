// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads lights from the scene graph in world space, and calculates their irradiance without shadows.
#include "ktSceneLight.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <OpenSG/OSGDirectionalLight.h>
#include <OpenSG/OSGPointLight.h>
#include <OpenSG/OSGSpotLight.h>

namespace {

constexpr double nearestLightDistance = 1.0; // world units; limits the irradiance of near surfaces

bool readColor(const osg::Color4f& source, float* color) {
    for (osg::UInt32 i = 0; i < 3; ++i) {
        if (!std::isfinite(source[i]))
            return false;
        color[i] = std::max(0.0f, source[i]);
    }
    return color[0] + color[1] + color[2] > 0.0f;
}

bool readAxis(const osg::Matrix& toWorld, const osg::Vec3f& direction, double* axis) {
    osg::Vec3f turned;
    toWorld.multMatrixVec(direction, turned);
    const double length = std::hypot(std::hypot(double(turned[0]), double(turned[1])), double(turned[2]));
    if (!(length > 0.0) || !std::isfinite(length))
        return false;
    for (osg::UInt32 i = 0; i < 3; ++i)
        axis[i] = turned[i] / length;
    return true;
}

bool readPosition(const osg::Matrix& toWorld, const osg::Pnt3f& position, double* world) {
    osg::Pnt3f moved;
    toWorld.mult(position, moved);
    for (osg::UInt32 i = 0; i < 3; ++i)
        world[i] = moved[i];
    return std::isfinite(moved[0]) && std::isfinite(moved[1]) && std::isfinite(moved[2]);
}

bool readLight(const osg::NodePtr& node, ktSceneLight& light) {
    const osg::LightPtr core = osg::LightPtr::dcast(node->getCore());
    if (core == osg::NullFC || !core->getOn() || !readColor(core->getDiffuse(), light.color))
        return false;
    // Position and direction are in the space of the beacon. Without a beacon, they are in that of the node.
    const osg::NodePtr beacon = core->getBeacon();
    const osg::Matrix toWorld = beacon != osg::NullFC ? beacon->getToWorld() : node->getToWorld();

    const osg::DirectionalLightPtr directional = osg::DirectionalLightPtr::dcast(core);
    if (directional != osg::NullFC) {
        light.kind = ktSceneLight::Kind::Directional;
        return readAxis(toWorld, directional->getDirection(), light.axis);
    }
    const osg::PointLightPtr point = osg::PointLightPtr::dcast(core);
    if (point == osg::NullFC || !readPosition(toWorld, point->getPosition(), light.position))
        return false;
    light.kind = ktSceneLight::Kind::Point;
    const osg::SpotLightPtr spot = osg::SpotLightPtr::dcast(core);
    if (spot == osg::NullFC)
        return true;
    light.kind = ktSceneLight::Kind::Spot;
    light.exponent = std::max(0.0f, spot->getSpotExponent());
    const double quarterTurn = 1.5707963267948966;
    // As in OpenGL, a cone wider than a half space shines in all directions.
    light.cosineOfCutOff =
        spot->getSpotCutOff() > quarterTurn * 1.0001 ? -1.0 : std::cos(double(spot->getSpotCutOff()));
    return std::isfinite(light.exponent) && std::isfinite(light.cosineOfCutOff) &&
           readAxis(toWorld, spot->getDirection(), light.axis);
}

} // namespace

bool ktSceneLight::vectorFrom(const float* point, double* direction, double& distance) const {
    std::copy(axis, axis + 3, direction);
    distance = FLT_MAX;
    if (kind == Kind::Directional)
        return true;
    for (int i = 0; i < 3; ++i)
        direction[i] = position[i] - point[i];
    distance = std::sqrt(direction[0] * direction[0] + direction[1] * direction[1] + direction[2] * direction[2]);
    if (!(distance > 0.0) || distance > FLT_MAX)
        return false;
    for (int i = 0; i < 3; ++i)
        direction[i] /= distance;
    return true;
}

bool ktSceneLight::directionFrom(const float* point, float* direction, float& distance) const {
    double way[3], length = 0.0;
    if (!vectorFrom(point, way, length))
        return false;
    for (int i = 0; i < 3; ++i)
        direction[i] = static_cast<float>(way[i]);
    distance = static_cast<float>(length);
    return true;
}

bool ktSceneLight::irradianceAt(const float* point, const float* normal, float* irradiance) const {
    double direction[3], distance = 0.0;
    if (!vectorFrom(point, direction, distance))
        return false;
    double strength = direction[0] * normal[0] + direction[1] * normal[1] + direction[2] * normal[2];
    if (kind != Kind::Directional) {
        const double metres = std::max(distance, nearestLightDistance) / ktUnitsPerMetre;
        strength /= metres * metres;
    }
    if (kind == Kind::Spot) {
        const double cosine = -(direction[0] * axis[0] + direction[1] * axis[1] + direction[2] * axis[2]);
        if (cosine < cosineOfCutOff)
            return false;
        strength *= std::pow(std::max(0.0, cosine), exponent);
    }
    if (!(strength > 0.0))
        return false;
    for (int i = 0; i < 3; ++i)
        irradiance[i] = static_cast<float>(std::min(strength * color[i], 1.0e30));
    return true;
}

std::vector<ktSceneLight> ktReadLights(const std::vector<osg::NodePtr>& nodes) {
    std::vector<ktSceneLight> lights;
    for (const osg::NodePtr& node : nodes) {
        ktSceneLight light;
        if (node != osg::NullFC && node->getCore() != osg::NullFC && readLight(node, light))
            lights.push_back(light);
    }
    return lights;
}
