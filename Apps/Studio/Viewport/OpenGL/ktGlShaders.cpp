// SPDX-License-Identifier: LGPL-2.1-or-later
// The programs that run on the display: surfaces, background, outline.
#include "ktGlShaders.h"

#include "ktFalseColours.h"
#include "ktPreviewRenderer.h"

#include <QVector3D>
#include <stdexcept>
#include <vector>

namespace {

constexpr const char* version = "#version 330 core\n";

// View space: x right, y up, the eye looks along -z.
constexpr const char* surfaceVertex = R"(
layout(location = 0) in vec3 position;
layout(location = 1) in vec4 results;
layout(location = 2) in vec4 lamps;
layout(location = 3) in vec4 vertexColor;
layout(location = 4) in vec2 texCoord;
layout(location = 5) in vec4 normal;
layout(location = 6) in vec4 toViewX;
layout(location = 7) in vec4 toViewY;
layout(location = 8) in vec4 toViewZ;
layout(location = 9) in vec4 base;
layout(location = 10) in vec3 perGathered;
uniform mat4 projection;
invariant gl_Position;
#ifdef TEXTURE
uniform vec3 toPlaceU, toPlaceV;
out vec2 place;
#endif
#ifdef COLOR
out vec4 color;
#endif
#ifdef LIGHT
out vec3 light;
#endif
#ifdef NORMAL
out vec3 inView;
#ifdef NORMALS
out vec3 viewNormal;
#endif
#endif

void main() {
    vec4 here = vec4(position, 1.0);
    vec3 view = vec3(dot(toViewX, here), dot(toViewY, here), dot(toViewZ, here));
    gl_Position = projection * vec4(view, 1.0);
#ifdef TEXTURE
    place = vec2(dot(toPlaceU, vec3(texCoord, 1.0)), dot(toPlaceV, vec3(texCoord, 1.0)));
#endif
#ifdef COLOR
    color = base;
#ifdef VERTEX_COLORS
    color *= vertexColor;
#endif
#endif
#ifdef LIGHT
#ifdef LAMPS
    vec3 direct = lamps.rgb;
#else
    vec3 direct = results.www;
#endif
    vec3 bounced = results.rgb * perGathered;
    light = LIGHT;
#endif
#ifdef NORMAL
    inView = view;
#ifdef NORMALS
    // By the cofactors, which equal the inverse transpose up to a factor.
    viewNormal = normal.x * cross(vec3(toViewX.y, toViewY.y, toViewZ.y), vec3(toViewX.z, toViewY.z, toViewZ.z)) +
                 normal.y * cross(vec3(toViewX.z, toViewY.z, toViewZ.z), vec3(toViewX.x, toViewY.x, toViewZ.x)) +
                 normal.z * cross(vec3(toViewX.x, toViewY.x, toViewZ.x), vec3(toViewX.y, toViewY.y, toViewZ.y));
#endif
#endif
}
)";

constexpr const char* surfaceFragment = R"(
uniform float exposure;
#ifdef TEXTURE
uniform sampler2D image;
in vec2 place;
#endif
#ifdef COLOR
in vec4 color;
#endif
#ifdef LIGHT
in vec3 light;
#endif
#ifdef MASK
uniform float alphaCutoff;
#endif
#ifdef RAMP
uniform vec3 ramp[RAMP];
#endif
#ifdef NORMAL
uniform bool isParallel;
in vec3 inView;
#ifdef NORMALS
in vec3 viewNormal;
#endif
#endif
#ifdef STRIPES
uniform float stripesPerPixel;
#endif
out vec4 shown;

