// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFIELDCONTAINERFACTORY_H
#define OSGFIELDCONTAINERFACTORY_H

#include "OSGFieldContainerType.h"

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

OSG_BEGIN_NAMESPACE

/// Knows all container types, and all living containers by their id. Thread-safe.
class FieldContainerFactory {
public:
    static FieldContainerFactory* the();

    /// nullptr if there is no such type.
    FieldContainerType* findType(UInt32 typeId) const;
    FieldContainerType* findType(const Char8* name) const;
    UInt32 getNumTypes() const;

    /// 0 if there is no such group.
    UInt16 findGroupId(const Char8* name) const;
    /// nullptr if there is no such group. The text lives as long as the process.
    const Char8* findGroupName(UInt16 groupId) const;
    UInt16 getNumGroups() const;

    /// The living container with that id, or null.
    FieldContainerPtr getContainer(UInt32 containerId) const;
    /// Number of living containers, prototypes included.
    UInt32 getNumContainers() const;

    /// Creates a container by the name of its type. Null if the type is unknown, abstract or of another kind.
    FieldContainerPtr createFieldContainer(const Char8* name) const;
    NodePtr createNode(const Char8* name) const;
    NodeCorePtr createNodeCore(const Char8* name) const;
    AttachmentPtr createAttachment(const Char8* name) const;

private:
    friend class FieldContainer;
    friend class FieldContainerType;
    friend bool osgInit(Int32 argc, Char8** argv, UInt16 major, UInt16 minor, UInt16 release);

    /// Ids only grow. The factory frees a page when all its containers are destroyed.
    struct Page {
        static constexpr UInt32 size = 4096;
        std::array<FieldContainer*, size> containers{};
        UInt32 living = 0;
    };

    FieldContainerFactory() = default;

    UInt32 registerContainer(FieldContainer* container);
    void unregisterContainer(UInt32 containerId);
    void registerType(FieldContainerType* type, const Char8* groupName);
    void unregisterType(FieldContainerType* type);
    /// Creates the prototypes of all types.
    void initializeTypes();

    mutable std::mutex _typeLock;
    std::vector<FieldContainerType*> _types;
    std::map<std::string, FieldContainerType*> _typesByName;
    std::map<std::string, UInt16> _groupIds;

    mutable std::mutex _containerLock;
    std::vector<std::unique_ptr<Page>> _pages;
    UInt32 _nextContainerId = 1;
    UInt32 _living = 0;
};

OSG_END_NAMESPACE

#endif
