// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts numbers and truth values to the text of a message file and back, bit for bit.
#include "ktMessageText.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace {

template <class Real>
using Bits = std::conditional_t<sizeof(Real) == 4, std::uint32_t, std::uint64_t>;

template <class Real>
Bits<Real> bitsOf(Real value) {
    Bits<Real> bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

template <class Number, class... Extra>
QByteArray digits(Number value, Extra... extra) {
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, extra...).ptr;
    return QByteArray(buffer, static_cast<int>(end - buffer));
}

template <class Real>
QByteArray formatReal(Real value) {
    if (!std::isnan(value))
        return digits(value);
    if (bitsOf(value) == bitsOf(std::numeric_limits<Real>::quiet_NaN()))
        return "nan";
    return "nan(" + digits(bitsOf(value), 16) + ")";
}

template <class Number, class... Extra>
const char* parseNumber(const QByteArray& text, Number& value, Extra... extra) {
    QByteArray trimmed = text.trimmed();
    if (trimmed.startsWith('+') && !trimmed.startsWith("+-"))
        trimmed.remove(0, 1);
    Number parsed;
    const char* end = trimmed.constData() + trimmed.size();
    const auto result = std::from_chars(trimmed.constData(), end, parsed, extra...);
    if (result.ec == std::errc::result_out_of_range && result.ptr == end)
        return "is out of range";
    if (result.ec != std::errc() || result.ptr != end)
        return std::is_floating_point_v<Number> ? "is not a number" : "is not a whole number of this type";
    value = parsed;
    return nullptr;
}

/// NaN is parsed here, because std::from_chars does not preserve its bits.
template <class Real>
const char* parseReal(const QByteArray& text, Real& value) {
    const QByteArray trimmed = text.trimmed().toLower();
    Real parsed = std::numeric_limits<Real>::quiet_NaN();
    if (trimmed.startsWith("nan(") && trimmed.endsWith(')')) {
        Bits<Real> bits = 0;
        if (parseNumber(trimmed.mid(4).chopped(1), bits, 16))
            return "is not a number";
        std::memcpy(&parsed, &bits, sizeof bits);
        if (!std::isnan(parsed))
            return "is not a number";
    } else if (trimmed != "nan") {
        if (const char* problem = parseNumber(trimmed, parsed))
            return problem;
        if (std::isinf(parsed) && !trimmed.contains("inf"))
            return "is out of range";
    }
    value = parsed;
    return nullptr;
}

} // namespace

namespace ktMessageText {

QByteArray format(bool value) {
    return value ? "true" : "false";
}
QByteArray format(int value) {
    return digits(value);
}
QByteArray format(unsigned long value) {
    return digits(value);
}
QByteArray format(float value) {
    return formatReal(value);
}
QByteArray format(double value) {
    return formatReal(value);
}

const char* parse(const QByteArray& text, bool& value) {
    const QByteArray trimmed = text.trimmed();
    const bool isTrue = trimmed == "true" || trimmed == "1";
    if (!isTrue && trimmed != "false" && trimmed != "0")
        return "is neither true nor false";
    value = isTrue;
    return nullptr;
}

const char* parse(const QByteArray& text, int& value) {
    return parseNumber(text, value);
}
const char* parse(const QByteArray& text, unsigned long& value) {
    return parseNumber(text, value);
}
const char* parse(const QByteArray& text, float& value) {
    return parseReal(text, value);
}
const char* parse(const QByteArray& text, double& value) {
    return parseReal(text, value);
}

} // namespace ktMessageText
