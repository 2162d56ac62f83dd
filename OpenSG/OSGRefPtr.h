// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGREFPTR_H
#define OSGREFPTR_H

#include "OSGFieldContainerPtr.h"

#include <utility>

OSG_BEGIN_NAMESPACE

/// A pointer that holds a reference: RefPtr<NodePtr>, or NodeRefPtr for short.
template <class Ref>
class RefPtr {
public:
    using FCPtrType = Ref;
    using StoredObjectType = typename Ref::StoredObjectType;

    RefPtr() = default;
    explicit RefPtr(const Ref& fcp) : _ref(fcp) { addRefCP(_ref); }
    RefPtr(const RefPtr& other) : _ref(other._ref) { addRefCP(_ref); }
    RefPtr(RefPtr&& other) noexcept : _ref(other._ref) { other._ref = NullFC; }
    ~RefPtr() { subRefCP(_ref); }

    RefPtr& operator=(const Ref& fcp) {
        setRefdCP(_ref, fcp);
        return *this;
    }
    RefPtr& operator=(const RefPtr& other) { return *this = other._ref; }
    RefPtr& operator=(RefPtr&& other) noexcept {
        std::swap(_ref, other._ref);
        return *this;
    }
    RefPtr& operator=(const NullFieldContainerPtr&) {
        clearRefCP(_ref);
        return *this;
    }

    operator Ref() const { return _ref; }
    Ref get() const { return _ref; }
    StoredObjectType* operator->() const { return _ref.operator->(); }
    StoredObjectType* getCPtr() const { return _ref.getCPtr(); }

    bool operator==(const FieldContainerPtrBase& other) const { return _ref == other; }
    bool operator!=(const FieldContainerPtrBase& other) const { return _ref != other; }
    bool operator<(const FieldContainerPtrBase& other) const { return _ref < other; }
    bool operator==(const RefPtr& other) const { return _ref == other._ref; }
    bool operator!=(const RefPtr& other) const { return _ref != other._ref; }
    bool operator<(const RefPtr& other) const { return _ref < other._ref; }
    bool operator!() const { return !_ref; }
    explicit operator bool() const { return bool(_ref); }

private:
    Ref _ref;
};

using FieldContainerRefPtr = RefPtr<FieldContainerPtr>;

OSG_END_NAMESPACE

#endif