void main() {
    vec4 surface = vec4(1.0);
#ifdef COLOR
    surface = color;
#endif
#ifdef TEXTURE
    surface *= texture(image, place);
#endif
#ifdef MASK
    if (surface.a < alphaCutoff)
        discard;
#endif
#ifndef ALPHA
    surface.a = 1.0;
#endif
    vec3 result = exposure * (SHOWN);
#ifdef SHADOW
    surface.a = clamp(1.0 - (light.r + light.g + light.b) / 3.0, 0.0, 1.0);
#endif
#ifdef RAMP
    float position = clamp(light.r, 0.0, 1.0) * float(RAMP - 1);
    int index = min(int(position), RAMP - 2);
    result = mix(ramp[index], ramp[index + 1], position - float(index));
#endif
#ifdef NORMAL
    vec3 flatNormal = cross(dFdx(inView), dFdy(inView));
#ifdef NORMALS
    vec3 across = dot(viewNormal, viewNormal) > 0.0 ? viewNormal : flatNormal;
#else
    vec3 across = flatNormal;
#endif
    vec3 toEye = isParallel ? vec3(0.0, 0.0, 1.0) : normalize(-inView);
    float facing = dot(across, across) > 0.0 ? abs(dot(normalize(across), toEye)) : 1.0;
    result *= mix(AMBIENT, 1.0, facing);
#endif
#ifdef STRIPES
    float stripe = step(0.5, fract((gl_FragCoord.x + gl_FragCoord.y) * stripesPerPixel));
    result *= mix(STRIPES, 1.0, stripe);
#endif
    shown = vec4(result, surface.a);
}
)";

// One triangle that covers the view.
constexpr const char* wholeVertex = R"(
out vec2 place;
void main() {
    place = vec2(gl_VertexID == 1 ? 2.0 : 0.0, gl_VertexID == 2 ? 2.0 : 0.0);
    gl_Position = vec4(2.0 * place - 1.0, 0.0, 1.0);
}
)";

constexpr const char* backgroundFragment = R"(
uniform vec3 bottom, top;
uniform vec2 part; // heights of the lower and the upper edge
in vec2 place;
out vec4 shown;
void main() {
    shown = vec4(mix(bottom, top, mix(part.x, part.y, place.y)), 1.0);
}
)";

constexpr const char* outlineFragment = R"(
uniform sampler2D mask;
uniform int radius;
uniform vec3 color;
out vec4 shown;
void main() {
    ivec2 here = ivec2(gl_FragCoord.xy), last = textureSize(mask, 0) - 1;
    float most = 0.0;
    for (int y = -radius; y <= radius; ++y)
        for (int x = -radius; x <= radius; ++x)
            most = max(most, texelFetch(mask, clamp(here + ivec2(x, y), ivec2(0), last), 0).r);
    float inside = texelFetch(mask, here, 0).r;
    if (most < 0.5 || inside > 0.5)
        discard;
    shown = vec4(color, 1.0);
}
)";

QByteArray define(const char* name, const QByteArray& value = "1") {
    return QByteArray("#define ") + name + " " + value + "\n";
}

/// What `light` is.
QByteArray lightOf(ktGlSurface surface) {
    switch (surface) {
    case ktGlSurface::Occlusion:
    case ktGlSurface::FalseColours:
    case ktGlSurface::ShadowOcclusion:
        return "results.www";
    case ktGlSurface::Indirect:
        return "bounced";
    default:
        return "direct + bounced";
    }
}

/// What is shown, before exposure.
QByteArray shownOf(ktGlSurface surface) {
    switch (surface) {
    case ktGlSurface::Baked:
        return "surface.rgb * light";
    case ktGlSurface::Colours:
    case ktGlSurface::HatchedColours:
        return "surface.rgb";
    case ktGlSurface::Hatched:
        return "vec3(0.42, 0.38, 0.52)";
    case ktGlSurface::ShadowLight:
    case ktGlSurface::ShadowOcclusion:
    case ktGlSurface::FalseColours:
        return "vec3(0.0)";
    case ktGlSurface::Wire:
        return "vec3(0.0, 0.02, 0.05)";
    case ktGlSurface::Mark:
        return "vec3(1.0)";
    default:
        return "light";
    }
}

} // namespace

bool ktGlVariant::needsResults() const {
    switch (surface) {
    case ktGlSurface::Colours:
    case ktGlSurface::Hatched:
    case ktGlSurface::HatchedColours:
    case ktGlSurface::Wire:
    case ktGlSurface::Mark:
        return false;
    default:
        return true;
    }
}

bool ktGlVariant::needsColor() const {
    return surface == ktGlSurface::Baked || surface == ktGlSurface::Colours || surface == ktGlSurface::HatchedColours ||
           isMask || hasAlpha;
}

