// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

#include <OpenSG/OSGNode.h>
#include <string>

class ktFileMessages;

/// Attaches to a node what its extras hold: "ambientOcclusion" as settings, strings as named texts (osg::ValuePair),
/// "locked" as a lock. Extras that are no object hold nothing.
/// @return the settings that were attached, or null
osg::AmbientOcclusionSettingsAttachmentPtr ktReadNodeExtras(const ktJson& json, const osg::NodePtr& node);

/// Brings a node's extras up to date with what is attached to the node. What says the same stays letter for letter;
/// members of other kinds stay as they are. Extras that are no object stay, with a warning when something is to be
/// kept.
void ktWriteNodeExtras(ktJson& json, const osg::NodePtr& node, const std::string& object, ktFileMessages& messages);
