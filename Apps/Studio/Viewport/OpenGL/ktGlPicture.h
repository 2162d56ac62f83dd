// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGlMeshes.h"
#include "ktGlShaders.h"
#include "ktGlTarget.h"
#include "ktGlTextures.h"
#include "ktViewLook.h"

#include <optional>
#include <QRectF>

/// What a picture shows, and how fine.
struct ktGlRequest {
    ktViewCamera camera;
    ktViewLook look;
    QSize size;                       ///< pixels of the target
    QRectF part = QRectF(0, 0, 1, 1); ///< of the view, from the top left; smaller for tiles of a large picture
    double aspect = 1;                ///< of the whole view
    double height_px = 1;             ///< of the whole view
    double detail_px = 0;             ///< see ktDrawChoice
    std::size_t mostTriangles = 0;    ///< see ktDrawChoice
    int samples = 0;                  ///< a pixel; 0: one, without averaging
    double stripe_px = 8;             ///< period of the hatching
    bool hasMarks = true;             ///< outline of the marked uses
    int outline_px = 2;               ///< its width
};

/// Draws pictures of a scene, in slices, so that the event loop goes on. All calls need the current context.
class ktGlPicture {
public:
    ktGlPicture(ktGl& gl, ktGlShaders& shaders, ktGlMeshes& meshes, ktGlTextures& textures);
    ~ktGlPicture();
    ktGlPicture(const ktGlPicture&) = delete;
    ktGlPicture& operator=(const ktGlPicture&) = delete;

    /// Starts a picture. All geometry must be uploaded. The scene must not change until the picture is complete or
    /// another one starts.
    /// @return false if OpenGL has no picture of that size
    bool begin(const ktGlRequest& request, const ktViewScene& scene);
    /// Draws for about that time; at least a part of the picture.
    /// @return whether the picture is complete
    /// @throws std::runtime_error if a program does not compile
    bool advance(double budget_ms);
    /// Draws all the rest.
    void finish() { advance(1e30); }

    ktGlTarget& target() { return colors; }
    /// Triangles of the picture, for a forecast of its time.
    std::size_t triangles() const { return list.triangles; }
    /// Batches of the picture.
    std::size_t batches() const { return list.batches.size(); }

private:
    enum class Kind { Background, Surface, Wire, Average, Mark, Outline };

    /// One side of the divider.
    struct Pass {
        ktViewMode mode;
        bool isEarlier;
        int left, right; // pixels
    };
    struct Step {
        Kind kind;
        std::size_t pass = 0, batch = 0;
        std::uint32_t first = 0, count = 0;         // uses of the batch
        std::size_t firstIndex = 0, indexCount = 0; // of the triangles of one use
    };

    /// What OpenGL is set up for, besides the attributes. Thousands of batches often have the same.
    struct Setup {
        Kind kind;
        std::size_t pass;
        std::uint32_t material;
        unsigned variant;
        bool isMirrored;

        bool operator==(const Setup& other) const {
            return kind == other.kind && pass == other.pass && material == other.material && variant == other.variant &&
                   isMirrored == other.isMirrored;
        }
    };

    void choosePasses();
    void uploadUses(const ktViewScene& scene);
    void addSteps(Kind kind, std::size_t pass, std::size_t beginBatch, std::size_t endBatch);
    void draw(const Step& step);
    void drawBackground();
    void drawBatch(const Step& step);
    void drawOutline();
    bool chooseVariant(const Step& step, const ktDrawBatch& batch, ktGlVariant& variant) const;
    void setAttributes(const Step& step, const ktDrawBatch& batch, const ktGlVariant& variant);
    void setUniforms(QOpenGLShaderProgram& program, const ktGlVariant& variant, const ktViewMaterial& material);
    void setState(Kind kind, const ktDrawBatch& batch);
    bool makeMask();

    ktGl& gl;
    ktGlShaders& shaders;
    ktGlMeshes& meshes;
    ktGlTextures& textures;
    ktGlTarget colors;
    GLuint vertexArray = 0, useBuffer = 0, maskFramebuffer = 0, maskTexture = 0;
    QSize maskSize;

    ktGlRequest request;
    const ktViewScene* scene = nullptr;
    ktDrawList list;
    std::vector<Pass> passes;
    std::vector<Step> steps;
    std::size_t nextStep = 0;
    std::optional<Setup> lastSetup; ///< of this slice
    QMatrix4x4 projection;
    double trianglesPerMs = 2000; // measured
};
