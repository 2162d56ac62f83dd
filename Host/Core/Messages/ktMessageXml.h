// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <string>
#include <tuple>
#include <vector>

class ktMessage;

/// The text form of messages, without the file around it; Docs/using/presets.md describes it.
namespace ktMessageXml {

/// Value types with a text form, alone and as std::vector; any other type cannot be written.
using Types = std::tuple<bool, int, unsigned long, float, double, std::string>;

/// What "type" says in the text, one name for each of Types.
template <class T>
inline constexpr const char* typeName = nullptr;
template <>
inline constexpr const char* typeName<bool> = "bool";
template <>
inline constexpr const char* typeName<int> = "int";
template <>
inline constexpr const char* typeName<unsigned long> = "unsigned long";
template <>
inline constexpr const char* typeName<float> = "float";
template <>
inline constexpr const char* typeName<double> = "double";
template <>
inline constexpr const char* typeName<std::string> = "string";

/// Bounds that both directions keep, so that whatever was written can be read, and a hostile text stays cheap to read:
/// below 40 MiB of memory.
constexpr int maxBytes = 4 << 20;
constexpr int maxAttributes = 4096;    ///< named values in a message
constexpr int maxEntries = 200000;     ///< items of all lists together
constexpr int maxTagBytes = 128 << 10; ///< from "<" to ">": Qt compares all attributes of a tag with each other

/// Where and why a text was refused.
struct Problem {
    qint64 line = 0;   ///< from 1
    qint64 column = 0; ///< from 1, in characters
    QString reason;
};

/// Appends the text of `message` to `xml`. Returns false and the reason, in `xml` nothing that is of use, when a value
/// has no text form or a bound is exceeded.
bool write(const ktMessage& message, QByteArray& xml, QString& reason);

/// Reads `xml` into `message`, which is emptied first; a non-empty `filter` keeps the value of that name alone. Returns
/// false and the first problem when `xml` is no such text, with `message` left empty. Document type declarations and
/// entities of one's own are refused.
bool read(const QByteArray& xml, ktMessage& message, const std::string& filter, Problem& problem);

/// What read() checks before it lets an XML parser near the text: size, encoding, long tags, document types.
bool isSafeToParse(const QByteArray& xml, Problem& problem);

} // namespace ktMessageXml
