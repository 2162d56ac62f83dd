// SPDX-License-Identifier: LGPL-2.1-or-later
// The widget that OpenGL draws: reduced pictures while the view moves, full ones when it is at rest.
#include "ktGlCanvas.h"

#include "ktLevelJob.h"

#include <algorithm>
#include <cmath>
#include <QElapsedTimer>
#include <QOffscreenSurface>
#include <QOpenGLContext>

namespace {

constexpr int rest_ms = 120;                        // without changes, before the full picture is drawn
constexpr double slice_ms = 30;                     // of the full picture
constexpr double uploadSlice_ms = 16;               // of uploads; the last piece of memory may take as long
constexpr double hurriedSlice_ms = 12;              // of both beside other work
constexpr int fullSamples = 4;                      // a pixel of the full picture
constexpr std::size_t mostMovingTriangles = 300000; // with software OpenGL
constexpr std::size_t hurriedTriangles = 100000;    // the same beside other work
constexpr std::size_t manyTriangles = 50000;        // coarser ones are made
constexpr int tile_px = 2048;                       // of large pictures
constexpr double stripe_px = 10;                    // period of the hatching, along a row

QSurfaceFormat formatOf33() {
    QSurfaceFormat format;
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setSwapInterval(0);
    return format;
}

bool probe() {
    QOpenGLContext context;
    context.setFormat(formatOf33());
    if (!context.create() || context.isOpenGLES())
        return false;
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!context.makeCurrent(&surface))
        return false;
    const bool isRight = context.format().version() >= qMakePair(3, 3) && context.versionFunctions<ktGl>() != nullptr;
    context.doneCurrent();
    return isRight;
}

} // namespace

/// What belongs to the context.
struct ktGlCanvas::Display {
    explicit Display(ktGl& gl_)
        : gl(gl_), meshes(gl), textures(gl), moving(gl, shaders, meshes, textures),
          still(gl, shaders, meshes, textures) {
        const auto* name = reinterpret_cast<const char*>(gl.glGetString(GL_RENDERER));
        const QString renderer = QString::fromLatin1(name ? name : "").toLower();
        for (const char* software : {"llvmpipe", "softpipe", "swrast", "swr"})
            isSoftware = isSoftware || renderer.contains(QLatin1String(software));
    }

    ktGl& gl;
    ktGlShaders shaders;
    ktGlMeshes meshes;
    ktGlTextures textures;
    ktGlPicture moving, still;
    bool isSoftware = false;
};

bool ktGlCanvas::isAvailable() {
    static const bool available = probe();
    return available;
}

ktGlCanvas::ktGlCanvas(const ktViewState& state_, QWidget* parent) : QOpenGLWidget(parent), state(state_) {
    setFormat(formatOf33());
    setAttribute(Qt::WA_TransparentForMouseEvents);
    restTimer.setSingleShot(true);
    restTimer.setInterval(rest_ms);
    QObject::connect(&restTimer, &QTimer::timeout, this, [this] { startStill(); });
    sliceTimer.setInterval(0);
    QObject::connect(&sliceTimer, &QTimer::timeout, this, [this] { drawSlice(); });
}

ktGlCanvas::~ktGlCanvas() {
    releaseDisplay();
}

void ktGlCanvas::releaseDisplay() {
    levelJob.reset();
    warming.reset();
    if (!display)
        return;
    makeCurrent();
    display.reset();
    doneCurrent();
}

void ktGlCanvas::initializeGL() {
    auto* gl = context()->versionFunctions<ktGl>();
    if (!gl || !gl->initializeOpenGLFunctions())
        return fail("OpenGL 3.3 cannot start");
    display = std::make_unique<Display>(*gl);
    QObject::connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, [this] { releaseDisplay(); });
    sceneChanged();
}

void ktGlCanvas::fail(const char* reason) {
    failure = QString::fromUtf8(reason);
    sliceTimer.stop();
    isStillRunning = false;
    qWarning("the viewport cannot draw: %s", reason);
}

double ktGlCanvas::sliceLength_ms() const {
    return state.isHurried ? hurriedSlice_ms : slice_ms;
}

QSize ktGlCanvas::pixelSize() const {
    return (QSizeF(size()) * devicePixelRatioF()).toSize().expandedTo({1, 1});
}

