// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <string>
#include <tuple>
#include <vector>

class ktMessage;

/// The XML text of messages, independent of files. Docs/using/presets.md describes the format.
namespace ktMessageXml {

/// Value types with a text form, also as std::vector. Other types cannot be written.
using Types = std::tuple<bool, int, unsigned long, float, double, std::string>;

/// The name of each of Types in the attribute "type".
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

/// Limits for reading and writing, so that everything written can be read. They also limit the memory that reading a
/// hostile text takes to 40 MiB.
constexpr int maxBytes = 4 << 20;
constexpr int maxAttributes = 4096;    ///< named values in a message
constexpr int maxEntries = 200000;     ///< number of items in all lists together
constexpr int maxTagBytes = 128 << 10; ///< from "<" to ">": Qt compares all attributes of a tag with each other

/// Where and why a text was rejected.
struct Problem {
    qint64 line = 0;   ///< from 1
    qint64 column = 0; ///< from 1, in characters
    QString reason;
};

/// Appends the text of `message` to `xml`. If a value has no text form or a limit is exceeded, returns false and the
/// reason, and the content of `xml` is not usable.
bool write(const ktMessage& message, QByteArray& xml, QString& reason);

/// Empties `message`, then reads `xml` into it. A non-empty `filter` keeps only the value with that name. If `xml` is
/// invalid, returns false and the first problem, and leaves `message` empty. Rejects document type declarations and
/// custom entities.
bool read(const QByteArray& xml, ktMessage& message, const std::string& filter, Problem& problem);

/// Checks size, encoding, long tags and document types. read() calls it before it gives the text to an XML parser.
bool isSafeToParse(const QByteArray& xml, Problem& problem);

} // namespace ktMessageXml
