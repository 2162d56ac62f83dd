// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <vector>

/// World units per metre: world space is in millimetres, light falls off by metres.
constexpr double ktUnitsPerMetre = 1000.0;

/// A light in world space. A directional light gives a surface that faces it its diffuse colour as irradiance. A point
/// light divides that by the squared distance in metres. A spot light also multiplies by the cosine of the angle to its
/// axis, raised to its exponent, and gives nothing outside its cone. Attenuation factors of OpenSG are not used.
struct ktSceneLight {
    enum class Kind { Directional, Point, Spot };

    Kind kind = Kind::Directional;
    float color[3] = {0, 0, 0};     ///< not negative
    double position[3] = {0, 0, 0}; ///< unused by a directional light
    double axis[3] = {0, 0, 1};     ///< unit; directional: to the light; spot: away from the light
    double exponent = 0;
    double cosineOfCutOff = -1;

    /// Irradiance at a point of a surface, without shadows.
    /// @param point, normal three floats each, world space; the normal has unit length
    /// @param irradiance    red, green, blue; includes the cosine to the normal
    /// @return false if it is zero; `irradiance` is then not set
    bool irradianceAt(const float* point, const float* normal, float* irradiance) const;
    /// Direction and distance from a point to the light.
    /// @param direction three floats, a unit vector
    /// @param distance  world units; the largest finite float for a light at infinity
    /// @return false if the light is at the point, or too far
    bool directionFrom(const float* point, float* direction, float& distance) const;

private:
    bool vectorFrom(const float* point, double* direction, double& distance) const;
};

/// The lights of these nodes that are on and shine. Nodes without a light of a known kind, or with values that are not
/// finite, are left out. Main thread only.
std::vector<ktSceneLight> ktReadLights(const std::vector<osg::NodePtr>& nodes);
