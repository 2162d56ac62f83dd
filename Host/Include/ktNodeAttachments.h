// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGNode.h>

/// The attachment of type `Attachment` on a node; null if the node has none.
/// @param node not null
template <class Attachment>
typename Attachment::Ptr ktFindAttachment(const osg::NodePtr& node) {
    return Attachment::Ptr::dcast(node->findAttachment(Attachment::getClassType()));
}

/// Attaches an attachment, replaces another one of its group, and announces the change. Neither may be null.
inline void ktAttach(const osg::NodePtr& node, const osg::AttachmentPtr& attachment) {
    osg::beginEditCP(node, osg::Node::AttachmentsFieldMask);
    node->addAttachment(attachment);
    osg::endEditCP(node, osg::Node::AttachmentsFieldMask);
}

/// Removes an attachment from a node and announces the change. Neither may be null.
inline void ktDetach(const osg::NodePtr& node, const osg::AttachmentPtr& attachment) {
    osg::beginEditCP(node, osg::Node::AttachmentsFieldMask);
    node->subAttachment(attachment);
    osg::endEditCP(node, osg::Node::AttachmentsFieldMask);
}
