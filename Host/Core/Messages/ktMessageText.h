// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>

/// Single values as the text of a message file, and back. Text to value ignores blanks around numbers and words.
namespace ktMessageText {

/// Texts that parse() turns back into the same value, bit for bit. Floating point numbers take as few digits as that
/// needs; infinities are "inf" and "-inf", the usual quiet not-a-number is "nan", any other one "nan(" + its bits in
/// hexadecimal digits + ")".
QByteArray format(bool value);
QByteArray format(int value);
QByteArray format(unsigned long value);
QByteArray format(float value);
QByteArray format(double value);

/// Sets `value` and returns null, or leaves it alone and returns what is wrong: "is not a number", say, to be put
/// behind the text. Accepts "true", "false", "1" and "0" for bool and a leading "+" for numbers; a decimal that no
/// `float` or `double` can come near (1e999, say) is out of range.
const char* parse(const QByteArray& text, bool& value);
const char* parse(const QByteArray& text, int& value);
const char* parse(const QByteArray& text, unsigned long& value);
const char* parse(const QByteArray& text, float& value);
const char* parse(const QByteArray& text, double& value);

} // namespace ktMessageText