void ktGlCanvas::sceneChanged() {
    warming.reset();
    isUploaded = isStillRunning = false;
    viewChanged();
}

void ktGlCanvas::viewChanged() {
    isDirty = true;
    isStillShown = isStillRunning = false;
    update();
}

// The buffers change hands when new results are uploaded. Until then they are what both sides of a comparison show.
void ktGlCanvas::keepResults() {
    mustKeepResults = true;
}

void ktGlCanvas::resizeGL(int, int) {
    viewChanged();
}

ktGlRequest ktGlCanvas::makeRequest(const QSize& pixels, double detail_px) const {
    ktGlRequest request;
    request.camera = state.camera;
    request.look = state.look;
    request.size = pixels;
    request.height_px = height();
    request.aspect = static_cast<double>(width()) / std::max(1, height());
    request.detail_px = detail_px;
    const double pixelsPerPoint = static_cast<double>(pixels.height()) / std::max(1, height());
    request.stripe_px = stripe_px * pixelsPerPoint;
    request.outline_px = static_cast<int>(std::lround(2 * pixelsPerPoint));
    return request;
}

void ktGlCanvas::paintGL() {
    if (display && failure.isEmpty() && !warming) {
        try {
            const bool mayDrawAtOnce = isUploaded || !state.isHurried;
            if (!isUploaded)
                uploadSlice();
            if (isUploaded && isDirty && mayDrawAtOnce)
                drawMoving();
            else if (isUploaded && isDirty)
                update(); // other events first
            ktGlTarget& shown = (isStillShown ? display->still : display->moving).target();
            if (!shown.size().isEmpty())
                shown.copyTo(defaultFramebufferObject(), pixelSize());
        } catch (const std::exception& error) {
            fail(error.what());
        }
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!failure.isEmpty())
        painter.drawText(rect(), Qt::AlignCenter, failure);
    if (paintOverlay)
        paintOverlay(painter);
}

void ktGlCanvas::uploadSlice() {
    if (mustKeepResults)
        display->meshes.keepResults();
    mustKeepResults = false;
    isUploaded = display->meshes.upload(state.scene, std::min(uploadSlice_ms, sliceLength_ms()));
    if (isUploaded)
        startLevels();
    else
        sliceTimer.start();
}

void ktGlCanvas::drawMoving() {
    const ktMovingQuality::Quality used = quality.now();
    const QSize pixels = (QSizeF(pixelSize()) / used.scale).toSize().expandedTo({1, 1});
    ktGlRequest request = makeRequest(pixels, used.detail_px);
    request.look.hasWires = request.look.hasWires && used.isFull();
    if (display->isSoftware)
        request.mostTriangles = state.isHurried ? hurriedTriangles
                                : levelJob      ? mostMovingTriangles / 2
                                                : mostMovingTriangles;
    QElapsedTimer timer;
    timer.start();
    if (!display->moving.begin(request, state.scene))
        return fail("OpenGL has no picture of this size");
    display->moving.finish();
    display->gl.glFinish();
    last.movingPicture_ms = static_cast<double>(timer.nsecsElapsed()) * 1e-6;
    last.movingQuality = used;
    last.movingTriangles = display->moving.triangles();
    last.movingBatches = display->moving.batches();
    quality.learn(last.movingPicture_ms);
    isDirty = false;
    restTimer.start();
}

void ktGlCanvas::startStill() {
    if (!display || !isUploaded || isDirty || !failure.isEmpty())
        return;
    quality.rest();
    makeCurrent();
    ktGlRequest request = makeRequest(pixelSize(), 0);
    request.samples = fullSamples;
    isStillRunning = display->still.begin(request, state.scene);
    doneCurrent();
    if (isStillRunning)
        sliceTimer.start();
}

void ktGlCanvas::drawSlice() {
    if (!display || !failure.isEmpty() || (!warming && isUploaded && !isStillRunning))
        return sliceTimer.stop();
    makeCurrent();
    try {
        if (warming) {
            advanceWarmUp();
        } else if (!isUploaded) {
            uploadSlice();
            if (isUploaded)
                update();
        } else if (display->still.advance(sliceLength_ms())) {
            isStillRunning = false;
            isStillShown = true;
            update();
        }
    } catch (const std::exception& error) {
        fail(error.what());
    }
    doneCurrent();
}

