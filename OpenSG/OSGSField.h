// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGSFIELD_H
#define OSGSFIELD_H

#include "OSGBaseTypes.h"

OSG_BEGIN_NAMESPACE

/// A container's field with one value. Does not announce changes: use beginEditCP/endEditCP. A pointer in a field does
/// not hold a reference.
template <class FieldTypeT, Int32 fieldNameSpace = 0>
class SField {
public:
    using StoredType = FieldTypeT;
    using reference = FieldTypeT&;
    using const_reference = const FieldTypeT&;

    SField() : _value() {}
    explicit SField(const FieldTypeT& value) : _value(value) {}

    FieldTypeT& getValue() { return _value; }
    const FieldTypeT& getValue() const { return _value; }
    void setValue(const FieldTypeT& value) { _value = value; }

    UInt32 getSize() const { return 1; }
    bool isEmpty() const { return false; }

private:
    FieldTypeT _value;
};

OSG_END_NAMESPACE

#endif
