// SPDX-License-Identifier: LGPL-2.1-or-later
// Parses JSON within limits on depth and members, and looks up values of unknown type without exceptions.
#include "ktGltfJson.h"

#include "ktFileError.h"
#include "ktJsonBuilder.h"
#include "ktReadInterrupt.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>

namespace {

const std::size_t depthLimit = 500;
const std::size_t memberLimit = 20000;

// The parser is not recursive, but writing and copying are: nesting needs a limit. Lookups compare all members of an
// object one by one: their number needs a limit. Checks both before parsing.
void checkLimits(const char* text, std::size_t size) {
    std::vector<std::size_t> commas;
    bool inString = false;
    for (std::size_t i = 0; i < size; ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '{' || c == '[') {
            if (commas.size() == depthLimit)
                throw ktFileError("file", "JSON nests deeper than " + std::to_string(depthLimit) + " levels");
            // An array may have any length. Only members of objects are counted.
            commas.push_back(c == '{' ? 1 : size);
        } else if (c == '}' || c == ']') {
            if (!commas.empty())
                commas.pop_back();
        } else if (c == ',' && !commas.empty() && commas.back() < size && ++commas.back() > memberLimit) {
            throw ktFileError("file", "JSON object with more than " + std::to_string(memberLimit) + " members");
        }
    }
}

std::string lineAndColumn(const char* text, std::size_t size, std::size_t position) {
    std::size_t line = 1;
    std::size_t column = 1;
    for (std::size_t i = 0; i + 1 < position && i < size; ++i) {
        ++column;
        if (text[i] == '\n') {
            ++line;
            column = 1;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// Walks over text for the parser, and lets the caller end the reading.
class Characters {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    explicit Characters(const char* next_) : next(next_) {}
    reference operator*() const { return *next; }
    Characters& operator++() {
        constexpr std::uintptr_t interval = 1 << 16;
        if (reinterpret_cast<std::uintptr_t>(++next) % interval == 0)
            ktReadInterrupt::check();
        return *this;
    }
    bool operator==(const Characters& other) const { return next == other.next; }
    bool operator!=(const Characters& other) const { return next != other.next; }

private:
    const char* next;
};

} // namespace

ktJson ktParseJson(const char* text, std::size_t size) {
    checkLimits(text, size);
    try {
        ktJsonBuilder builder;
        ktJson::sax_parse(Characters(text), Characters(text + size), &builder);
        return builder.take();
    } catch (const ktJson::parse_error& error) {
        throw ktFileError("file", "JSON is broken at " + lineAndColumn(text, size, error.byte));
    } catch (const ktJsonBuilder::TooLarge& error) {
        throw ktFileError("file", "JSON holds the number " + error.number.substr(0, 20) + " at " +
                                      lineAndColumn(text, size, error.begin + 1) + ", which is too large");
    } catch (const ktJson::exception&) {
        throw ktFileError("file", "JSON is broken");
    }
}

const ktJson* ktJsonMember(const ktJson& value, const char* key) {
    if (!value.is_object())
        return nullptr;
    const auto found = value.find(key);
    return found == value.end() ? nullptr : &*found;
}

ktJson* ktJsonMember(ktJson& value, const char* key) {
    return const_cast<ktJson*>(ktJsonMember(const_cast<const ktJson&>(value), key));
}

const ktJson* ktJsonElement(const ktJson& value, const char* key, std::size_t index) {
    const ktJson* array = ktJsonMember(value, key);
    return array && array->is_array() && index < array->size() ? &(*array)[index] : nullptr;
}

ktJson* ktJsonElement(ktJson& value, const char* key, std::size_t index) {
    return const_cast<ktJson*>(ktJsonElement(const_cast<const ktJson&>(value), key, index));
}

std::size_t ktJsonCount(const ktJson& value, const char* key) {
    const ktJson* array = ktJsonMember(value, key);
    return array && array->is_array() ? array->size() : 0;
}

ktJson& ktJsonArray(ktJson& object, const char* key) {
    ktJson* member = ktJsonMember(object, key);
    if (!member)
        return object[key] = ktJson::array();
    if (!member->is_array())
        throw ktFileError(std::string("/") + key, "is not an array");
    return *member;
}

std::optional<std::uint64_t> ktJsonAsWhole(const ktJson& value) {
    const double limit = 9007199254740992.0;
    if (!value.is_number())
        return std::nullopt;
    const double number = value.get<double>();
    if (!(number >= 0.0 && number <= limit) || number != std::floor(number))
        return std::nullopt;
    return static_cast<std::uint64_t>(number);
}

std::optional<std::uint64_t> ktJsonWhole(const ktJson& value, const char* key) {
    const ktJson* member = ktJsonMember(value, key);
    return member ? ktJsonAsWhole(*member) : std::nullopt;
}

std::optional<std::uint64_t> ktJsonByteOffset(const ktJson& value) {
    return ktJsonMember(value, "byteOffset") ? ktJsonWhole(value, "byteOffset") : std::uint64_t(0);
}

double ktJsonNumber(const ktJson& value, const char* key, double otherwise) {
    const ktJson* member = ktJsonMember(value, key);
    return member && member->is_number() ? member->get<double>() : otherwise;
}

bool ktJsonBool(const ktJson& value, const char* key, bool otherwise) {
    const ktJson* member = ktJsonMember(value, key);
    return member && member->is_boolean() ? member->get<bool>() : otherwise;
}

std::string ktJsonText(const ktJson& value, const char* key) {
    const ktJson* member = ktJsonMember(value, key);
    return member && member->is_string() ? member->get<std::string>() : std::string();
}

bool ktJsonNumbers(const ktJson& value, const char* key, std::size_t count, double* numbers) {
    const ktJson* array = ktJsonMember(value, key);
    if (!array || !array->is_array() || array->size() != count)
        return false;
    for (const ktJson& element : *array)
        if (!element.is_number())
            return false;
    for (std::size_t i = 0; i < count; ++i)
        numbers[i] = (*array)[i].get<double>();
    return true;
}

double ktJsonFromFloat(float value) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text - 1, value).ptr;
    double number = 0.0;
    std::from_chars(text, end, number);
    return number;
}

std::string ktPointer(const char* collection, std::size_t index) {
    return std::string("/") + collection + "/" + std::to_string(index);
}
