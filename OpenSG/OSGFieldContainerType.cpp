// SPDX-License-Identifier: LGPL-2.1-or-later
// Describes a class of containers at run time: name, parent type, group and prototype.
#include "OSGFieldContainerType.h"

#include "OSGAttachment.h"
#include "OSGFieldContainerFactory.h"
#include "OSGNode.h"
#include "OSGNodeCore.h"

#include <mutex>

OSG_BEGIN_NAMESPACE

namespace {

// One recursive lock for all prototypes: creating one may create another type's prototype on the same thread.
std::recursive_mutex& prototypeLock() {
    static std::recursive_mutex* const lock = new std::recursive_mutex;
    return *lock;
}

} // namespace

FieldContainerType::FieldContainerType(const Char8* name, const Char8* parentName, const Char8* groupName,
                                       const PrototypeCreateF prototypeCreate, const InitContainerF initMethod,
                                       FieldDescription**, UInt32, bool)
    : _name(name), _parentName(parentName), _prototypeCreate(prototypeCreate), _initMethod(initMethod) {
    FieldContainerFactory::the()->registerType(this, groupName);
}

FieldContainerType::~FieldContainerType() {
    // The code of an unloaded library is gone, so nothing of the type may stay.
    clearRefCP(_prototype);
    FieldContainerFactory::the()->unregisterType(this);
}

FieldContainerType* FieldContainerType::getParent() const {
    FieldContainerType* parent = _parent.load(std::memory_order_acquire);
    if (parent == nullptr && !_parentName.isEmpty()) {
        parent = FieldContainerFactory::the()->findType(_parentName.str());
        _parent.store(parent, std::memory_order_release);
    }
    return parent;
}

bool FieldContainerType::isDerivedFrom(const FieldContainerType& other) const {
    for (const FieldContainerType* type = this; type != nullptr; type = type->getParent())
        if (type == &other)
            return true;
    return false;
}

bool FieldContainerType::isNode() const {
    return isDerivedFrom(Node::getClassType());
}
bool FieldContainerType::isNodeCore() const {
    return isDerivedFrom(NodeCore::getClassType());
}
bool FieldContainerType::isAttachment() const {
    return isDerivedFrom(Attachment::getClassType());
}

FieldContainerPtr FieldContainerType::getPrototype() const {
    if (!_prototypeReady.load(std::memory_order_acquire) && _prototypeCreate != nullptr) {
        const std::lock_guard<std::recursive_mutex> lock(prototypeLock());
        if (!_prototypeReady.load(std::memory_order_relaxed)) {
            if (_initMethod != nullptr)
                _initMethod();
            _prototype = _prototypeCreate();
            addRefCP(_prototype);
            _prototypeReady.store(true, std::memory_order_release);
        }
    }
    return _prototype;
}

bool FieldContainerType::setPrototype(const FieldContainerPtr prototype) {
    if (prototype == NullFC)
        return false;
    const std::lock_guard<std::recursive_mutex> lock(prototypeLock());
    setRefdCP(_prototype, prototype);
    _prototypeReady.store(true, std::memory_order_release);
    return true;
}

FieldContainerPtr FieldContainerType::createFieldContainer() const {
    const FieldContainerPtr prototype = getPrototype();
    return prototype != NullFC ? prototype->shallowCopy() : FieldContainerPtr();
}

NodePtr FieldContainerType::createNode() const {
    return isNode() ? NodePtr::dcast(createFieldContainer()) : NodePtr();
}

NodeCorePtr FieldContainerType::createNodeCore() const {
    return isNodeCore() ? NodeCorePtr::dcast(createFieldContainer()) : NodeCorePtr();
}

AttachmentPtr FieldContainerType::createAttachment() const {
    return isAttachment() ? AttachmentPtr::dcast(createFieldContainer()) : AttachmentPtr();
}

OSG_END_NAMESPACE
