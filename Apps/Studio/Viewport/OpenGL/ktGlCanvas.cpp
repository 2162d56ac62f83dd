// SPDX-License-Identifier: LGPL-2.1-or-later
// The widget that OpenGL draws: reduced pictures while the view moves, full ones when it is at rest.
#include "ktGlCanvas.h"

#include "ktLevelJob.h"

#include <algorithm>
#include <cmath>
#include <QElapsedTimer>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <utility>

namespace {

constexpr int rest_ms = 120;                        // without changes, before the full picture is drawn
constexpr double slice_ms = 30;                     // of the full picture
constexpr double uploadSlice_ms = 16;               // of uploads; the last piece of memory may take as long
constexpr double hurriedSlice_ms = 12;              // of both beside other work
constexpr int fullSamples = 4;                      // a pixel of the full picture
constexpr std::size_t mostMovingTriangles = 300000; // with software OpenGL
constexpr std::size_t hurriedTriangles = 100000;    // the same beside other work
constexpr double firstDetail_px = 10;               // of the first picture
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
        : gl(gl_), meshes(gl), textures(gl), moving(makePicture()), next(makePicture()),
          still(gl, shaders, meshes, textures) {
        const auto* name = reinterpret_cast<const char*>(gl.glGetString(GL_RENDERER));
        const QString renderer = QString::fromLatin1(name ? name : "").toLower();
        for (const char* software : {"llvmpipe", "softpipe", "swrast", "swr"})
            isSoftware = isSoftware || renderer.contains(QLatin1String(software));
    }

    std::unique_ptr<ktGlPicture> makePicture() { return std::make_unique<ktGlPicture>(gl, shaders, meshes, textures); }

    ktGl& gl;
    ktGlShaders shaders;
    ktGlMeshes meshes;
    ktGlTextures textures;
    std::unique_ptr<ktGlPicture> moving, next; // shown, and drawn in slices; never null
    ktGlPicture still;
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
    QObject::connect(this, &QOpenGLWidget::frameSwapped, this, [this] {
        if (hasPicture && shown)
            shown();
        if (hasPicture && std::exchange(areLevelsDue, false))
            startLevelJob();
    });
    sliceTimer.setInterval(0);
    QObject::connect(&sliceTimer, &QTimer::timeout, this, [this] { drawSlice(); });
}

ktGlCanvas::~ktGlCanvas() {
    releaseDisplay();
    if (context()) // it ends after this
        QObject::disconnect(context(), nullptr, this, nullptr);
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
    isStillRunning = isMovingRunning = false;
    qWarning("the viewport cannot draw: %s", reason);
}

double ktGlCanvas::sliceLength_ms() const {
    return state.isHurried ? hurriedSlice_ms : slice_ms;
}

QSize ktGlCanvas::pixelSize() const {
    return (QSizeF(size()) * devicePixelRatioF()).toSize().expandedTo({1, 1});
}

void ktGlCanvas::sceneChanged() {
    isStillShown = isStillShown && !warming;
    hasPicture = hasPicture && !warming && levelStamp == state.scene.shapeStamp();
    isUploaded = isMovingRunning = false;
    warming.reset();
    viewChanged();
}

void ktGlCanvas::viewChanged() {
    isDirty = true;
    isStillRunning = false;
    update();
}

// The buffers change hands when new results are uploaded. Until then they are what both sides of a comparison show.
void ktGlCanvas::keepResults() {
    mustKeepResults = true;
}

void ktGlCanvas::resizeGL(int, int) {
    viewChanged();
}

