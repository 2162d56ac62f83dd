// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds container types by name and containers by id, and creates containers by type name.
#include "OSGFieldContainerFactory.h"

#include "OSGAttachment.h"
#include "OSGBaseFunctions.h"
#include "OSGLog.h"
#include "OSGNode.h"
#include "OSGNodeCore.h"
#include "OSGThread.h"

OSG_BEGIN_NAMESPACE

FieldContainerFactory* FieldContainerFactory::the() {
    // Never destroyed: types and containers in other libraries' static objects may be destroyed later.
    static FieldContainerFactory* const factory = new FieldContainerFactory;
    return factory;
}

FieldContainerType* FieldContainerFactory::findType(const UInt32 typeId) const {
    const std::lock_guard<std::mutex> lock(_typeLock);
    return typeId >= 1 && typeId <= _types.size() ? _types[typeId - 1] : nullptr;
}

FieldContainerType* FieldContainerFactory::findType(const Char8* name) const {
    const std::lock_guard<std::mutex> lock(_typeLock);
    const auto found = _typesByName.find(name != nullptr ? name : "");
    return found != _typesByName.end() ? found->second : nullptr;
}

UInt32 FieldContainerFactory::getNumTypes() const {
    const std::lock_guard<std::mutex> lock(_typeLock);
    return UInt32(_typesByName.size());
}

UInt16 FieldContainerFactory::findGroupId(const Char8* name) const {
    const std::lock_guard<std::mutex> lock(_typeLock);
    const auto found = _groupIds.find(name != nullptr ? name : "");
    return found != _groupIds.end() ? found->second : 0;
}

const Char8* FieldContainerFactory::findGroupName(const UInt16 groupId) const {
    const std::lock_guard<std::mutex> lock(_typeLock);
    for (const auto& group : _groupIds)
        if (group.second == groupId)
            return group.first.c_str();
    return nullptr;
}

UInt16 FieldContainerFactory::getNumGroups() const {
    const std::lock_guard<std::mutex> lock(_typeLock);
    return UInt16(_groupIds.size());
}

FieldContainerPtr FieldContainerFactory::getContainer(const UInt32 containerId) const {
    const std::lock_guard<std::mutex> lock(_containerLock);
    const UInt32 page = containerId / Page::size;
    if (page >= _pages.size() || _pages[page] == nullptr)
        return NullFC;
    return FieldContainerPtr(_pages[page]->containers[containerId % Page::size]);
}

UInt32 FieldContainerFactory::getNumContainers() const {
    const std::lock_guard<std::mutex> lock(_containerLock);
    return _living;
}

FieldContainerPtr FieldContainerFactory::createFieldContainer(const Char8* name) const {
    const FieldContainerType* const type = findType(name);
    return type != nullptr ? type->createFieldContainer() : FieldContainerPtr();
}

NodePtr FieldContainerFactory::createNode(const Char8* name) const {
    const FieldContainerType* const type = findType(name);
    return type != nullptr ? type->createNode() : NodePtr();
}

NodeCorePtr FieldContainerFactory::createNodeCore(const Char8* name) const {
    const FieldContainerType* const type = findType(name);
    return type != nullptr ? type->createNodeCore() : NodeCorePtr();
}

AttachmentPtr FieldContainerFactory::createAttachment(const Char8* name) const {
    const FieldContainerType* const type = findType(name);
    return type != nullptr ? type->createAttachment() : AttachmentPtr();
}

UInt32 FieldContainerFactory::registerContainer(FieldContainer* container) {
    const std::lock_guard<std::mutex> lock(_containerLock);
    const UInt32 id = _nextContainerId++;
    const UInt32 page = id / Page::size;
    if (page >= _pages.size())
        _pages.resize(page + 1);
    if (_pages[page] == nullptr)
        _pages[page] = std::make_unique<Page>();
    _pages[page]->containers[id % Page::size] = container;
    ++_pages[page]->living;
    ++_living;
    return id;
}

void FieldContainerFactory::unregisterContainer(const UInt32 containerId) {
    const std::lock_guard<std::mutex> lock(_containerLock);
    const UInt32 page = containerId / Page::size;
    _pages[page]->containers[containerId % Page::size] = nullptr;
    --_living;
    if (--_pages[page]->living == 0 && page != _nextContainerId / Page::size)
        _pages[page].reset();
}

void FieldContainerFactory::registerType(FieldContainerType* type, const Char8* groupName) {
    const std::lock_guard<std::mutex> lock(_typeLock);
    _types.push_back(type);
    type->_id = UInt32(_types.size());

    const std::string group = groupName != nullptr ? groupName : type->getCName();
    type->_groupId = _groupIds.emplace(group, UInt16(_groupIds.size() + 1)).first->second;

    if (!_typesByName.emplace(type->getCName(), type).second)
        logWarning("there are two container types of the name %s; the first one is found by name", type->getCName());
}

void FieldContainerFactory::unregisterType(FieldContainerType* type) {
    const std::lock_guard<std::mutex> lock(_typeLock);
    _types[type->_id - 1] = nullptr;
    const auto byName = _typesByName.find(type->getCName());
    if (byName != _typesByName.end() && byName->second == type)
        _typesByName.erase(byName);
    for (FieldContainerType* const other : _types)
        if (other != nullptr && other->_parent == type)
            other->_parent = nullptr;
}

void FieldContainerFactory::initializeTypes() {
    std::vector<FieldContainerType*> types;
    {
        const std::lock_guard<std::mutex> lock(_typeLock);
        types = _types;
    }
    for (const FieldContainerType* const type : types)
        if (type != nullptr)
            type->getPrototype();
}

bool osgInit(Int32, Char8**, UInt16, UInt16, UInt16) {
    ExternalThread::get("")->initialize(0);
    FieldContainerFactory::the()->initializeTypes();
    return true;
}

bool osgExit() {
    return true;
}

OSG_END_NAMESPACE
