// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the attachment that stores named texts of a node.
#include "OSGValuePair.h"

#include <algorithm>

OSG_BEGIN_NAMESPACE

// Above this number of texts, a table of the keys is quicker than a search.
static constexpr UInt32 mostSearched = 16;

FieldContainerType ValuePair::_type("ValuePair", "Attachment", nullptr,
                                    []() -> FieldContainerPtr { return createEmpty(); });

OSG_FIELD_CONTAINER_DEF(ValuePair, ValuePairPtr)

OSG_FIELD_MASK_DEF(ValuePair, KeysField)
OSG_FIELD_MASK_DEF(ValuePair, ValuesField)

ValuePair::ValuePair() = default;
ValuePair::ValuePair(const ValuePair& source) = default;
ValuePair::~ValuePair() = default;

// Index of the key, or getSize().
UInt32 ValuePair::find(const std::string& key) const {
    if (getSize() > mostSearched) {
        if (_places.empty())
            for (UInt32 i = 0; i < getSize(); ++i)
                _places.emplace(_mfKeys[i], i);
        const auto found = _places.find(key);
        return found != _places.end() ? found->second : getSize();
    }
    return static_cast<UInt32>(std::find(_mfKeys.begin(), _mfKeys.end(), key) - _mfKeys.begin());
}

void ValuePair::set(const std::string& key, const std::string& value) {
    const UInt32 index = find(key);
    if (index < getSize()) {
        _mfValues[index] = value;
    } else {
        if (!_places.empty())
            _places.emplace(key, index);
        _mfKeys.push_back(key);
        _mfValues.push_back(value);
    }
}

bool ValuePair::get(const std::string& key, std::string& value) const {
    const UInt32 index = find(key);
    if (index == getSize())
        return false;
    value = _mfValues[index];
    return true;
}

bool ValuePair::del(const std::string& key) {
    const UInt32 index = find(key);
    if (index == getSize())
        return false;
    _places.clear();
    _mfKeys.erase(_mfKeys.begin() + index);
    _mfValues.erase(_mfValues.begin() + index);
    return true;
}

OSG_END_NAMESPACE
