// SPDX-License-Identifier: LGPL-2.1-or-later
// Replaces the triangle strips of a PLY file by triangles.
#include "ktPlyStrips.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace {

constexpr std::size_t longestHeader = 1 << 20; // bytes

[[noreturn]] void fail(const std::string& reason) {
    throw std::runtime_error("its triangle strips " + reason);
}

struct Type {
    std::size_t size = 0; ///< bytes
    enum Kind { Signed, Unsigned, Float } kind = Signed;
};

Type typeOf(const std::string& name) {
    static const std::map<std::string, Type> types = {
        {"char", {1, Type::Signed}},     {"int8", {1, Type::Signed}},     {"uchar", {1, Type::Unsigned}},
        {"uint8", {1, Type::Unsigned}},  {"short", {2, Type::Signed}},    {"int16", {2, Type::Signed}},
        {"ushort", {2, Type::Unsigned}}, {"uint16", {2, Type::Unsigned}}, {"int", {4, Type::Signed}},
        {"int32", {4, Type::Signed}},    {"uint", {4, Type::Unsigned}},   {"uint32", {4, Type::Unsigned}},
        {"float", {4, Type::Float}},     {"float32", {4, Type::Float}},   {"double", {8, Type::Float}},
        {"float64", {8, Type::Float}}};
    const auto found = types.find(name);
    if (found == types.end())
        fail("are in a file with the unknown type " + name);
    return found->second;
}

struct Property {
    std::string name;
    Type item, count;
    bool isList = false;
};

struct Element {
    std::string name;
    std::uint64_t count = 0;
    std::vector<Property> properties;
    std::size_t firstLine = 0, endLine = 0; ///< in the header
};

struct Header {
    enum Format { Ascii, LittleEndian, BigEndian } format = Ascii;
    std::vector<std::string> lines; ///< all but the last
    std::vector<Element> elements;
    std::size_t end = 0; ///< bytes up to the body
};

Property readProperty(std::istream& words) {
    Property property;
    std::string type;
    words >> type;
    if (type == "list") {
        std::string count;
        words >> count >> type;
        property.isList = true;
        property.count = typeOf(count);
    }
    property.item = typeOf(type);
    words >> property.name;
    return property;
}

Header readHeader(const std::string& text) {
    Header header;
    std::size_t at = 0;
    for (std::string line; line != "end_header";) {
        const std::size_t end = text.find('\n', at);
        if (end == std::string::npos)
            fail("have a header without an end");
        line = text.substr(at, end - at);
        at = end + 1;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line == "end_header")
            break;
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word == "format") {
            words >> word;
            header.format = word == "ascii"                  ? Header::Ascii
                            : word == "binary_little_endian" ? Header::LittleEndian
                                                             : Header::BigEndian;
        } else if (word == "element") {
            Element element;
            words >> element.name >> element.count;
            element.firstLine = header.lines.size();
            header.elements.push_back(element);
        } else if (word == "property" && !header.elements.empty()) {
            header.elements.back().properties.push_back(readProperty(words));
        }
        header.lines.push_back(line);
        if (!header.elements.empty())
            header.elements.back().endLine = header.lines.size();
    }
    header.end = at;
    return header;
}

/// Collects the triangles of strips. Every second one of a strip has the opposite winding.
class Triangles {
public:
    std::vector<std::array<std::int32_t, 3>> list;

    void add(double index) {
        if (index < 0 || index == 4294967295.0) { // -1 ends a strip, also in an unsigned type
            endStrip();
            return;
        }
        last = {last[1], last[2], static_cast<std::int32_t>(std::min(index, 2147483647.0))};
        if (++length >= 3 && last[0] != last[1] && last[1] != last[2] && last[0] != last[2])
            list.push_back(length % 2 ? last : std::array<std::int32_t, 3>{last[1], last[0], last[2]});
    }
    void endStrip() { length = 0; }

private:
    std::array<std::int32_t, 3> last{};
    std::size_t length = 0; ///< indices of the strip so far
};

bool isIndexList(const Property& property) {
    return property.isList && (property.name == "vertex_indices" || property.name == "vertex_index");
}

/// Reads the body of a binary file.
class BinaryBody {
public:
    BinaryBody(const std::string& text_, std::size_t at_, bool isBigEndian_)
        : text(text_), at(at_), isBigEndian(isBigEndian_) {}

    void skip(const Element& element) {
        for (std::uint64_t i = 0; i < element.count; ++i)
            for (const Property& property : element.properties)
                pass(property.item.size * countOf(property));
    }
    void readStrips(const Element& element, Triangles& triangles) {
        for (std::uint64_t i = 0; i < element.count; ++i)
            for (const Property& property : element.properties) {
                const std::size_t count = countOf(property);
                if (!isIndexList(property)) {
                    pass(property.item.size * count);
                    continue;
                }
                for (std::size_t k = 0; k < count; ++k)
                    triangles.add(number(property.item));
                triangles.endStrip();
            }
    }
    std::size_t position() const { return at; }

private:
    const std::string& text;
    std::size_t at;
    const bool isBigEndian;

