// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGFieldAccessMacros.h>
#include <OpenSG/OSGMFBaseTypes.h>
#include <string>
#include <unordered_map>

OSG_BEGIN_NAMESPACE

class ValuePair;
typedef FCPtr<AttachmentPtr, ValuePair> ValuePairPtr;

/// Named texts of a node, in the order in which the names were first set. Texts are UTF-8.
class KT_HOST_EXPORT ValuePair : public Attachment {
    typedef Attachment Inherited;

public:
    typedef ValuePairPtr Ptr;

    enum { KeysFieldId = Inherited::NextFieldId, ValuesFieldId = KeysFieldId + 1, NextFieldId = ValuesFieldId + 1 };
    static const BitVector KeysFieldMask;
    static const BitVector ValuesFieldMask;

    OSG_FIELD_CONTAINER_DECL(ValuePairPtr)

    /// Stores `value` under `key`. Replaces an existing value at its position.
    void set(const std::string& key, const std::string& value);
    /// Copies the value under `key`. If there is none, returns false and leaves `value` unchanged.
    bool get(const std::string& key, std::string& value) const;
    /// Removes `key` if it exists. Returns whether it existed.
    bool del(const std::string& key);

    /// Number of pairs.
    UInt32 getSize() const { return _mfKeys.getSize(); }
    /// Key and value by index, which must be below getSize().
    const std::string& getKey(UInt32 index) const { return _mfKeys[index]; }
    const std::string& getValue(UInt32 index) const { return _mfValues[index]; }

protected:
    ValuePair();
    ValuePair(const ValuePair& source);
    ~ValuePair() override;

    MFString _mfKeys;
    MFString _mfValues; // same length

    static FieldContainerType _type;

private:
    friend class FieldContainer;

    UInt32 find(const std::string& key) const;

    mutable std::unordered_map<std::string, UInt32> _places; // by key; empty, or of all keys
};

OSG_FIELD_CONTAINER_INL_DEF(ValuePair, ValuePairPtr)

OSG_END_NAMESPACE
