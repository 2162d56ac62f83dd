// SPDX-License-Identifier: LGPL-2.1-or-later
// Draws a picture of the scene with OpenGL, step by step.
#include "ktGlPicture.h"

#include <algorithm>
#include <cmath>
#include <QElapsedTimer>
#include <QMatrix4x4>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QVector2D>
#include <QVector3D>

namespace {

constexpr std::size_t mostTrianglesOfAStep = 150000;

/// What the shaders read for one use.
struct Use {
    float toView[3][4]; // rows
    float base[4];
    float perGathered[3];
    float spare;
};

QMatrix4x4 matrixOf(const std::array<double, 16>& columns) {
    QMatrix4x4 matrix;
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row)
            matrix(row, column) =
                static_cast<float>(columns[4 * static_cast<std::size_t>(column) + static_cast<std::size_t>(row)]);
    return matrix;
}

/// Shows only a part of the view, from the top left.
QMatrix4x4 zoomedTo(const QRectF& part) {
    QMatrix4x4 matrix;
    matrix.scale(static_cast<float>(1 / part.width()), static_cast<float>(1 / part.height()));
    matrix.translate(static_cast<float>(1 - 2 * part.center().x()), static_cast<float>(2 * part.center().y() - 1));
    return matrix;
}

ktGlSurface surfaceOf(ktViewMode mode) {
    switch (mode) {
    case ktViewMode::Baked:
        return ktGlSurface::Baked;
    case ktViewMode::Occlusion:
        return ktGlSurface::Occlusion;
    case ktViewMode::IndirectLight:
        return ktGlSurface::Indirect;
    case ktViewMode::BakedLight:
        return ktGlSurface::Light;
    case ktViewMode::SurfaceColours:
        return ktGlSurface::Colours;
    case ktViewMode::FalseColours:
        break;
    }
    return ktGlSurface::FalseColours;
}

QVector3D vectorOf(const std::array<float, 3>& color) {
    return {color[0], color[1], color[2]};
}

} // namespace

ktGlPicture::ktGlPicture(ktGl& gl_, ktGlShaders& shaders_, ktGlMeshes& meshes_, ktGlTextures& textures_)
    : gl(gl_), shaders(shaders_), meshes(meshes_), textures(textures_), colors(gl_) {
    gl.glGenVertexArrays(1, &vertexArray);
    gl.glGenBuffers(1, &useBuffer);
}

ktGlPicture::~ktGlPicture() {
    gl.glDeleteVertexArrays(1, &vertexArray);
    gl.glDeleteBuffers(1, &useBuffer);
    gl.glDeleteFramebuffers(1, &maskFramebuffer);
    gl.glDeleteTextures(1, &maskTexture);
}

void ktGlPicture::choosePasses() {
    const ktViewLook& look = request.look;
    const int width = request.size.width();
    passes.clear();
    if (look.comparison == ktComparison::None) {
        passes.push_back({look.mode, false, 0, width});
        return;
    }
    const double place = (look.divider - request.part.left()) / request.part.width() * width;
    const int divider = static_cast<int>(std::lround(std::clamp(place, 0.0, static_cast<double>(width))));
    if (divider > 0)
        passes.push_back({look.comparison == ktComparison::WithoutLight ? ktViewMode::SurfaceColours : look.mode,
                          look.comparison == ktComparison::EarlierResults, 0, divider});
    if (divider < width)
        passes.push_back({look.mode, false, divider, width});
}

void ktGlPicture::uploadUses(const ktViewScene& from) {
    const std::array<double, 16> view = request.camera.viewMatrix();
    std::vector<Use> uses;
    uses.reserve(list.uses.size());
    for (const std::uint32_t index : list.uses) {
        const ktViewUse& use = from.uses[index];
        Use out{};
        for (std::size_t row = 0; row < 3; ++row)
            for (std::size_t column = 0; column < 4; ++column) {
                // In double precision: far from the origin, the parts cancel.
                double value = column == 3 ? view[12 + row] : 0;
                for (std::size_t i = 0; i < 3; ++i)
                    value += view[4 * i + row] *
                             double(use.toWorld[static_cast<osg::UInt32>(column)][static_cast<osg::UInt32>(i)]);
                out.toView[row][column] = static_cast<float>(value);
            }
        std::copy_n(from.materials[use.material].base.begin(), 4, out.base);
        std::copy_n(use.perGathered.begin(), 3, out.perGathered);
        uses.push_back(out);
    }
    gl.glBindBuffer(GL_ARRAY_BUFFER, useBuffer);
    gl.glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(uses.size() * sizeof(Use)), uses.data(), GL_STREAM_DRAW);
}

