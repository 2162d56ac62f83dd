// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <vector>

/// World units in a metre: world space is in millimetres, light falls off by the metre.
constexpr double ktUnitsPerMetre = 1000.0;

/// A light in world space. A directional light sends its diffuse colour to a surface that faces it; a point light
/// sends it over the squared distance in metres; a spot light multiplies that by the cosine of the angle to its axis,
/// raised to its exponent, and sends nothing outside its cone. The attenuation factors of the scene graph are not used.
struct ktSceneLight {
    enum class Kind { Directional, Point, Spot };

    Kind kind = Kind::Directional;
    float color[3] = {0, 0, 0};     ///< not negative
    double position[3] = {0, 0, 0}; ///< not for a directional light
    double axis[3] = {0, 0, 1};     ///< unit; directional: to the light; spot: the way it shines
    double exponent = 0;
    double cosineOfCutOff = -1;

    /// What the light would send to a point of a surface if nothing stood between.
    /// @param point, normal three floats each, world space; the normal has unit length
    /// @param arriving      red, green, blue, the cosine to the normal included
    /// @return false when nothing arrives
    bool irradianceAt(const float* point, const float* normal, float* arriving) const;
    /// The way from a point to the light.
    /// @param direction three floats, a unit vector
    /// @param distance  world units; the largest finite float for a light at infinity
    /// @return false when the point is the light's own
    bool directionFrom(const float* point, float* direction, float& distance) const;

private:
    bool vectorFrom(const float* point, double* direction, double& distance) const;
};

/// The lights of these nodes that are on and shine. Nodes without a light of a known kind, or with values that are not
/// finite, are left out. Main thread only.
std::vector<ktSceneLight> ktReadLights(const std::vector<osg::NodePtr>& nodes);
