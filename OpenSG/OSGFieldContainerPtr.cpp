// SPDX-License-Identifier: LGPL-2.1-or-later
// Counts the references of containers, and announces edits to change lists and to the containers.
#include "OSGFieldContainerPtr.h"

#include "OSGChangeList.h"
#include "OSGFieldContainer.h"
#include "OSGThread.h"

#include <ostream>

OSG_BEGIN_NAMESPACE

bool FieldContainerPtr::_ignore_change = false;

Int32 FieldContainerPtrBase::getRefCount() const {
    return _store != nullptr ? _store->_refCount.load(std::memory_order_acquire) : 0;
}

UInt32 FieldContainerPtrBase::getFieldContainerId() const {
    return _store != nullptr ? _store->_id : 0;
}

void addRefCP(const FieldContainerPtrBase& objectP) {
    FieldContainer* const container = objectP.getBaseCPtr();
    if (container == nullptr)
        return;
    container->_refCount.fetch_add(1, std::memory_order_relaxed);
    if (ChangeList* const changes = Thread::getCurrentChangeList())
        changes->addAddRefd(FieldContainerPtr(container));
}

void subRefCP(const FieldContainerPtrBase& objectP) {
    FieldContainer* const container = objectP.getBaseCPtr();
    if (container == nullptr)
        return;
    const UInt32 id = objectP.getFieldContainerId();
    if (container->_refCount.fetch_sub(1, std::memory_order_acq_rel) <= 1) {
        FieldContainer::destroy(container);
    } else if (ChangeList* const changes = Thread::getCurrentChangeList()) {
        // Pass the id: another thread may have destroyed the container by now.
        changes->addSubRefd(id);
    }
}

void clearRefCP(FieldContainerPtrBase& objectP) {
    const FieldContainerPtrBase old = objectP;
    objectP._store = nullptr;
    subRefCP(old);
}

void setRefdCP(FieldContainerPtrBase& objectP, const FieldContainerPtrBase& newObjectP) {
    if (objectP == newObjectP)
        return;
    const FieldContainerPtrBase old = objectP;
    addRefCP(newObjectP);
    objectP._store = newObjectP.getBaseCPtr();
    subRefCP(old);
}

void beginEditCP(const FieldContainerPtr&, BitVector, UInt32) {}

void endEditCP(const FieldContainerPtr& objectP, const BitVector whichField, const UInt32 origin) {
    endEditNotChangedCP(objectP, whichField, origin);
    changedCP(objectP, whichField, origin);
}

void changedCP(const FieldContainerPtr& objectP, const BitVector whichField, const UInt32 origin) {
    if (objectP != NullFC && !FieldContainerPtr::_ignore_change)
        objectP->changed(whichField, origin);
}

void endEditNotChangedCP(const FieldContainerPtr& objectP, const BitVector whichField, UInt32) {
    if (objectP == NullFC)
        return;
    if (ChangeList* const changes = Thread::getCurrentChangeList())
        changes->addChanged(objectP, whichField);
}

std::ostream& operator<<(std::ostream& os, const FieldContainerPtr& fc) {
    if (fc == NullFC)
        return os << "NullFC";
    return os << fc->getTypeName() << '(' << fc.getFieldContainerId() << ')';
}

OSG_END_NAMESPACE