void ktGlPicture::addSteps(Kind kind, std::size_t pass, std::size_t beginBatch, std::size_t endBatch) {
    for (std::size_t index = beginBatch; index < endBatch; ++index) {
        const ktDrawBatch& batch = list.batches[index];
        const std::size_t indexCount = 3 * batch.triangles;
        if (indexCount == 0)
            continue;
        const auto usesOfAStep =
            static_cast<std::uint32_t>(std::max<std::size_t>(1, mostTrianglesOfAStep / batch.triangles));
        for (std::uint32_t use = 0; use < batch.count; use += usesOfAStep)
            for (std::size_t first = 0; first < indexCount; first += 3 * mostTrianglesOfAStep)
                steps.push_back({kind, pass, index, use, std::min(usesOfAStep, batch.count - use), first,
                                 std::min(3 * mostTrianglesOfAStep, indexCount - first)});
    }
}

bool ktGlPicture::begin(const ktGlRequest& newRequest, const ktViewScene& newScene) {
    request = newRequest;
    scene = &newScene;
    steps.clear();
    nextStep = 0;
    if (!colors.resize(request.size, request.samples))
        return false;
    projection = zoomedTo(request.part) * matrixOf(request.camera.projectionMatrix(request.aspect, newScene.allBounds));
    ktDrawChoice choice;
    choice.aspect = request.aspect;
    choice.height_px = request.height_px;
    choice.detail_px = request.detail_px;
    choice.mostTriangles = request.mostTriangles;
    choice.withGroundPlanes = request.look.hasGroundPlanes;
    const std::vector<std::vector<ktLevelSize>> levels = meshes.levelSizes(newScene);
    list = ktMakeDrawList(newScene, request.camera, choice, levels);
    const std::size_t batchCount = list.batches.size();
    bool hasMarks = request.hasMarks && newScene.hasSelection();
    if (hasMarks) {
        choice.onlySelected = true;
        const ktDrawList marked = ktMakeDrawList(newScene, request.camera, choice, levels);
        hasMarks = !marked.batches.empty() && makeMask();
        const auto before = static_cast<std::uint32_t>(list.uses.size());
        for (ktDrawBatch batch : marked.batches) {
            batch.first += before;
            list.batches.push_back(batch);
        }
        list.uses.insert(list.uses.end(), marked.uses.begin(), marked.uses.end());
    }
    uploadUses(newScene);
    choosePasses();

    steps.push_back({Kind::Background});
    for (std::size_t pass = 0; pass < passes.size(); ++pass) {
        addSteps(Kind::Surface, pass, 0, list.opaqueBatches);
        if (request.look.hasWires)
            addSteps(Kind::Wire, pass, 0, batchCount);
        addSteps(Kind::Surface, pass, list.opaqueBatches, batchCount);
    }
    steps.push_back({Kind::Average});
    if (hasMarks) {
        addSteps(Kind::Mark, 0, batchCount, list.batches.size());
        steps.push_back({Kind::Outline});
    }
    return true;
}

bool ktGlPicture::advance(double budget_ms) {
    QElapsedTimer timer;
    timer.start();
    std::size_t pending = 0, drawn = 0;
    lastSetup.reset();
    gl.glBindVertexArray(vertexArray);
    gl.glEnable(GL_FRAMEBUFFER_SRGB);
    gl.glEnable(GL_SCISSOR_TEST);
    gl.glEnable(GL_DEPTH_TEST);
    while (nextStep < steps.size()) {
        const Step& step = steps[nextStep++];
        draw(step);
        pending += step.indexCount / 3 * step.count + 200; // a call costs about as much as some triangles
        const bool mayBeDue = static_cast<double>(pending) >= 0.5 * trianglesPerMs * budget_ms;
        if (!mayBeDue && nextStep < steps.size())
            continue;
        if (budget_ms < 1e30)
            gl.glFinish();
        drawn += pending;
        pending = 0;
        if (static_cast<double>(timer.nsecsElapsed()) * 1e-6 >= 0.8 * budget_ms)
            break;
    }
    if (const double elapsed_ms = static_cast<double>(timer.nsecsElapsed()) * 1e-6; drawn > 20000 && budget_ms < 1e30)
        trianglesPerMs = 0.5 * trianglesPerMs + 0.5 * static_cast<double>(drawn) / std::max(elapsed_ms, 0.01);
    gl.glDisable(GL_SCISSOR_TEST);
    gl.glDisable(GL_DEPTH_TEST);
    gl.glDisable(GL_CULL_FACE);
    gl.glDisable(GL_BLEND);
    gl.glDisable(GL_FRAMEBUFFER_SRGB);
    gl.glDisable(GL_POLYGON_OFFSET_LINE);
    gl.glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    gl.glDepthMask(GL_TRUE);
    gl.glFrontFace(GL_CCW);
    gl.glBindVertexArray(0);
    gl.glUseProgram(0);
    gl.glBindBuffer(GL_ARRAY_BUFFER, 0);
    return nextStep == steps.size();
}

