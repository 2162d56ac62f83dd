// SPDX-License-Identifier: LGPL-2.1-or-later
// Frame buffers that pictures are drawn into.
#include "ktGlTarget.h"

#include <algorithm>

ktGlTarget::ktGlTarget(ktGl& gl_) : gl(gl_) {}

ktGlTarget::~ktGlTarget() {
    clear();
}

void ktGlTarget::clear() {
    for (GLuint* buffer : {&samplesFramebuffer, &framebuffer})
        gl.glDeleteFramebuffers(1, buffer), *buffer = 0;
    for (GLuint* buffer : {&sampleColors, &sampleDepths, &colors, &depths})
        gl.glDeleteRenderbuffers(1, buffer), *buffer = 0;
    pixels = {};
}

bool ktGlTarget::resize(const QSize& size, int samples) {
    GLint mostSamples = 0, largest = 0;
    gl.glGetIntegerv(GL_MAX_SAMPLES, &mostSamples);
    gl.glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &largest);
    samples = std::min(samples, mostSamples);
    if (size == pixels && samples == sampleCount)
        return true;
    clear();
    if (size.isEmpty() || size.width() > largest || size.height() > largest)
        return false;
    const auto make = [&](GLuint& target, GLuint& color, GLuint& depth, int count) {
        gl.glGenFramebuffers(1, &target);
        gl.glBindFramebuffer(GL_FRAMEBUFFER, target);
        gl.glGenRenderbuffers(1, &color);
        gl.glBindRenderbuffer(GL_RENDERBUFFER, color);
        gl.glRenderbufferStorageMultisample(GL_RENDERBUFFER, count, GL_SRGB8_ALPHA8, size.width(), size.height());
        gl.glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color);
        if (count == samples) { // averaged pixels need no depth
            gl.glGenRenderbuffers(1, &depth);
            gl.glBindRenderbuffer(GL_RENDERBUFFER, depth);
            gl.glRenderbufferStorageMultisample(GL_RENDERBUFFER, count, GL_DEPTH_COMPONENT24, size.width(),
                                                size.height());
            gl.glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depth);
        }
        return gl.glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    };
    bool isComplete = make(framebuffer, colors, depths, 0);
    if (isComplete && samples > 0)
        isComplete = make(samplesFramebuffer, sampleColors, sampleDepths, samples);
    if (!isComplete) {
        clear();
        return samples > 0 && resize(size, 0);
    }
    pixels = size;
    sampleCount = samples;
    return true;
}

void ktGlTarget::bind(bool resolved) {
    gl.glBindFramebuffer(GL_FRAMEBUFFER, resolved || !samplesFramebuffer ? framebuffer : samplesFramebuffer);
    gl.glViewport(0, 0, pixels.width(), pixels.height());
}

void ktGlTarget::resolve() {
    if (!samplesFramebuffer)
        return;
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, samplesFramebuffer);
    gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
    gl.glBlitFramebuffer(0, 0, pixels.width(), pixels.height(), 0, 0, pixels.width(), pixels.height(),
                         GL_COLOR_BUFFER_BIT, GL_NEAREST);
}

void ktGlTarget::copyTo(GLuint target, const QSize& size) {
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, target);
    gl.glDisable(GL_FRAMEBUFFER_SRGB); // the bytes stay as they are
    gl.glBlitFramebuffer(0, 0, pixels.width(), pixels.height(), 0, 0, size.width(), size.height(), GL_COLOR_BUFFER_BIT,
                         size == pixels ? GL_NEAREST : GL_LINEAR);
    gl.glBindFramebuffer(GL_FRAMEBUFFER, target);
}

QImage ktGlTarget::read() {
    QImage image(pixels, QImage::Format_RGBX8888);
    if (image.isNull())
        return image;
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    gl.glPixelStorei(GL_PACK_ALIGNMENT, 4);
    gl.glReadPixels(0, 0, pixels.width(), pixels.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
    return image.mirrored().convertToFormat(QImage::Format_RGB32);
}
