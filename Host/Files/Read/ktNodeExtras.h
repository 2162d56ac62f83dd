// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

#include <OpenSG/OSGNode.h>
#include <string>

class ktFileMessages;

/// Attaches the contents of extras to a node: "ambientOcclusion" as settings, strings as named texts (osg::ValuePair),
/// "locked" as a lock. Ignores extras that are not an object.
/// @return the attached settings, or null
osg::AmbientOcclusionSettingsAttachmentPtr ktReadNodeExtras(const ktJson& json, const osg::NodePtr& node);

/// Updates a node's extras from the node's attachments. Members with the same meaning keep their exact text. Members
/// of other kinds are unchanged. Extras that are not an object are unchanged too, with a warning if attachments are
/// lost.
void ktWriteNodeExtras(ktJson& json, const osg::NodePtr& node, const std::string& object, ktFileMessages& messages);
