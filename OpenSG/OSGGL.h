// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGL_H
#define OSGGL_H

#include "OSGBaseTypes.h"

// The OpenGL codes that geometry uses, for programs that do not include OpenGL's headers. Values and spelling are the
// same, so both may be included.

#ifndef GL_POINTS
#define GL_POINTS 0x0000
#define GL_LINES 0x0001
#define GL_LINE_LOOP 0x0002
#define GL_LINE_STRIP 0x0003
#define GL_TRIANGLES 0x0004
#define GL_TRIANGLE_STRIP 0x0005
#define GL_TRIANGLE_FAN 0x0006
#define GL_QUADS 0x0007
#define GL_QUAD_STRIP 0x0008
#define GL_POLYGON 0x0009
#endif

#ifndef GL_FLOAT
#define GL_BYTE 0x1400
#define GL_UNSIGNED_BYTE 0x1401
#define GL_SHORT 0x1402
#define GL_UNSIGNED_SHORT 0x1403
#define GL_UNSIGNED_INT 0x1405
#define GL_FLOAT 0x1406
#define GL_DOUBLE 0x140A
#endif

#ifndef GL_DIFFUSE
#define GL_DIFFUSE 0x1201
#endif

typedef unsigned int GLenum;

#endif