// The layout of a window may change several times before it is on the screen, and Qt wants a picture of each size.
void ktGlCanvas::resizeEvent(QResizeEvent* event) {
    isResizing = true;
    QOpenGLWidget::resizeEvent(event);
    isResizing = false;
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
    if (isResizing)
        return; // viewChanged() has asked for another one
    if (display && failure.isEmpty() && !warming) {
        try {
            const bool mayDrawAtOnce = isUploaded || !state.isHurried;
            if (!isUploaded && !state.scene.hasDueResults())
                uploadSlice();
            if (isUploaded && isDirty && hasPicture && state.isHurried)
                startMovingBeside();
            else if (isUploaded && isDirty && mayDrawAtOnce)
                drawMoving();
            else if (isUploaded && isDirty)
                update(); // other events first
            ktGlTarget& newest = (isStillShown ? display->still : *display->moving).target();
            if (!newest.size().isEmpty())
                newest.copyTo(defaultFramebufferObject(), pixelSize());
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

ktGlRequest ktGlCanvas::movingRequest() const {
    const ktMovingQuality::Quality used = quality.now();
    const QSize pixels = (QSizeF(pixelSize()) / used.scale).toSize().expandedTo({1, 1});
    // The first picture of a scene shall be there soon; finer ones follow.
    const bool isFirst = display->isSoftware && last.hasLevels && !hasPicture;
    ktGlRequest request = makeRequest(pixels, isFirst ? std::max(firstDetail_px, used.detail_px) : used.detail_px);
    request.look.hasWires = request.look.hasWires && used.isFull();
    request.hasMarks = !isFirst;
    if (display->isSoftware)
        request.mostTriangles = state.isHurried ? hurriedTriangles
                                : levelJob      ? mostMovingTriangles / 2
                                                : mostMovingTriangles;
    return request;
}

void ktGlCanvas::noteMoving(const ktGlPicture& picture) {
    last.movingQuality = quality.now();
    last.movingTriangles = picture.triangles();
    last.movingBatches = picture.batches();
    isStillShown = isMovingRunning = false;
    hasPicture = true;
    restTimer.start();
}

void ktGlCanvas::drawMoving() {
    QElapsedTimer timer;
    timer.start();
    if (!display->moving->begin(movingRequest(), state.scene))
        return fail("OpenGL has no picture of this size");
    display->moving->finish();
    display->gl.glFinish();
    noteMoving(*display->moving);
    last.movingPicture_ms = static_cast<double>(timer.nsecsElapsed()) * 1e-6;
    quality.learn(last.movingPicture_ms);
    isDirty = false;
}

// One that has begun is completed first: otherwise a view that moves all the time would show none.
void ktGlCanvas::startMovingBeside() {
    if (isMovingRunning)
        return;
    if (!display->next->begin(movingRequest(), state.scene))
        return fail("OpenGL has no picture of this size");
    isDirty = false;
    isMovingRunning = true;
    sliceTimer.start();
}

void ktGlCanvas::advanceMovingBeside() {
    if (!display->next->advance(sliceLength_ms()))
        return;
    std::swap(display->moving, display->next);
    noteMoving(*display->moving);
    update(); // shows it, and starts the next one if the view has changed
}

void ktGlCanvas::startStill() {
    if (!display || !isUploaded || isDirty || isMovingRunning || !failure.isEmpty())
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
    const bool isIdle = isUploaded ? !isMovingRunning && !isStillRunning : state.scene.hasDueResults();
    if (!display || !failure.isEmpty() || (!warming && isIdle))
        return sliceTimer.stop();
    makeCurrent();
    try {
        if (warming) {
            advanceWarmUp();
        } else if (!isUploaded) {
            uploadSlice();
            if (isUploaded)
                update();
        } else if (isMovingRunning) {
            advanceMovingBeside();
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
    last.hasLevels = areLevelsDue = false;
    const std::size_t triangles = state.scene.triangleCount();
    quality.reset(triangles, display->isSoftware);
    if (triangles < manyTriangles)
        return;
    last.hasLevels = areLevelsDue = state.scene.hasLevels();
    if (!areLevelsDue)
        startLevelJob();
}

void ktGlCanvas::startLevelJob() {
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
        display->meshes, std::vector<ktGlWarmUp::Drawn>{{display->moving.get(), moving}, {&display->still, full}});
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
