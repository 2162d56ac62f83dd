// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFIELDCONTAINERTYPE_H
#define OSGFIELDCONTAINERTYPE_H

#include "OSGFieldContainerPtr.h"
#include "OSGIDString.h"

#include <atomic>

OSG_BEGIN_NAMESPACE

class AttachmentPtr;
class FieldDescription;
class NodePtr;
class NodeCore;
class AttachmentContainerPtr;
typedef FCPtr<AttachmentContainerPtr, NodeCore> NodeCorePtr;

/// Creates a new container with all fields at their defaults.
typedef FieldContainerPtr (*PrototypeCreateF)();
/// Called once, before the type's prototype is created.
typedef void (*InitContainerF)();

/// Run-time description of a class of containers: name, parent type, group, prototype.
///
/// Each class has one static object, which registers itself with the FieldContainerFactory. The group decides which
/// attachments replace each other: a container holds one attachment of each group and binding.
class FieldContainerType {
public:
    /// name: of the class, unique. parentName: of the base class; nullptr for FieldContainer itself. groupName: nullptr
    /// for a separate group with the name of the type. prototypeCreate: nullptr for an abstract class. descriptions,
    /// descriptionBytes, descriptionsAddable: ignored; they exist for compatibility with OpenSG 1.x, because fields
    /// have no run-time description here.
    explicit FieldContainerType(const Char8* name, const Char8* parentName = nullptr, const Char8* groupName = nullptr,
                                PrototypeCreateF prototypeCreate = nullptr, InitContainerF initMethod = nullptr,
                                FieldDescription** descriptions = nullptr, UInt32 descriptionBytes = 0,
                                bool descriptionsAddable = false);
    /// Unregisters the type and releases the prototype.
    ~FieldContainerType();

    FieldContainerType(const FieldContainerType&) = delete;
    void operator=(const FieldContainerType&) = delete;

    UInt32 getId() const { return _id; }
    UInt16 getGroupId() const { return _groupId; }
    const IDString& getName() const { return _name; }
    const Char8* getCName() const { return _name.str(); }
    const IDString& getParentName() const { return _parentName; }
    const Char8* getCParentName() const { return _parentName.str(); }
    /// nullptr for FieldContainer, or if the parent's type is not registered.
    FieldContainerType* getParent() const;

    /// Also true for the type itself.
    bool isDerivedFrom(const FieldContainerType& other) const;
    bool isAbstract() const { return _prototypeCreate == nullptr; }
    bool isInitialized() const { return _prototype != NullFC; }
    bool isNode() const;
    bool isNodeCore() const;
    bool isAttachment() const;

    /// The container that create() copies, created on first use. Null for abstract types. Thread-safe.
    FieldContainerPtr getPrototype() const;
    /// Replaces the prototype. Returns false and does nothing for null.
    bool setPrototype(FieldContainerPtr prototype);

    /// A copy of the prototype. Null for abstract types and for types of another kind.
    FieldContainerPtr createFieldContainer() const;
    NodePtr createNode() const;
    NodeCorePtr createNodeCore() const;
    AttachmentPtr createAttachment() const;

    bool operator==(const FieldContainerType& other) const { return _id == other._id; }
    bool operator!=(const FieldContainerType& other) const { return _id != other._id; }

private:
    friend class FieldContainerFactory;

    UInt32 _id = 0;
    UInt16 _groupId = 0;
    IDString _name;
    IDString _parentName;
    PrototypeCreateF _prototypeCreate;
    InitContainerF _initMethod;
    mutable std::atomic<FieldContainerType*> _parent{nullptr};
    mutable FieldContainerPtr _prototype;
    mutable std::atomic<bool> _prototypeReady{false};
};

OSG_END_NAMESPACE

#endif
