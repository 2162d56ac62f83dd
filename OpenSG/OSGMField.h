// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGMFIELD_H
#define OSGMFIELD_H

#include "OSGBaseTypes.h"

#include <algorithm>
#include <vector>

OSG_BEGIN_NAMESPACE

/// A container's field with any number of values, contiguous in memory, used like a std::vector. Does not announce
/// changes: use beginEditCP/endEditCP.
template <class FieldTypeT, Int32 fieldNameSpace = 0>
class MField {
public:
    using StoredType = FieldTypeT;
    using StorageType = std::vector<FieldTypeT>;
    using iterator = typename StorageType::iterator;
    using const_iterator = typename StorageType::const_iterator;
    using reverse_iterator = typename StorageType::reverse_iterator;
    using const_reverse_iterator = typename StorageType::const_reverse_iterator;
    using reference = typename StorageType::reference;
    using const_reference = typename StorageType::const_reference;

    MField() = default;
    explicit MField(const UInt32 size) : _values(size) {}

    StorageType& getValues() { return _values; }
    const StorageType& getValues() const { return _values; }
    void setValues(const StorageType& values) { _values = values; }
    void setValues(const MField& other) { _values = other._values; }

    reference getValue(const UInt32 index) { return _values[index]; }
    const_reference getValue(const UInt32 index) const { return _values[index]; }
    void setValue(const FieldTypeT& value, const UInt32 index) { _values[index] = value; }
    void addValue(const FieldTypeT& value) { _values.push_back(value); }

    UInt32 getSize() const { return UInt32(_values.size()); }
    UInt32 size() const { return UInt32(_values.size()); }
    UInt32 capacity() const { return UInt32(_values.capacity()); }
    bool isEmpty() const { return _values.empty(); }
    bool empty() const { return _values.empty(); }

    iterator begin() { return _values.begin(); }
    iterator end() { return _values.end(); }
    const_iterator begin() const { return _values.begin(); }
    const_iterator end() const { return _values.end(); }
    reverse_iterator rbegin() { return _values.rbegin(); }
    reverse_iterator rend() { return _values.rend(); }
    const_reverse_iterator rbegin() const { return _values.rbegin(); }
    const_reverse_iterator rend() const { return _values.rend(); }
    reference front() { return _values.front(); }
    const_reference front() const { return _values.front(); }
    reference back() { return _values.back(); }
    const_reference back() const { return _values.back(); }

    /// First element equal to value, or end().
    iterator find(const FieldTypeT& value) { return std::find(_values.begin(), _values.end(), value); }
    const_iterator find(const FieldTypeT& value) const { return std::find(_values.begin(), _values.end(), value); }

    void clear() { _values.clear(); }
    iterator insert(iterator position, const FieldTypeT& value) { return _values.insert(position, value); }
    iterator erase(iterator position) { return _values.erase(position); }
    iterator erase(iterator first, iterator last) { return _values.erase(first, last); }
    void push_back(const FieldTypeT& value) { _values.push_back(value); }
    void resize(const size_t newSize, const FieldTypeT& value = FieldTypeT()) { _values.resize(newSize, value); }
    void reserve(const size_t newSize) { _values.reserve(newSize); }
    void swap(MField& other) { _values.swap(other._values); }

    reference operator[](const UInt32 index) { return _values[index]; }
    const_reference operator[](const UInt32 index) const { return _values[index]; }

private:
    StorageType _values;
};

OSG_END_NAMESPACE

#endif