void ktGlPicture::draw(const Step& step) {
    if (step.kind == Kind::Background || step.kind == Kind::Average || step.kind == Kind::Outline)
        lastSetup.reset();
    switch (step.kind) {
    case Kind::Background:
        return drawBackground();
    case Kind::Average:
        gl.glDisable(GL_SCISSOR_TEST);
        colors.resolve();
        gl.glEnable(GL_SCISSOR_TEST);
        if (maskFramebuffer) {
            gl.glBindFramebuffer(GL_FRAMEBUFFER, maskFramebuffer);
            gl.glScissor(0, 0, request.size.width(), request.size.height());
            gl.glClearColor(0, 0, 0, 0);
            gl.glClear(GL_COLOR_BUFFER_BIT);
        }
        return;
    case Kind::Outline:
        return drawOutline();
    case Kind::Surface:
    case Kind::Wire:
    case Kind::Mark:
        return drawBatch(step);
    }
}

void ktGlPicture::drawBackground() {
    colors.bind();
    gl.glScissor(0, 0, request.size.width(), request.size.height());
    gl.glDepthMask(GL_TRUE);
    gl.glClearColor(0, 0, 0, 1);
    gl.glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    gl.glDisable(GL_DEPTH_TEST);
    gl.glDisable(GL_BLEND);
    gl.glDisable(GL_CULL_FACE);
    gl.glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    QOpenGLShaderProgram& program = shaders.background();
    program.bind();
    program.setUniformValue("bottom", vectorOf(request.look.background.bottom));
    program.setUniformValue("top", vectorOf(request.look.background.top));
    program.setUniformValue(
        "part", QVector2D(static_cast<float>(1 - request.part.bottom()), static_cast<float>(1 - request.part.top())));
    gl.glDrawArrays(GL_TRIANGLES, 0, 3);
    gl.glEnable(GL_DEPTH_TEST);
}

bool ktGlPicture::chooseVariant(const Step& step, const ktDrawBatch& batch, ktGlVariant& variant) const {
    const ktViewMaterial& material = scene->materials[batch.material];
    const ktGlMesh& mesh = meshes.of(scene->geometries[batch.geometry]);
    const bool isEarlier = step.kind == Kind::Surface && passes[step.pass].isEarlier;
    const bool hasResults = (isEarlier ? mesh.earlierResults : mesh.results) != 0;
    variant.hasLamps = (isEarlier ? mesh.earlierLamps : mesh.lamps) != 0;
    variant.hasVertexColors = mesh.colors != 0 && material.hasVertexColors;
    variant.hasTexture = material.texture.image != nullptr;
    variant.isMask = material.look.alpha == ktPreviewMaterial::Alpha::Mask;
    variant.hasAlpha = material.look.alpha == ktPreviewMaterial::Alpha::Blend;
    variant.hasNormals = mesh.normals != 0;
    variant.hasHeadlight = request.look.hasHeadlight;
    if (step.kind == Kind::Wire) {
        variant.surface = ktGlSurface::Wire;
    } else if (step.kind == Kind::Mark) {
        variant.surface = ktGlSurface::Mark;
    } else {
        const ktViewMode mode = passes[step.pass].mode;
        variant.surface = surfaceOf(mode);
        if (material.isGroundPlane) {
            const bool isLit = mode == ktViewMode::Baked || mode == ktViewMode::BakedLight;
            if (!hasResults || (!isLit && mode != ktViewMode::Occlusion && mode != ktViewMode::FalseColours))
                return false;
            if (mode != ktViewMode::FalseColours)
                variant.surface = isLit ? ktGlSurface::ShadowLight : ktGlSurface::ShadowOcclusion;
        } else if (!hasResults && mode != ktViewMode::SurfaceColours) {
            variant.surface = mode == ktViewMode::Baked ? ktGlSurface::HatchedColours : ktGlSurface::Hatched;
        }
    }
    variant = variant.reduced();
    return true;
}

