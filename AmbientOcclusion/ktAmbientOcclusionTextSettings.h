// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "OSGValuePair.h"

class ktAmbientOcclusion;

/// The older format of the settings on nodes: texts under keys that begin with "AO". It has no direct-light mode.
namespace ktAmbientOcclusionInternal {

/// Sets all keys from the controller's settings; replaces existing values.
void writeTextSettings(const ktAmbientOcclusion& controller, const osg::ValuePairPtr& values);
/// Deletes all keys; a missing one is no error.
void eraseTextSettings(const osg::ValuePairPtr& values);
/// Passes the keys' values to the controller's setters. A missing key, or a colour without all components, leaves its
/// setting unchanged. A text that is not a number counts as 0, a text other than "true" as false.
void loadTextSettings(ktAmbientOcclusion& controller, const osg::ValuePairPtr& values);

} // namespace ktAmbientOcclusionInternal
