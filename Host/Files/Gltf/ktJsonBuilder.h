// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// Builds a JSON value from the events of the library's parser. The library's own way compares each new member of an
/// object with all earlier ones, and copies them when the object grows. Of members with equal names, the last value is
/// kept, at the place of the first, as the library does.
// Moving JSON does not throw, which the check does not see. NOLINTNEXTLINE(bugprone-exception-escape)
class ktJsonBuilder {
public:
    /// The value, after the parser has ended.
    ktJson take() { return std::move(root); }

    bool null() { return put(nullptr); }
    bool boolean(bool value) { return put(value); }
    bool number_integer(std::int64_t value) { return put(value); }
    bool number_unsigned(std::uint64_t value) { return put(value); }
    bool number_float(double value, const std::string&) { return put(value); }
    bool string(std::string& value) { return put(std::move(value)); }
    bool binary(ktJson::binary_t&) { return false; } // there is none in texts
    bool start_object(std::size_t) {
        open.emplace_back();
        return true;
    }
    bool start_array(std::size_t) { return start_object(0); }
    bool key(std::string& name) {
        open.back().addMember(std::move(name));
        return true;
    }
    bool end_object() {
        ktJson::object_t object;
        object.reserve(open.back().names.size());
        for (std::size_t i = 0; i < open.back().names.size(); ++i)
            object.emplace_back(std::move(open.back().names[i]), std::move(open.back().values[i]));
        open.pop_back();
        return put(std::move(object));
    }
    bool end_array() {
        ktJson::array_t array = std::move(open.back().values);
        array.shrink_to_fit();
        open.pop_back();
        return put(std::move(array));
    }
    /// A number that is too large for a double.
    struct TooLarge {
        std::size_t begin; ///< place in the text
        std::string number;
    };
    /// @param end what has been read
    bool parse_error(std::size_t end, const std::string& number, const ktJson::out_of_range&) {
        throw TooLarge{end - std::min(end, number.size()), number};
    }
    template <class Exception>
    bool parse_error(std::size_t, const std::string&, const Exception& error) {
        throw error;
    }

private:
    /// An object or an array whose end is not read yet.
    struct Open {
        std::vector<std::string> names; ///< empty for an array
        std::vector<ktJson> values;
        std::size_t next = 0;                                ///< the member that gets the next value
        std::unordered_map<std::string, std::size_t> places; ///< by name; empty for few members

        void addMember(std::string&& name) {
            next = find(name);
            if (next < names.size())
                return;
            if (!places.empty())
                places.emplace(name, next);
            names.push_back(std::move(name));
            values.emplace_back();
        }
        std::size_t find(const std::string& name) {
            constexpr std::size_t mostSearched = 16;
            if (names.size() <= mostSearched)
                return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
            if (places.empty())
                for (std::size_t i = 0; i < names.size(); ++i)
                    places.emplace(names[i], i);
            const auto found = places.find(name);
            return found != places.end() ? found->second : names.size();
        }
    };

    template <class Value>
    bool put(Value&& value) {
        if (open.empty())
            root = std::forward<Value>(value);
        else if (open.back().names.empty())
            open.back().values.emplace_back(std::forward<Value>(value));
        else
            open.back().values[open.back().next] = std::forward<Value>(value);
        return true;
    }

    ktJson root;
    std::vector<Open> open;
};
