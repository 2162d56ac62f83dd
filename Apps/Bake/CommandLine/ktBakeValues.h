// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakeOptions.h"

#include <array>
#include <string>
#include <vector>

/// Parses the values of options, in any locale. A function throws ktBakeUsageError with the option's name and the text
/// if the text is not such a value.
namespace ktBakeValues {

int parseInteger(const std::string& option, const std::string& text, int least, int most);
/// A finite number of the range, limits included.
double parseReal(const std::string& option, const std::string& text, double least, double most);
double parsePositive(const std::string& option, const std::string& text); ///< as a float above 0, too
/// A number from 0 on, or a percentage.
/// @param isZeroExcluded whether 0 is refused
ktBakeDistance parseDistance(const std::string& option, const std::string& text, bool isZeroExcluded);
/// Width and height, "1280x960".
/// @param most of each; the least is 1
std::array<int, 2> parseSize(const std::string& option, const std::string& text, int most);
std::array<float, 3> parseColor(const std::string& option, const std::string& text); ///< linear, 0 to 1
/// The index of the choice. The message names the choice that is near.
int parseChoice(const std::string& option, const std::string& text, const std::vector<std::string>& choices);
/// Checks that the name of a file has one of the endings, in upper or lower case.
void checkEnding(const std::string& option, const std::string& file, const std::vector<std::string>& endings);

/// Six significant digits.
std::string format(double value);

} // namespace ktBakeValues
