// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFIELDCONTAINERPTR_H
#define OSGFIELDCONTAINERPTR_H

// Pointers to field containers, and the functions that count references and announce changes.
//
// A pointer has the size of a machine pointer and holds no reference. addRefCP() and subRefCP(), or a RefPtr, count
// references. A new container has none. The scene graph references what it holds: a node its children and its core, a
// container its attachments, a geometry its properties and its material. A container is destroyed when its last
// reference is removed, or by subRefCP() if it never had one. Counting is thread-safe; all other use of a container is
// for one thread at a time.

#include "OSGFieldContainerBase.h"

#include <iosfwd>

OSG_BEGIN_NAMESPACE

class FieldContainer;
class NullFieldContainerPtr;

/// The part that all pointers have in common: address, id and order.
class FieldContainerPtrBase {
public:
    constexpr FieldContainerPtrBase() = default;

    /// Number of references to the container; 0 for a null pointer.
    Int32 getRefCount() const;
    /// Id of the container, unique in the process and never used again. 0 for a null
    /// pointer.
    UInt32 getFieldContainerId() const;
    /// The container itself, or nullptr.
    FieldContainer* getBaseCPtr() const { return _store; }

    bool operator==(const FieldContainerPtrBase& other) const { return _store == other._store; }
    bool operator!=(const FieldContainerPtrBase& other) const { return _store != other._store; }
    /// Compares addresses.
    bool operator<(const FieldContainerPtrBase& other) const { return _store < other._store; }
    bool operator!() const { return _store == nullptr; }
    explicit operator bool() const { return _store != nullptr; }

protected:
    explicit FieldContainerPtrBase(FieldContainer* container) : _store(container) {}

    FieldContainer* _store = nullptr;

    friend void clearRefCP(FieldContainerPtrBase& objectP);
    friend void setRefdCP(FieldContainerPtrBase& objectP, const FieldContainerPtrBase& newObjectP);
};

/// A pointer to any container.
class FieldContainerPtr : public FieldContainerPtrBase {
public:
    using StoredObjectType = FieldContainer;
    using ObjectType = FieldContainerPtr;

    constexpr FieldContainerPtr() = default;
    explicit FieldContainerPtr(const FieldContainer* container)
        : FieldContainerPtrBase(const_cast<FieldContainer*>(container)) {}
    explicit FieldContainerPtr(const FieldContainer& container) : FieldContainerPtr(&container) {}

    FieldContainer* operator->() const { return _store; }
    FieldContainer& operator*() const { return *_store; }
    FieldContainer* getCPtr() const { return _store; }

    /// While true, the edit functions below do not call changed() in any thread. They still write the change lists. Use
    /// it for bulk edits, and announce the change once at the end.
    static bool _ignore_change;
};

/// The type of NullFC. Every pointer type can be compared with it, constructed from it and assigned from it.
class NullFieldContainerPtr : public FieldContainerPtr {
public:
    constexpr NullFieldContainerPtr() = default;
};

inline constexpr NullFieldContainerPtr NullFC;

/// A pointer to a FieldContainerTypeT, which derives from what a BasePtrTypeT points to.
template <class BasePtrTypeT, class FieldContainerTypeT>
class FCPtr : public BasePtrTypeT {
public:
    using StoredObjectType = FieldContainerTypeT;
    using ObjectType = FCPtr;
    using Inherited = BasePtrTypeT;

    constexpr FCPtr() = default;
    constexpr FCPtr(const NullFieldContainerPtr&) {}
    explicit FCPtr(const FieldContainerTypeT* container) : BasePtrTypeT(container) {}
    explicit FCPtr(const FieldContainerTypeT& container) : BasePtrTypeT(&container) {}

    /// The same container as a pointer of this type. Null if other is null or the container is of another type.
    static FCPtr dcast(const FieldContainerPtrBase& other) {
        return FCPtr(dynamic_cast<const FieldContainerTypeT*>(other.getBaseCPtr()));
    }

    FieldContainerTypeT* operator->() const { return getCPtr(); }
    FieldContainerTypeT& operator*() const { return *getCPtr(); }
    FieldContainerTypeT* getCPtr() const { return static_cast<FieldContainerTypeT*>(this->_store); }
};

/// Adds a reference. This function and those below ignore a null pointer.
void addRefCP(const FieldContainerPtrBase& objectP);
/// Removes a reference. Destroys the container if none is left.
void subRefCP(const FieldContainerPtrBase& objectP);
/// Removes a reference as subRefCP does, and sets the pointer to null.
void clearRefCP(FieldContainerPtrBase& objectP);
/// Makes objectP point to newObjectP: adds a reference to the new container and removes one from the old.
void setRefdCP(FieldContainerPtrBase& objectP, const FieldContainerPtrBase& newObjectP);

/// Begins an edit of the fields in whichField. endEditCP announces the change.
void beginEditCP(const FieldContainerPtr& objectP, BitVector whichField = FieldBits::AllFields,
                 UInt32 origin = ChangedOrigin::External);
/// Announces an edit: adds it to the thread's change list and calls changed() of the container.
void endEditCP(const FieldContainerPtr& objectP, BitVector whichField = FieldBits::AllFields,
               UInt32 origin = ChangedOrigin::External);
/// Calls changed() of the container. Adds nothing to the change list.
void changedCP(const FieldContainerPtr& objectP, BitVector whichField = FieldBits::AllFields,
               UInt32 origin = ChangedOrigin::External);
/// Adds an edit to the change list. Does not call changed().
void endEditNotChangedCP(const FieldContainerPtr& objectP, BitVector whichField = FieldBits::AllFields,
                         UInt32 origin = ChangedOrigin::External);

/// An edit that lasts as long as the object.
class CPEditor {
public:
    explicit CPEditor(const FieldContainerPtr& fc, const BitVector mask = FieldBits::AllFields) : _fc(fc), _mask(mask) {
        beginEditCP(_fc, _mask);
    }
    ~CPEditor() { endEditCP(_fc, _mask); }
    CPEditor(const CPEditor&) = delete;
    void operator=(const CPEditor&) = delete;

private:
    FieldContainerPtr _fc;
    BitVector _mask;
};

/// Edits the container of the named pointer until the end of the block.
#define CPEdit(fc, mask) ::OSG::CPEditor CPEdit_##fc((fc), (mask))
#define CPEditAll(fc) ::OSG::CPEditor CPEdit_##fc((fc))

template <class PtrT>
inline UInt32 getContainerId(const PtrT& objectP) {
    return objectP.getFieldContainerId();
}
template <class PtrT>
inline Int32 getRefCount(const PtrT& objectP) {
    return objectP.getRefCount();
}
template <class PtrT>
inline typename PtrT::StoredObjectType* getCPtr(const PtrT& objectP) {
    return objectP.getCPtr();
}

/// Writes the type name and id of the container, or "NullFC".
std::ostream& operator<<(std::ostream& os, const FieldContainerPtr& fc);

OSG_END_NAMESPACE

#endif
