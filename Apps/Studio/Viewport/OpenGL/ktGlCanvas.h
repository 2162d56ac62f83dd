// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGlWarmUp.h"
#include "ktMovingQuality.h"
#include "ktViewCanvas.h"

#include <QOpenGLWidget>
#include <QTimer>

class ktLevelJob;

/// Draws the viewport with OpenGL 3.3. While the view changes, a reduced picture follows at once; beside other work it
/// is drawn in slices. When the view is at rest, the full picture is drawn in slices, so that the event loop goes on.
class ktGlCanvas : public QOpenGLWidget, public ktViewCanvas {
public:
    /// What was drawn, for tests and benchmarks.
    struct Statistics {
        double movingPicture_ms = 0; ///< of the last picture while moving
        ktMovingQuality::Quality movingQuality;
        std::size_t movingTriangles = 0, movingBatches = 0;
        bool hasLevels = false; ///< coarser triangles are ready
        ktGlMeshes::Uploaded uploaded;
    };

    /// Whether this process has OpenGL 3.3. Asks once.
    static bool isAvailable();

    /// @param state must outlive this
    explicit ktGlCanvas(const ktViewState& state, QWidget* parent = nullptr);
    ~ktGlCanvas() override;

    QWidget* widget() override { return this; }
    void sceneChanged() override;
    void viewChanged() override;
    void keepResults() override;
    QImage render(const QSize& size, const ktViewCamera& camera, const ktViewLook& look) override;
    void warmUp() override;
    bool isWarmingUp() const override { return warming != nullptr; }
    bool isSettled() const override { return isStillShown && !isDirty && !isMovingRunning; }

    Statistics statistics() const;

protected:
    void initializeGL() override;
    void paintGL() override;
    void resizeGL(int width, int height) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Display;

    bool ensureContext();
    void releaseDisplay();
    ktGlRequest makeRequest(const QSize& pixels, double detail_px) const;
    QSize pixelSize() const;
    double sliceLength_ms() const;
    void uploadSlice();
    ktGlRequest movingRequest() const;
    void noteMoving(const ktGlPicture& picture);
    void drawMoving();
    void startMovingBeside();
    void advanceMovingBeside();
    void advanceWarmUp();
    void endWarmUp();
    void startStill();
    void drawSlice();
    void startLevels();
    void startLevelJob();
    void takeLevels();
    void fail(const char* reason);

    const ktViewState& state;
    std::unique_ptr<Display> display; // null without a context
    std::unique_ptr<ktLevelJob> levelJob;
    std::unique_ptr<ktGlWarmUp> warming; // while programs are compiled ahead
    std::uint64_t levelStamp = 0;        // of the shapes that have levels
    bool areLevelsDue = false;           // after the first picture, which has one level of its own
    std::size_t takenLevels = 0;         // results of the job that are uploaded
    ktMovingQuality quality;
    Statistics last;
    QTimer restTimer, sliceTimer;
    QString failure; // why nothing is drawn; empty if all is well
    bool isUploaded = false, isDirty = true, isStillRunning = false, isStillShown = false, mustKeepResults = false;
    bool isMovingRunning = false; // a reduced picture is drawn in slices, and the one before it is shown
    bool hasPicture = false;      // of these shapes
    bool isResizing = false;      // Qt asks for a picture that nobody sees
};
