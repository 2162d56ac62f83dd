// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewScene.h"

#include <OpenSG/OSGMaterial.h>

/// How pictures show a material: texture, transparency, visible sides. Null gives an opaque material without texture.
ktPreviewMaterial ktReadPreviewMaterial(const osg::MaterialPtr& material);

/// Whether the material is an environment, which pictures leave out; false for null.
bool ktIsEnvironment(const osg::MaterialPtr& material);
