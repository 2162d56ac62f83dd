// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

/// JSON that keeps the order of members, so that a document is written in the order in which it was read.
using ktJson = nlohmann::ordered_json;

/// Parses `size` bytes of UTF-8 text. Throws ktFileError (object "file") on a syntax error, with line and column, and
/// on text that nests deeper than 500 levels or has more than 20,000 members in one object.
ktJson ktParseJson(const char* text, std::size_t size);

// Lookups in JSON of unknown content. None of these functions throws. Each accepts a value of any type.

/// Member `key` of an object; null if `value` is not an object or has no such member.
const ktJson* ktJsonMember(const ktJson& value, const char* key);
ktJson* ktJsonMember(ktJson& value, const char* key);
/// Element `index` of the array that is member `key`; null if there is none.
const ktJson* ktJsonElement(const ktJson& value, const char* key, std::size_t index);
ktJson* ktJsonElement(ktJson& value, const char* key, std::size_t index);
/// Number of elements of the array that is member `key`; 0 if there is none.
std::size_t ktJsonCount(const ktJson& value, const char* key);
/// Member `key` as a whole number from 0 to 2^53; empty if absent or anything else.
std::optional<std::uint64_t> ktJsonWhole(const ktJson& value, const char* key);
/// The byteOffset of an accessor, a buffer view or an extension: 0 if absent, empty if it is no such whole number.
std::optional<std::uint64_t> ktJsonByteOffset(const ktJson& value);
/// Member `key` as a number, or `otherwise`.
double ktJsonNumber(const ktJson& value, const char* key, double otherwise);
/// Member `key` as a bool, or `otherwise`.
bool ktJsonBool(const ktJson& value, const char* key, bool otherwise);
/// Member `key` as a string, or an empty string.
std::string ktJsonText(const ktJson& value, const char* key);
/// Writes member `key`, an array of exactly `count` numbers, to `numbers`. If it is anything else: false, no change.
bool ktJsonNumbers(const ktJson& value, const char* key, std::size_t count, double* numbers);

/// The array that is member `key` of an object; creates it if absent. Throws ktFileError if it is something else.
ktJson& ktJsonArray(ktJson& object, const char* key);

/// A whole number from 0 to 2^53, also if written like 3.0 or 3e0; empty for anything else.
std::optional<std::uint64_t> ktJsonAsWhole(const ktJson& value);

/// A float as the shortest decimal number that reads back as the same float: 0.05f is written as 0.05.
double ktJsonFromFloat(float value);

/// JSON pointer /collection/index.
std::string ktPointer(const char* collection, std::size_t index);
