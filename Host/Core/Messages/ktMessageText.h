// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>

/// Converts single values to the text of a message file and back. Parsing ignores blanks around numbers and words.
namespace ktMessageText {

/// Returns a text that parse() converts to the same value, bit for bit. Floating point numbers have as few digits as
/// possible. Infinities are "inf" and "-inf". The usual quiet NaN is "nan", any other NaN is "nan(" + its bits in
/// hexadecimal + ")".
QByteArray format(bool value);
QByteArray format(int value);
QByteArray format(unsigned long value);
QByteArray format(float value);
QByteArray format(double value);

/// Sets `value` and returns null. On failure leaves `value` unchanged and returns what is wrong, such as "is not a
/// number", to append to the text. Accepts "true", "false", "1" and "0" for bool, and a leading "+" for numbers. A
/// decimal outside the range of `float` or `double`, such as 1e999, is out of range.
const char* parse(const QByteArray& text, bool& value);
const char* parse(const QByteArray& text, int& value);
const char* parse(const QByteArray& text, unsigned long& value);
const char* parse(const QByteArray& text, float& value);
const char* parse(const QByteArray& text, double& value);

} // namespace ktMessageText
