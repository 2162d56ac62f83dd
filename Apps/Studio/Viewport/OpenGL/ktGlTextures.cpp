// SPDX-License-Identifier: LGPL-2.1-or-later
// Uploads the pictures of materials to OpenGL, as sRGB.
#include "ktGlTextures.h"

#include <QImage>

namespace {

GLint wrapOf(osg::UberMaterialTexture::Wrap wrap) {
    switch (wrap) {
    case osg::UberMaterialTexture::ClampToEdge:
        return GL_CLAMP_TO_EDGE;
    case osg::UberMaterialTexture::MirroredRepeat:
        return GL_MIRRORED_REPEAT;
    case osg::UberMaterialTexture::Repeat:
        break;
    }
    return GL_REPEAT;
}

/// The picture, at most `largest` pixels wide and high; one white pixel if it has fewer pixels than it says.
QImage pixelsOf(const ktImage& image, int largest) {
    const bool isWhole =
        image.width_px > 0 && image.height_px > 0 &&
        image.pixels.size() / 4 / static_cast<std::size_t>(image.width_px) >= static_cast<std::size_t>(image.height_px);
    if (!isWhole) {
        QImage white(1, 1, QImage::Format_RGBA8888);
        white.fill(Qt::white);
        return white;
    }
    const QImage all(image.pixels.data(), image.width_px, image.height_px, 4 * image.width_px, QImage::Format_RGBA8888);
    return all.width() <= largest && all.height() <= largest
               ? all
               : all.scaled(largest, largest, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace

ktGlTextures::ktGlTextures(ktGl& gl_) : gl(gl_) {}

ktGlTextures::~ktGlTextures() {
    clear();
}

void ktGlTextures::clear() {
    for (auto& [key, entry] : entries)
        gl.glDeleteTextures(1, &entry.texture);
    entries.clear();
}

GLuint ktGlTextures::of(const osg::UberMaterialTexture& texture) {
    Entry& entry = entries[{texture.image.get(), texture.wrapU, texture.wrapV, texture.isFiltered}];
    if (entry.texture)
        return entry.texture;
    entry.image = texture.image;
    GLint largest = 1024;
    gl.glGetIntegerv(GL_MAX_TEXTURE_SIZE, &largest);
    const QImage pixels = pixelsOf(*texture.image, largest);
    gl.glGenTextures(1, &entry.texture);
    gl.glBindTexture(GL_TEXTURE_2D, entry.texture);
    gl.glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    gl.glTexImage2D(GL_TEXTURE_2D, 0, GL_SRGB8_ALPHA8, pixels.width(), pixels.height(), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                    pixels.constBits());
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, wrapOf(texture.wrapU));
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrapOf(texture.wrapV));
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, texture.isFiltered ? GL_LINEAR : GL_NEAREST);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, texture.isFiltered ? GL_LINEAR_MIPMAP_LINEAR : GL_NEAREST);
    if (texture.isFiltered)
        gl.glGenerateMipmap(GL_TEXTURE_2D);
    return entry.texture;
}
