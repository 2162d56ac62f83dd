// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

/// JSON that keeps the order of members, so that a document leaves as it came.
using ktJson = nlohmann::ordered_json;

/// Parses `size` bytes of UTF-8 text. Throws ktFileError (object "file") on a syntax error, with line and column, and
/// on text that nests deeper than 500 levels or has more than 20,000 members in one object.
ktJson ktParseJson(const char* text, std::size_t size);

// Looking into JSON that may hold anything: none of these throws, and each takes a value of any type.

/// Member `key` of an object; null when `value` is no object or has no such member.
const ktJson* ktJsonMember(const ktJson& value, const char* key);
ktJson* ktJsonMember(ktJson& value, const char* key);
/// Element `index` of the array that is member `key`; null when there is none.
const ktJson* ktJsonElement(const ktJson& value, const char* key, std::size_t index);
ktJson* ktJsonElement(ktJson& value, const char* key, std::size_t index);
/// Number of elements of the array that is member `key`; 0 when there is none.
std::size_t ktJsonCount(const ktJson& value, const char* key);
/// Member `key` as a whole number from 0 to 2^53; empty when absent or anything else.
std::optional<std::uint64_t> ktJsonWhole(const ktJson& value, const char* key);
/// Member `key` as a number, or `otherwise`.
double ktJsonNumber(const ktJson& value, const char* key, double otherwise);
/// Member `key` as a truth value, or `otherwise`.
bool ktJsonBool(const ktJson& value, const char* key, bool otherwise);
/// Member `key` as text, or the empty text.
std::string ktJsonText(const ktJson& value, const char* key);
/// Member `key` as an array of exactly `count` numbers, into `numbers`; false, and nothing written, otherwise.
bool ktJsonNumbers(const ktJson& value, const char* key, std::size_t count, double* numbers);

/// The array that is member `key` of an object, made when absent. Throws ktFileError when it is something else.
ktJson& ktJsonArray(ktJson& object, const char* key);

/// A whole number from 0 to 2^53, however it is written; empty for anything else.
std::optional<std::uint64_t> ktJsonAsWhole(const ktJson& value);

/// A float as the shortest decimal number that gives the same float again, so that 0.05f is written as 0.05.
double ktJsonFromFloat(float value);

/// JSON pointer /collection/index.
std::string ktPointer(const char* collection, std::size_t index);
