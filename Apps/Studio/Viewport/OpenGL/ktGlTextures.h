// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGl.h"
#include "OSGUberMaterial.h"

#include <map>
#include <tuple>

/// Pictures of materials on the display. All calls need the current context.
class ktGlTextures {
public:
    explicit ktGlTextures(ktGl& gl);
    ~ktGlTextures();
    ktGlTextures(const ktGlTextures&) = delete;
    ktGlTextures& operator=(const ktGlTextures&) = delete;

    /// The texture of a picture, uploaded when it is first needed. White if the picture has too few pixels. Smaller
    /// than the picture if OpenGL has no texture of that size.
    /// @param texture `image` is not null
    GLuint of(const osg::UberMaterialTexture& texture);
    /// Deletes all.
    void clear();

private:
    struct Entry {
        std::shared_ptr<const ktImage> image; // keeps its address
        GLuint texture = 0;
    };
    ktGl& gl;
    std::map<std::tuple<const ktImage*, int, int, bool>, Entry> entries;
};
