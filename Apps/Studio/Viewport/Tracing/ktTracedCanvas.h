// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewCanvas.h"

#include <atomic>

class ktPreviewRenderer;
class ktTracer;
class ktWorkers;

/// Draws the viewport with the host's ray tracer, where there is no OpenGL 3.3. Each picture comes coarse first, and
/// finer while nothing changes. Shows no wires, comparison and outlines of marked parts.
class ktTracedCanvas : public QWidget, public ktViewCanvas {
public:
    /// @param state must outlive this
    explicit ktTracedCanvas(const ktViewState& state, QWidget* parent = nullptr);
    ~ktTracedCanvas() override;

    QWidget* widget() override { return this; }
    void sceneChanged() override;
    void viewChanged() override;
    void keepResults() override {}
    QImage render(const QSize& size, const ktViewCamera& camera, const ktViewLook& look) override;
    bool isSettled() const override { return isFinest; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void stop();
    void start();
    void prepare(const ktViewLook& look);
    bool build();
    void show(const QImage& image, bool finest, unsigned number);

    const ktViewState& state;
    ktPreviewScene traced;
    std::unique_ptr<ktTracer> tracer;
    std::unique_ptr<ktPreviewRenderer> renderer;
    std::uint64_t stamp = 0; // of the scene that `traced` holds
    bool isBuilt = false;    // written by the worker while it runs
    QImage picture;
    QString failure;
    bool isFinest = false, isStartDue = false;
    bool isRendering = false; // the worker of render() reads what start() would change
    unsigned number = 0;      // of the newest picture that was started
    std::atomic<bool> isInterrupted{false};
    std::unique_ptr<ktWorkers> workers;
};
