// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QOpenGLFunctions_3_3_Core>

/// The functions of OpenGL 3.3 core. They belong to a context, which must be current when they are called.
using ktGl = QOpenGLFunctions_3_3_Core;
