// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFIELDCONTAINER_H
#define OSGFIELDCONTAINER_H

#include "OSGFieldContainerMacros.h"
#include "OSGFieldContainerPtr.h"
#include "OSGFieldContainerType.h"
#include "OSGMField.h"
#include "OSGSField.h"

#include <atomic>

OSG_BEGIN_NAMESPACE

/// Base class of everything in a scene graph that has an id, a type, a reference count and fields.
///
/// Containers are created by their class's create() and destroyed by reference counting, never by new and delete. To
/// write a container class, see Docs/inside/scene-graph.md.
class FieldContainer {
public:
    enum { NextFieldId = 1 };
    static constexpr bool isNodeCore = false;

    static FieldContainerType& getClassType() { return _type; }
    static UInt32 getClassTypeId() { return _type.getId(); }
    static UInt16 getClassGroupId() { return _type.getGroupId(); }

    /// The type of the object's most derived class.
    virtual FieldContainerType& getType() { return _type; }
    virtual const FieldContainerType& getType() const { return _type; }
    UInt32 getTypeId() const { return getType().getId(); }
    UInt16 getGroupId() const { return getType().getGroupId(); }
    const Char8* getTypeName() const { return getType().getCName(); }

    /// sizeof the object's most derived class.
    virtual UInt32 getContainerSize() const = 0;

    /// Returns a new container of the same class. Copies plain fields, and shares the containers that fields point to
    /// (each gets one more reference). The copy of a node has no parent and no children.
    virtual FieldContainerPtr shallowCopy() const = 0;

    /// Called after an edit of the fields in whichField. Derived classes update what depends on them.
    virtual void changed(BitVector whichField, UInt32 origin);

    /// Writes type, id and reference count to standard error, for debugging.
    virtual void dump(UInt32 indent = 0, const BitVector flags = 0) const;

protected:
    FieldContainer();
    FieldContainer(const FieldContainer& source);
    virtual ~FieldContainer();

    /// Called when the container is complete; source is what it was copied from, or null. A class that does something
    /// here has an onCreate() with a pointer to its own class, which calls that of its base class first. OpenSG 1.8
    /// constructs a container once per aspect but calls onCreate() and onDestroy() once.
    void onCreate(const FieldContainer* source = nullptr);
    /// Called before the destructor, while the object is still complete.
    virtual void onDestroy();

    /// Creates an object by default constructor, or by copy constructor from prototype. create(), createEmpty() and
    /// shallowCopy() use these.
    template <class PtrT>
    static void newPtr(PtrT& result) {
        result = PtrT(new typename PtrT::StoredObjectType());
        created(result);
        result->onCreate();
    }
    template <class PtrT>
    static void newPtr(PtrT& result, const typename PtrT::StoredObjectType* prototype) {
        result = PtrT(new typename PtrT::StoredObjectType(*prototype));
        created(result);
        result->onCreate(prototype);
    }

    static FieldContainerType _type;

private:
    friend class FieldContainerPtrBase;
    friend void addRefCP(const FieldContainerPtrBase& objectP);
    friend void subRefCP(const FieldContainerPtrBase& objectP);

    void operator=(const FieldContainer&) = delete;

    static void created(const FieldContainerPtr& container);
    static void destroy(FieldContainer* container);

    std::atomic<Int32> _refCount{0};
    UInt32 _id;
    FieldContainer* _nextToDestroy = nullptr;
};

OSG_END_NAMESPACE

#endif
