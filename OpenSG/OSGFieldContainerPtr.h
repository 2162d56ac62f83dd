// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFIELDCONTAINERPTR_H
#define OSGFIELDCONTAINERPTR_H

// Pointers to field containers, and the functions that count references and announce changes.
//
// A pointer is one machine pointer wide, is copied like a number and holds no reference: references are counted by
// addRefCP() and subRefCP(), or by a RefPtr. A new container has no reference. The scene graph references what it
// holds: a node its children and its core, a container its attachments, a geometry its properties and its material.
// A container is destroyed when its last reference goes, or by subRefCP() when it never had one. Counting is safe
// from any thread; everything else about a container must be done by one thread at a time.

#include "OSGFieldContainerBase.h"

#include <iosfwd>

OSG_BEGIN_NAMESPACE

class FieldContainer;
class NullFieldContainerPtr;

/// The part that all pointers have in common: address, identity and order.
class FieldContainerPtrBase {
public:
    constexpr FieldContainerPtrBase() = default;

    /// References to the container; 0 for a null pointer.
    Int32 getRefCount() const;
    /// Number of the container, different for all containers of the process and never used again; 0 for a null
    /// pointer.
    UInt32 getFieldContainerId() const;
    /// The container itself, or nullptr.
    FieldContainer* getBaseCPtr() const { return _store; }

    bool operator==(const FieldContainerPtrBase& other) const { return _store == other._store; }
    bool operator!=(const FieldContainerPtrBase& other) const { return _store != other._store; }
    /// By address.
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

    /// While true, no container's changed() is called by the edit functions below, in any thread; the change lists
    /// are still written. For bulk work that announces once at its end.
    static bool _ignore_change;
};

/// The type of NullFC, which every pointer type can be compared with, made from and set to.
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

    /// The same container as a pointer of this type; null when it is not of the type, or null.
    static FCPtr dcast(const FieldContainerPtrBase& other) {
        return FCPtr(dynamic_cast<const FieldContainerTypeT*>(other.getBaseCPtr()));
    }

    FieldContainerTypeT* operator->() const { return getCPtr(); }
    FieldContainerTypeT& operator*() const { return *getCPtr(); }
    FieldContainerTypeT* getCPtr() const { return static_cast<FieldContainerTypeT*>(this->_store); }
};

/// Adds a reference. A null pointer is left alone, here and below.
void addRefCP(const FieldContainerPtrBase& objectP);
/// Takes a reference back and destroys the container if none is left.
void subRefCP(const FieldContainerPtrBase& objectP);
/// Takes a reference back, as subRefCP, and sets the pointer to null.
void clearRefCP(FieldContainerPtrBase& objectP);
/// Makes objectP point to newObjectP: adds a reference to the new container, takes one from the old.
void setRefdCP(FieldContainerPtrBase& objectP, const FieldContainerPtrBase& newObjectP);

/// Opens an edit of the fields in whichField. Nothing happens yet: endEditCP announces the change.
void beginEditCP(const FieldContainerPtr& objectP, BitVector whichField = FieldBits::AllFields,
                 UInt32 origin = ChangedOrigin::External);
/// Announces an edit: enters it into the thread's change list and calls changed() of the container.
void endEditCP(const FieldContainerPtr& objectP, BitVector whichField = FieldBits::AllFields,
               UInt32 origin = ChangedOrigin::External);
/// Calls changed() of the container and leaves the change list alone.
void changedCP(const FieldContainerPtr& objectP, BitVector whichField = FieldBits::AllFields,
               UInt32 origin = ChangedOrigin::External);
/// Enters an edit into the change list without calling changed().
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

/// Edit the named pointer's container up to the end of the block.
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

/// Type name and number of the container, or "NullFC".
std::ostream& operator<<(std::ostream& os, const FieldContainerPtr& fc);

OSG_END_NAMESPACE

#endif
