// SPDX-License-Identifier: LGPL-2.1-or-later
// Base class of all scene graph objects: registers them, destroys them without deep recursion.
#include "OSGFieldContainer.h"

#include "OSGChangeList.h"
#include "OSGFieldContainerFactory.h"
#include "OSGThread.h"

#include <cstdio>

OSG_BEGIN_NAMESPACE

FieldContainerType FieldContainer::_type("FieldContainer");

FieldContainer::FieldContainer() : _id(FieldContainerFactory::the()->registerContainer(this)) {}

FieldContainer::FieldContainer(const FieldContainer&) : FieldContainer() {}

FieldContainer::~FieldContainer() {
    FieldContainerFactory::the()->unregisterContainer(_id);
}

void FieldContainer::onDestroy() {}

void FieldContainer::changed(BitVector, UInt32) {}

void FieldContainer::dump(const UInt32 indent, const BitVector) const {
    std::fprintf(stderr, "%*s%s(%u), %d references\n", int(indent), "", getTypeName(), unsigned(_id),
                 int(_refCount.load()));
}

void FieldContainer::created(const FieldContainerPtr& container) {
    if (ChangeList* const changes = Thread::getCurrentChangeList())
        changes->addCreated(container.getFieldContainerId());
}

void FieldContainer::destroy(FieldContainer* container) {
    // Containers that a destructor releases wait in a list until it returns, so deep trees do not overflow the stack.
    // Last in, first out: a node then finds itself quickly, at the end of its core's list of parents.
    static thread_local std::vector<FieldContainer*>* waiting = nullptr;
    if (waiting != nullptr) {
        waiting->push_back(container);
        return;
    }
    std::vector<FieldContainer*> list(1, container);
    waiting = &list;
    while (!list.empty()) {
        FieldContainer* const next = list.back();
        list.pop_back();
        if (ChangeList* const changes = Thread::getCurrentChangeList())
            changes->addDestroyed(next->_id);
        next->onDestroy();
        delete next;
    }
    waiting = nullptr;
}

OSG_END_NAMESPACE