    void pass(std::size_t size) {
        if (size > text.size() - at)
            fail("are cut off");
        at += size;
    }
    std::size_t countOf(const Property& property) {
        if (!property.isList)
            return 1;
        const double count = number(property.count);
        if (count < 0 || count > static_cast<double>(text.size()))
            fail("are cut off");
        return static_cast<std::size_t>(count);
    }
    double number(const Type& type) {
        if (type.kind == Type::Float)
            fail("have indices that are not whole numbers");
        pass(type.size);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < type.size; ++i) {
            const auto byte = static_cast<unsigned char>(text[at - type.size + i]);
            bits |= std::uint32_t(byte) << 8 * (isBigEndian ? type.size - 1 - i : i);
        }
        const double range = static_cast<double>(std::uint64_t(1) << 8 * type.size);
        const auto value = static_cast<double>(bits);
        return type.kind == Type::Signed && value >= range / 2 ? value - range : value;
    }
};

/// Reads the body of a text file: one line for each member of an element.
class TextBody {
public:
    TextBody(const std::string& text_, std::size_t at_) : text(text_), at(at_) {}

    void skip(const Element& element) {
        for (std::uint64_t i = 0; i < element.count; ++i)
            nextLine();
    }
    void readStrips(const Element& element, Triangles& triangles) {
        for (std::uint64_t i = 0; i < element.count; ++i) {
            std::istringstream words(nextLine());
            for (const Property& property : element.properties) {
                std::size_t count = 1;
                if (property.isList && !(words >> count))
                    fail("are cut off");
                double value = 0;
                for (std::size_t k = 0; k < count; ++k) {
                    if (!(words >> value))
                        fail("are cut off");
                    if (isIndexList(property))
                        triangles.add(value);
                }
                triangles.endStrip();
            }
        }
    }
    std::size_t position() const { return at; }

private:
    const std::string& text;
    std::size_t at;

    std::string nextLine() {
        for (;;) {
            if (at >= text.size())
                fail("are cut off");
            const std::size_t end = std::min(text.find('\n', at), text.size());
            std::string line = text.substr(at, end - at);
            at = std::min(end + 1, text.size());
            if (line.find_first_not_of(" \t\r") != std::string::npos)
                return line;
        }
    }
};

void append(std::string& body, const std::vector<std::array<std::int32_t, 3>>& triangles, Header::Format format) {
    if (format == Header::Ascii) {
        for (const auto& triangle : triangles)
            body += "3 " + std::to_string(triangle[0]) + ' ' + std::to_string(triangle[1]) + ' ' +
                    std::to_string(triangle[2]) + '\n';
        return;
    }
    for (const auto& triangle : triangles) {
        body += '\3';
        for (const std::int32_t index : triangle)
            for (int i = 0; i < 4; ++i)
                body += static_cast<char>(index >> 8 * (format == Header::BigEndian ? 3 - i : i) & 255);
    }
}

template <class Body>
std::string convert(const std::string& text, const Header& header, const Element& strips, Body body) {
    Triangles triangles;
    std::string before, after;
    for (const Element& element : header.elements) {
        const std::size_t begin = body.position();
        if (&element == &strips)
            body.readStrips(element, triangles);
        else {
            body.skip(element);
            (&element < &strips ? before : after).append(text, begin, body.position() - begin);
        }
    }
    std::string out;
    for (std::size_t line = 0; line < header.lines.size(); ++line) {
        if (line == strips.firstLine)
            out +=
                "element face " + std::to_string(triangles.list.size()) + "\nproperty list uchar int vertex_indices\n";
        if (line < strips.firstLine || line >= strips.endLine)
            out += header.lines[line] + '\n';
    }
    out += "end_header\n" + before;
    append(out, triangles.list, header.format);
    return out + after;
}

} // namespace

std::optional<std::string> ktConvertPlyStrips(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string start(longestHeader, '\0');
    file.read(&start[0], static_cast<std::streamsize>(start.size()));
    start.resize(static_cast<std::size_t>(file.gcount()));
    const std::size_t end = start.find("end_header"), found = start.find("element tristrips ");
    if (start.compare(0, 3, "ply") != 0 || found == std::string::npos || end < found)
        return std::nullopt;
    file.clear();
    const std::string text = start + std::string(std::istreambuf_iterator<char>(file), {});
    const Header header = readHeader(text);
    const auto named = [&](const char* name) {
        return std::find_if(header.elements.begin(), header.elements.end(),
                            [name](const Element& element) { return element.name == name && element.count > 0; });
    };
    const auto strips = named("tristrips");
    if (strips == header.elements.end())
        return std::nullopt;
    if (named("face") != header.elements.end())
        fail("are beside single faces, which is not supported");
    if (std::none_of(strips->properties.begin(), strips->properties.end(), isIndexList))
        fail("have no list of indices");
    if (header.format == Header::Ascii)
        return convert(text, header, *strips, TextBody(text, header.end));
    return convert(text, header, *strips, BinaryBody(text, header.end, header.format == Header::BigEndian));
}