bool ktGlVariant::needsNormal() const {
    return hasHeadlight || surface == ktGlSurface::Hatched || surface == ktGlSurface::HatchedColours;
}

ktGlVariant ktGlVariant::reduced() const {
    ktGlVariant result = *this;
    if (surface == ktGlSurface::Wire || surface == ktGlSurface::Mark || surface == ktGlSurface::FalseColours)
        result.hasHeadlight = false;
    if (surface == ktGlSurface::Wire || surface == ktGlSurface::Mark || surface == ktGlSurface::ShadowLight ||
        surface == ktGlSurface::ShadowOcclusion)
        result.isMask = result.hasAlpha = false;
    result.hasLamps = hasLamps && (surface == ktGlSurface::Baked || surface == ktGlSurface::Light ||
                                   surface == ktGlSurface::ShadowLight);
    result.hasVertexColors = hasVertexColors && result.needsColor();
    result.hasTexture = hasTexture && result.needsColor();
    result.hasNormals = hasNormals && result.needsNormal();
    return result;
}

unsigned ktGlVariant::key() const {
    unsigned bits = static_cast<unsigned>(surface);
    for (const bool bit : {hasLamps, hasVertexColors, hasTexture, isMask, hasAlpha, hasNormals, hasHeadlight})
        bits = bits << 1 | (bit ? 1u : 0u);
    return bits + 2; // 0 and 1 are the background and the outline
}

QOpenGLShaderProgram& ktGlShaders::make(unsigned key, const QByteArray& vertex, const QByteArray& fragment) {
    std::unique_ptr<QOpenGLShaderProgram>& program = programs[key];
    if (program)
        return *program;
    program = std::make_unique<QOpenGLShaderProgram>();
    if (!program->addShaderFromSourceCode(QOpenGLShader::Vertex, version + vertex) ||
        !program->addShaderFromSourceCode(QOpenGLShader::Fragment, version + fragment) || !program->link()) {
        const std::string log = program->log().toStdString();
        program.reset();
        throw std::runtime_error("OpenGL rejects a program: " + log);
    }
    return *program;
}

QOpenGLShaderProgram& ktGlShaders::background() {
    return make(0, wholeVertex, backgroundFragment);
}

QOpenGLShaderProgram& ktGlShaders::outline() {
    return make(1, wholeVertex, outlineFragment);
}

QOpenGLShaderProgram& ktGlShaders::surface(const ktGlVariant& variant) {
    if (const auto found = programs.find(variant.key()); found != programs.end() && found->second)
        return *found->second;
    QByteArray defines = define("SHOWN", shownOf(variant.surface));
    const auto add = [&defines](bool on, const char* name, const QByteArray& value = "1") {
        if (on)
            defines += define(name, value);
    };
    add(variant.needsResults(), "LIGHT", lightOf(variant.surface));
    add(variant.hasLamps, "LAMPS");
    add(variant.needsColor(), "COLOR");
    add(variant.hasVertexColors, "VERTEX_COLORS");
    add(variant.hasTexture, "TEXTURE");
    add(variant.isMask, "MASK");
    add(variant.hasAlpha, "ALPHA");
    add(variant.needsNormal(), "NORMAL");
    add(variant.needsNormal(), "AMBIENT", QByteArray::number(static_cast<double>(ktHeadlightAmbient)));
    add(variant.hasNormals, "NORMALS");
    add(variant.surface == ktGlSurface::Hatched || variant.surface == ktGlSurface::HatchedColours, "STRIPES", "0.55");
    add(variant.surface == ktGlSurface::ShadowLight || variant.surface == ktGlSurface::ShadowOcclusion, "SHADOW");
    const bool hasRamp = variant.surface == ktGlSurface::FalseColours;
    add(hasRamp, "RAMP", QByteArray::number(static_cast<int>(ktFalseColours::count)));
    QOpenGLShaderProgram& program = make(variant.key(), defines + surfaceVertex, defines + surfaceFragment);
    if (hasRamp) {
        std::vector<QVector3D> colors;
        for (const auto& color : ktFalseColours::linear())
            colors.emplace_back(color[0], color[1], color[2]);
        program.bind();
        program.setUniformValueArray("ramp", colors.data(), static_cast<int>(colors.size()));
    }
    return program;
}
