// SPDX-License-Identifier: LGPL-2.1-or-later
// Parses the values of options: numbers, distances, colours, choices, file names.
#include "ktBakeValues.h"

#include "ktBakeUsageError.h"
#include "ktNearNames.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <QString>
#include <QStringList>

namespace {

std::optional<double> parseNumber(const QString& text) {
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(value))
        return {};
    return value;
}

constexpr double mostFloat = std::numeric_limits<float>::max();

} // namespace

namespace ktBakeValues {

std::string format(double value) {
    return QString::number(value, 'g', 6).toStdString();
}

int parseInteger(const std::string& option, const std::string& text, int least, int most) {
    bool isNumber = false;
    const int value = QString::fromStdString(text).toInt(&isNumber);
    if (!isNumber || value < least || value > most)
        throw ktBakeUsageError(option, text,
                               "must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    return value;
}

double parseReal(const std::string& option, const std::string& text, double least, double most) {
    const std::optional<double> value = parseNumber(QString::fromStdString(text));
    if (!value || *value < least || *value > most)
        throw ktBakeUsageError(option, text,
                               "must be a number from " + format(least) +
                                   (std::isinf(most) ? " on" : " to " + format(most)));
    return *value;
}

double parsePositive(const std::string& option, const std::string& text) {
    const std::optional<double> value = parseNumber(QString::fromStdString(text));
    if (!value || *value > mostFloat || !(static_cast<float>(*value) > 0))
        throw ktBakeUsageError(option, text, "must be a number above 0");
    return *value;
}

ktBakeDistance parseDistance(const std::string& option, const std::string& text, bool isZeroExcluded) {
    ktBakeDistance distance;
    QString number = QString::fromStdString(text);
    distance.isPercent = number.endsWith('%');
    if (distance.isPercent)
        number.chop(1);
    const std::optional<double> value = parseNumber(number);
    if (!value || *value < 0 || *value > mostFloat)
        throw ktBakeUsageError(option, text,
                               "must be a number from 0 on, in millimetres, or a percentage of the scene's diagonal "
                               "such as 3%");
    if (isZeroExcluded && *value == 0)
        throw ktBakeUsageError(option, text, "must be above 0");
    distance.value = *value;
    distance.typed = text;
    return distance;
}

std::array<int, 2> parseSize(const std::string& option, const std::string& text, int most) {
    const QStringList parts = QString::fromStdString(text).split('x');
    std::array<int, 2> size{};
    for (int i = 0; i < 2; ++i) {
        bool isNumber = false;
        const int value = parts.size() == 2 ? parts[i].toInt(&isNumber) : 0;
        if (!isNumber || value < 1 || value > most)
            throw ktBakeUsageError(option, text,
                                   "must be width and height in pixels, each from 1 to " + std::to_string(most) +
                                       ", such as 1280x960");
        size[static_cast<size_t>(i)] = value;
    }
    return size;
}

std::array<float, 3> parseColor(const std::string& option, const std::string& text) {
    const QStringList parts = QString::fromStdString(text).split(',');
    std::array<float, 3> color{};
    for (int i = 0; i < 3; ++i) {
        const std::optional<double> value = parts.size() == 3 ? parseNumber(parts[i]) : std::nullopt;
        if (!value || *value < 0 || *value > 1)
            throw ktBakeUsageError(option, text, "must be three numbers from 0 to 1, such as 0.7,0.7,0.7");
        color[static_cast<size_t>(i)] = static_cast<float>(*value);
    }
    return color;
}

int parseChoice(const std::string& option, const std::string& text, const std::vector<std::string>& choices) {
    const auto found = std::find(choices.begin(), choices.end(), text);
    if (found == choices.end())
        throw ktBakeUsageError(option, text, "must be " + ktListAlternatives(choices) + ktSuggestNames(text, choices));
    return static_cast<int>(found - choices.begin());
}

void checkEnding(const std::string& option, const std::string& file, const std::vector<std::string>& endings) {
    const QString name = QString::fromStdString(file);
    if (std::none_of(endings.begin(), endings.end(), [&name](const std::string& ending) {
            return name.endsWith(QString::fromStdString(ending), Qt::CaseInsensitive);
        }))
        throw ktBakeUsageError(option, file, "the file's name must end in " + ktListAlternatives(endings));
}

} // namespace ktBakeValues
