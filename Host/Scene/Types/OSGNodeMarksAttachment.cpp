// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the attachment for a node's marks: locked, vertex animation, component, ray file light.
#include "OSGNodeMarksAttachment.h"

OSG_BEGIN_NAMESPACE

std::atomic<int> NodeMarksAttachment::livingCount{0};
std::atomic<UInt32> NodeMarksAttachment::generation{0};

FieldContainerType NodeMarksAttachment::_type("NodeMarksAttachment", "Attachment", nullptr,
                                              []() -> FieldContainerPtr { return createEmpty(); });

OSG_FIELD_CONTAINER_DEF(NodeMarksAttachment, NodeMarksAttachmentPtr)

OSG_FIELD_MASK_DEF(NodeMarksAttachment, LockedField)
OSG_FIELD_MASK_DEF(NodeMarksAttachment, VertexAnimationField)
OSG_FIELD_MASK_DEF(NodeMarksAttachment, GeometryComponentField)
OSG_FIELD_MASK_DEF(NodeMarksAttachment, RayFileLightField)

NodeMarksAttachment::NodeMarksAttachment()
    : _sfLocked(false), _sfVertexAnimation(false), _sfGeometryComponent(false), _sfRayFileLight(false) {}

NodeMarksAttachment::NodeMarksAttachment(const NodeMarksAttachment& source)
    : Inherited(source), _sfLocked(source._sfLocked), _sfVertexAnimation(source._sfVertexAnimation),
      _sfGeometryComponent(source._sfGeometryComponent), _sfRayFileLight(source._sfRayFileLight) {}

NodeMarksAttachment::~NodeMarksAttachment() = default;

void NodeMarksAttachment::onCreate(const NodeMarksAttachment* source) {
    Inherited::onCreate(source);
    ++livingCount;
    ++generation;
}

void NodeMarksAttachment::onDestroy() {
    --livingCount;
    ++generation;
    Inherited::onDestroy();
}

void NodeMarksAttachment::changed(BitVector whichField, UInt32 origin) {
    ++generation;
    Inherited::changed(whichField, origin);
}

bool NodeMarksAttachment::exist() {
    return livingCount > (getClassType().isInitialized() ? 1 : 0);
}

OSG_END_NAMESPACE
