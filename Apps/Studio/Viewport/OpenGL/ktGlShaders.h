// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <map>
#include <memory>
#include <QOpenGLShaderProgram>
#include <QString>

/// What a fragment shows.
enum class ktGlSurface {
    Baked,           ///< colour times light
    Light,           ///< direct and bounced light
    Indirect,        ///< bounced light
    Occlusion,       ///< w
    FalseColours,    ///< w on the colour scale
    Colours,         ///< colour without light
    Hatched,         ///< no result: neutral stripes
    HatchedColours,  ///< no result: stripes over the surface's colour
    ShadowLight,     ///< ground plane: black, as opaque as light is missing
    ShadowOcclusion, ///< the same for w
    Wire,            ///< edges
    Mark             ///< white, for the outline of marked uses
};

/// A program is made for each combination that is needed.
struct ktGlVariant {
    ktGlSurface surface = ktGlSurface::Baked;
    bool hasLamps = false, hasVertexColors = false, hasTexture = false, isMask = false, hasAlpha = false;
    bool hasNormals = false; ///< else the normals of the triangles
    bool hasHeadlight = false;

    bool needsResults() const;
    bool needsColor() const;
    bool needsNormal() const;
    /// The same picture with the fewest properties.
    ktGlVariant reduced() const;
    unsigned key() const;
};

/// The programs, compiled when they are first needed. All calls need the current context.
class ktGlShaders {
public:
    /// Numbers of the vertex attributes.
    enum Attribute {
        Position,
        Results,
        Lamps,
        VertexColor,
        TexCoord,
        Normal,
        ToViewX,
        ToViewY,
        ToViewZ,
        Base,
        PerGathered
    };

    /// @throws std::runtime_error with the compiler's message
    QOpenGLShaderProgram& surface(const ktGlVariant& variant);
    /// Fills the view with `bottom` to `top`.
    QOpenGLShaderProgram& background();
    /// Draws the outline of the pixels that are set in `mask`.
    QOpenGLShaderProgram& outline();

private:
    QOpenGLShaderProgram& make(unsigned key, const QByteArray& vertex, const QByteArray& fragment);

    std::map<unsigned, std::unique_ptr<QOpenGLShaderProgram>> programs;
};
