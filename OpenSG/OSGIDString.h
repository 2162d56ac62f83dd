// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGIDSTRING_H
#define OSGIDSTRING_H

#include "OSGBaseTypes.h"

#include <ostream>
#include <string>

OSG_BEGIN_NAMESPACE

/// A name: of a type, a group or a field.
class IDString {
public:
    IDString() = default;
    IDString(const Char8* text) : _text(text != nullptr ? text : "") {}

    const Char8* str() const { return _text.c_str(); }
    UInt32 length() const { return UInt32(_text.size()); }
    bool isEmpty() const { return _text.empty(); }

    bool operator==(const IDString& other) const { return _text == other._text; }
    bool operator!=(const IDString& other) const { return _text != other._text; }
    bool operator<(const IDString& other) const { return _text < other._text; }

private:
    std::string _text;
};

inline std::ostream& operator<<(std::ostream& os, const IDString& name) {
    return os << name.str();
}

OSG_END_NAMESPACE

#endif