void ktGlPicture::setState(Kind kind, const ktDrawBatch& batch) {
    const ktPreviewMaterial& look = scene->materials[batch.material].look;
    const auto set = [this](GLenum what, bool on) { on ? gl.glEnable(what) : gl.glDisable(what); };
    const bool isBlended = kind == Kind::Surface && look.alpha == ktPreviewMaterial::Alpha::Blend;
    set(GL_BLEND, isBlended);
    gl.glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ZERO, GL_ONE);
    gl.glDepthMask(isBlended ? GL_FALSE : GL_TRUE);
    gl.glDepthFunc(GL_LEQUAL);
    set(GL_DEPTH_TEST, kind != Kind::Mark);
    set(GL_CULL_FACE, !look.isDoubleSided);
    gl.glFrontFace(batch.isMirrored ? GL_CW : GL_CCW);
    gl.glPolygonMode(GL_FRONT_AND_BACK, kind == Kind::Wire ? GL_LINE : GL_FILL);
    set(GL_POLYGON_OFFSET_LINE, kind == Kind::Wire);
    gl.glPolygonOffset(-1, -2);
}

void ktGlPicture::setAttributes(const Step& step, const ktDrawBatch& batch, const ktGlVariant& variant) {
    const ktShownGeometry& geometry = scene->geometries[batch.geometry];
    const ktGlMesh& mesh = meshes.of(geometry);
    const ktViewMaterial& material = scene->materials[batch.material];
    const bool isEarlier = step.kind == Kind::Surface && passes[step.pass].isEarlier;
    const GLuint texCoords = variant.hasTexture ? meshes.texCoords(geometry, material.texture.texCoords) : 0;
    const auto bind = [this](GLuint attribute, GLuint buffer, GLint size, GLenum type, bool isNormalized) {
        if (!buffer) {
            gl.glDisableVertexAttribArray(attribute);
            return;
        }
        gl.glBindBuffer(GL_ARRAY_BUFFER, buffer);
        gl.glEnableVertexAttribArray(attribute);
        gl.glVertexAttribPointer(attribute, size, type, isNormalized ? GL_TRUE : GL_FALSE, 0, nullptr);
    };
    bind(ktGlShaders::Position, mesh.positions, 3, GL_FLOAT, false);
    bind(ktGlShaders::Results, variant.needsResults() ? (isEarlier ? mesh.earlierResults : mesh.results) : 0, 4,
         GL_HALF_FLOAT, false);
    bind(ktGlShaders::Lamps, variant.hasLamps ? (isEarlier ? mesh.earlierLamps : mesh.lamps) : 0, 4, GL_HALF_FLOAT,
         false);
    bind(ktGlShaders::VertexColor, variant.hasVertexColors ? mesh.colors : 0, 4, GL_HALF_FLOAT, false);
    bind(ktGlShaders::TexCoord, texCoords, 2, GL_FLOAT, false);
    QOpenGLContext::currentContext()->functions()->glVertexAttrib2f(ktGlShaders::TexCoord, 0, 0); // without coordinates
    bind(ktGlShaders::Normal, variant.hasNormals ? mesh.normals : 0, 4, GL_INT_2_10_10_10_REV, true);

    gl.glBindBuffer(GL_ARRAY_BUFFER, useBuffer);
    const std::size_t start = (batch.first + static_cast<std::size_t>(step.first)) * sizeof(Use);
    const auto perUse = [&](GLuint attribute, GLint size, std::size_t offset) {
        gl.glEnableVertexAttribArray(attribute);
        gl.glVertexAttribPointer(attribute, size, GL_FLOAT, GL_FALSE, sizeof(Use),
                                 reinterpret_cast<const void*>(start + offset));
        gl.glVertexAttribDivisor(attribute, 1);
    };
    for (GLuint row = 0; row < 3; ++row)
        perUse(ktGlShaders::ToViewX + row, 4, offsetof(Use, toView) + row * sizeof(Use::toView[0]));
    perUse(ktGlShaders::Base, 4, offsetof(Use, base));
    perUse(ktGlShaders::PerGathered, 3, offsetof(Use, perGathered));
}

