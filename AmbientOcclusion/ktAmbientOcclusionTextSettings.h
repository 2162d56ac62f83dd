// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "OSGValuePair.h"

class ktAmbientOcclusion;

/// The older form of the settings on nodes: text values under keys that begin with "AO". It has no direct-light mode.
namespace ktAmbientOcclusionInternal {

/// Sets all keys from the controller's settings; values there are replaced.
void writeTextSettings(const ktAmbientOcclusion& controller, const osg::ValuePairPtr& values);
/// Deletes all keys; a missing one is no error.
void eraseTextSettings(const osg::ValuePairPtr& values);
/// Sets what the keys hold through the controller's setters. Absent keys, and a colour that lacks a component, leave
/// their setting alone; text that is no number counts as 0, text other than "true" as false.
void loadTextSettings(ktAmbientOcclusion& controller, const osg::ValuePairPtr& values);

} // namespace ktAmbientOcclusionInternal
