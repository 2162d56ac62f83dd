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

void FieldContainer::onCreate(const FieldContainer*) {}

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
    // Last in, first out: a node then finds itself quickly, at the end of its core's list of parents. The list needs no
    // memory, because destructors must not fail.
    static thread_local FieldContainer* waiting = nullptr;
    static thread_local bool isDestroying = false;
    container->_nextToDestroy = waiting;
    waiting = container;
    if (isDestroying)
        return;
    isDestroying = true;
    while (waiting != nullptr) {
        FieldContainer* const next = waiting;
        waiting = next->_nextToDestroy;
        if (ChangeList* const changes = Thread::getCurrentChangeList())
            changes->addDestroyed(next->_id);
        next->onDestroy();
        delete next;
    }
    isDestroying = false;
}

OSG_END_NAMESPACE