void ktGlPicture::setUniforms(QOpenGLShaderProgram& program, const ktGlVariant& variant,
                              const ktViewMaterial& material) {
    program.setUniformValue("projection", projection);
    const bool isExposed = variant.surface != ktGlSurface::Wire && variant.surface != ktGlSurface::Mark &&
                           variant.surface != ktGlSurface::Hatched;
    program.setUniformValue("exposure", isExposed ? request.look.exposure : 1.0f);
    if (variant.needsNormal())
        program.setUniformValue("isParallel", request.camera.isParallel());
    if (variant.surface == ktGlSurface::Hatched || variant.surface == ktGlSurface::HatchedColours)
        program.setUniformValue("stripesPerPixel", static_cast<float>(1 / request.stripe_px));
    if (variant.isMask)
        program.setUniformValue("alphaCutoff", material.look.alphaCutoff);
    if (variant.hasTexture) {
        const osg::UberMaterialTexture& texture = material.texture;
        const float c = std::cos(texture.rotation_rad), s = std::sin(texture.rotation_rad);
        program.setUniformValue("toPlaceU", QVector3D(c * texture.scale[0], s * texture.scale[1], texture.offset[0]));
        program.setUniformValue("toPlaceV", QVector3D(-s * texture.scale[0], c * texture.scale[1], texture.offset[1]));
        program.setUniformValue("image", 0);
        gl.glActiveTexture(GL_TEXTURE0);
        gl.glBindTexture(GL_TEXTURE_2D, textures.of(texture));
    }
}

void ktGlPicture::drawBatch(const Step& step) {
    const ktDrawBatch& batch = list.batches[step.batch];
    ktGlVariant variant;
    if (!chooseVariant(step, batch, variant))
        return;
    const Setup setup = {step.kind, step.pass, batch.material, variant.key(), batch.isMirrored};
    if (!(lastSetup == setup)) {
        if (step.kind == Kind::Mark) {
            gl.glBindFramebuffer(GL_FRAMEBUFFER, maskFramebuffer);
            gl.glViewport(0, 0, request.size.width(), request.size.height());
            gl.glScissor(0, 0, request.size.width(), request.size.height());
        } else {
            colors.bind();
            const Pass& pass = passes[step.pass];
            gl.glScissor(pass.left, 0, pass.right - pass.left, request.size.height());
        }
        setState(step.kind, batch);
        QOpenGLShaderProgram& program = shaders.surface(variant);
        program.bind();
        setUniforms(program, variant, scene->materials[batch.material]);
        lastSetup = setup;
    }
    setAttributes(step, batch, variant);
    const ktGlMesh& mesh = meshes.of(scene->geometries[batch.geometry]);
    const std::size_t levelFirst = batch.level == 0 ? 0 : mesh.levelFirst[batch.level - 1];
    gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, batch.level == 0 ? mesh.triangles : mesh.levelTriangles);
    gl.glDrawElementsInstanced(GL_TRIANGLES, static_cast<GLsizei>(step.indexCount), GL_UNSIGNED_INT,
                               reinterpret_cast<const void*>((levelFirst + step.firstIndex) * sizeof(std::uint32_t)),
                               static_cast<GLsizei>(step.count));
}

bool ktGlPicture::makeMask() {
    if (maskSize == request.size)
        return true;
    gl.glDeleteFramebuffers(1, &maskFramebuffer);
    gl.glDeleteTextures(1, &maskTexture);
    gl.glGenTextures(1, &maskTexture);
    gl.glBindTexture(GL_TEXTURE_2D, maskTexture);
    gl.glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, request.size.width(), request.size.height(), 0, GL_RED, GL_UNSIGNED_BYTE,
                    nullptr);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    gl.glGenFramebuffers(1, &maskFramebuffer);
    gl.glBindFramebuffer(GL_FRAMEBUFFER, maskFramebuffer);
    gl.glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, maskTexture, 0);
    maskSize = request.size;
    return gl.glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

void ktGlPicture::drawOutline() {
    colors.bind(true);
    gl.glScissor(0, 0, request.size.width(), request.size.height());
    gl.glDisable(GL_DEPTH_TEST);
    gl.glDisable(GL_BLEND);
    gl.glDisable(GL_CULL_FACE);
    gl.glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    gl.glActiveTexture(GL_TEXTURE0);
    gl.glBindTexture(GL_TEXTURE_2D, maskTexture);
    QOpenGLShaderProgram& program = shaders.outline();
    program.bind();
    program.setUniformValue("mask", 0);
    program.setUniformValue("radius", std::max(1, request.outline_px));
    program.setUniformValue("color", QVector3D(1.0f, 0.3f, 0.0f));
    gl.glDrawArrays(GL_TRIANGLES, 0, 3);
}
