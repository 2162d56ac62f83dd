// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGl.h"

#include <QImage>
#include <QSize>

/// A picture on the display in sRGB, with a depth buffer, maybe with several samples a pixel. All calls need the
/// current context.
class ktGlTarget {
public:
    explicit ktGlTarget(ktGl& gl);
    ~ktGlTarget();
    ktGlTarget(const ktGlTarget&) = delete;
    ktGlTarget& operator=(const ktGlTarget&) = delete;

    /// Changes the size; the content is lost. Takes fewer samples if OpenGL cannot have so many.
    /// @return false if OpenGL has no picture of that size
    bool resize(const QSize& size, int samples);
    const QSize& size() const { return pixels; }

    /// Draws go to the samples, or with `resolved` to the pixels after resolve().
    void bind(bool resolved = false);
    /// Averages the samples of each pixel.
    void resolve();
    /// Copies the pixels to another frame buffer, scaled to its size.
    void copyTo(GLuint framebuffer, const QSize& size);
    /// Reads the pixels, from the top.
    QImage read();

private:
    void clear();

    ktGl& gl;
    QSize pixels;
    int sampleCount = -1;
    GLuint samplesFramebuffer = 0, sampleColors = 0, sampleDepths = 0; // only with several samples
    GLuint framebuffer = 0, colors = 0, depths = 0;
};
