// SPDX-License-Identifier: LGPL-2.1-or-later
// A plug-in as it is written for OpenSG 1.x: it visits nodes and has its own attachment and core.
#include "visitor.h"

#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGFaceIterator.h>
#include <OpenSG/OSGGeometry.h>

OSG_BEGIN_NAMESPACE

const BitVector Mark::FacesFieldMask = (TypeTraits<BitVector>::One << Mark::FacesFieldId);

FieldContainerType Mark::_type("Mark", "Attachment", NULL, (PrototypeCreateF)&Mark::createEmpty);

OSG_FIELD_CONTAINER_DEF(Mark, MarkPtr)

Mark::Mark() : Inherited(), _sfFaces(0) {}
Mark::Mark(const Mark& source) : Inherited(source), _sfFaces(source._sfFaces) {}
Mark::~Mark() {}

UInt32 Assembly::living = 0;

FieldContainerType Assembly::_type("Assembly", "Group", NULL, (PrototypeCreateF)&Assembly::createEmpty);

OSG_FIELD_CONTAINER_DEF(Assembly, AssemblyPtr)

Assembly::Assembly() : Inherited() {}
Assembly::Assembly(const Assembly& source) : Inherited(source) {}
Assembly::~Assembly() {}

void Assembly::onCreate(const Assembly* source) {
    Inherited::onCreate(source);
    if (source != NULL)
        ++living;
}

void Assembly::onDestroy() {
    --living;
    Inherited::onDestroy();
}

OSG_END_NAMESPACE

namespace {

class Visitor {
public:
    Visitor() : nodes(0) {}

    OSG::Action::ResultE enter(OSG::NodePtr& node) {
        ++nodes;
        OSG::GeometryPtr geometry = OSG::GeometryPtr::dcast(node->getCore());
        if (geometry == OSG::NullFC)
            return OSG::Action::Continue;
        OSG::UInt32 faces = 0;
        for (OSG::FaceIterator face = geometry->beginFaces(); face != geometry->endFaces(); ++face)
            ++faces;
        OSG::MarkPtr mark = OSG::MarkPtr::dcast(node->findAttachment(OSG::Mark::getClassType()));
        if (mark == OSG::NullFC) {
            mark = OSG::Mark::create();
            OSG::beginEditCP(node, OSG::Node::AttachmentsFieldMask);
            node->addAttachment(mark);
            OSG::endEditCP(node, OSG::Node::AttachmentsFieldMask);
        }
        OSG::beginEditCP(mark, OSG::Mark::FacesFieldMask);
        mark->setFaces(faces);
        OSG::endEditCP(mark, OSG::Mark::FacesFieldMask);
        return OSG::Action::Continue;
    }

    int nodes;
};

} // namespace

int markFaces(const osg::NodePtr& root) {
    Visitor visitor;
    OSG::traverse(root, OSG::osgTypedMethodFunctor1ObjPtrCPtrRef<OSG::Action::ResultE, Visitor, OSG::NodePtr>(
                            &visitor, &Visitor::enter));
    return visitor.nodes;
}