void ktGlCanvas::startLevels() {
    if (levelStamp == state.scene.shapeStamp())
        return;
    levelStamp = state.scene.shapeStamp();
    levelJob.reset();
    takenLevels = 0;
    last.hasLevels = false;
    const std::size_t triangles = state.scene.triangleCount();
    quality.reset(triangles, display->isSoftware);
    if (triangles < manyTriangles)
        return;
    levelJob = std::make_unique<ktLevelJob>(state.scene, [this] { // the job ends before this is destroyed
        QMetaObject::invokeMethod(
            this, [this] { takeLevels(); }, Qt::QueuedConnection);
    });
}

void ktGlCanvas::takeLevels() {
    if (!levelJob || !levelJob->isDone() || !display)
        return;
    QElapsedTimer timer;
    timer.start();
    makeCurrent();
    const std::vector<ktLevelJob::Result>& results = levelJob->results();
    while (takenLevels < results.size() && static_cast<double>(timer.elapsed()) < sliceLength_ms()) {
        const ktLevelJob::Result& result = results[takenLevels++];
        display->meshes.setLevels(result.geometryId, result.shape, result.levels);
    }
    doneCurrent();
    if (takenLevels < results.size()) {
        QTimer::singleShot(0, this, [this] { takeLevels(); });
        return;
    }
    levelJob.reset();
    last.hasLevels = true;
    quality.reset(state.scene.triangleCount(), display->isSoftware);
}

bool ktGlCanvas::ensureContext() {
    if (!display && failure.isEmpty()) {
        window()->winId(); // a context needs a native window
        grabFramebuffer(); // makes the context if the widget was never shown
    }
    return display && failure.isEmpty();
}

QImage ktGlCanvas::render(const QSize& pixels, const ktViewCamera& camera, const ktViewLook& look) {
    if (!ensureContext())
        return {};
    endWarmUp();
    QImage image(pixels, QImage::Format_RGB32);
    if (image.isNull())
        return image;
    makeCurrent();
    try {
        display->meshes.upload(state.scene, 1e30);
        ktGlPicture picture(display->gl, display->shaders, display->meshes, display->textures);
        ktGlRequest request;
        request.camera = camera;
        request.look = look;
        request.aspect = static_cast<double>(pixels.width()) / pixels.height();
        request.height_px = pixels.height();
        request.samples = fullSamples;
        request.stripe_px = stripe_px;
        request.hasMarks = false;
        QPainter painter(&image);
        for (int top = 0; top < pixels.height(); top += tile_px)
            for (int left = 0; left < pixels.width(); left += tile_px) {
                request.size =
                    QSize(std::min(tile_px, pixels.width() - left), std::min(tile_px, pixels.height() - top));
                request.part =
                    QRectF(static_cast<double>(left) / pixels.width(), static_cast<double>(top) / pixels.height(),
                           static_cast<double>(request.size.width()) / pixels.width(),
                           static_cast<double>(request.size.height()) / pixels.height());
                if (!picture.begin(request, state.scene))
                    return {};
                picture.finish();
                painter.drawImage(left, top, picture.target().read());
            }
    } catch (const std::exception& error) {
        fail(error.what());
        image = QImage();
    }
    doneCurrent();
    return image;
}

void ktGlCanvas::warmUp() {
    if (!state.scene.uses.empty() || !ensureContext())
        return;
    const QSize pixels = pixelSize();
    ktGlRequest moving = makeRequest(pixels / 2, 0), full = makeRequest(pixels, 0);
    full.samples = fullSamples;
    warming = std::make_unique<ktGlWarmUp>(
        display->meshes, std::vector<ktGlWarmUp::Drawn>{{&display->moving, moving}, {&display->still, full}});
    sliceTimer.start();
}

void ktGlCanvas::advanceWarmUp() {
    if (ktGlPicture* const done = warming->advance())
        done->target().copyTo(defaultFramebufferObject(), pixelSize());
    display->gl.glFinish();
    if (warming->isDone())
        endWarmUp();
}

void ktGlCanvas::endWarmUp() {
    if (!warming)
        return;
    sceneChanged(); // the next upload lets go of its surfaces
}

ktGlCanvas::Statistics ktGlCanvas::statistics() const {
    Statistics result = last;
    if (display)
        result.uploaded = display->meshes.uploaded();
    return result;
}
