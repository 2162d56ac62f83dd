// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the options and settings of ktbake as JSON, for programs that call it.
#include "ktBakeSettingsList.h"

#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionSettings.h"
#include "ktVersion.h"

#include <cmath>
#include <iterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <type_traits>

namespace {

namespace Settings = ktAmbientOcclusionSettings;

QJsonArray listOf(const std::vector<std::string>& texts) {
    QJsonArray list;
    for (const std::string& text : texts)
        list.append(QString::fromStdString(text));
    return list;
}

QJsonObject describe(const ktBakeOptionInfo& option) {
    return {{"names", listOf(option.names)},
            {"group", QString::fromStdString(option.group)},
            {"argument", QString::fromStdString(option.argument)},
            {"default", QString::fromStdString(option.defaultValue)},
            {"help", QString::fromStdString(option.help)},
            {"values", listOf(option.kind == ktBakeValueKind::Choice ? option.values : std::vector<std::string>())}};
}

template <class Row>
void addRange(Row row, QJsonObject& setting) {
    setting["least"] = row.range.least;
    setting["isLeastExcluded"] = row.isLeastExcluded;
    if (std::isfinite(row.range.most))
        setting["most"] = row.range.most;
}

template <class Row>
QJsonObject describeSetting(Row row) {
    const QString option = QString("--") + row.names.option;
    QJsonObject setting{
        {"name", row.names.json}, {"group", row.group}, {"help", row.help}, {"option", row.names.option}};
    // Behind the default in `ktbake --help`: what holds if the option is not given.
    if (*row.initialNote)
        setting["note"] = row.initialNote;
    const auto& initial = row.initial;
    if constexpr (std::is_base_of_v<Settings::Switch, Row>) {
        setting["kind"] = "switch";
        setting["initial"] = initial;
        // A colour switches the override on, so only the opposite has an option.
        const bool isOverride = std::is_same_v<Row, Settings::OverrideMaterialColor>;
        setting["on"] = isOverride ? QString() : option;
        setting["off"] = QString("--no-") + (isOverride ? Settings::MaterialColor::names.option : row.names.option);
    } else if constexpr (std::is_base_of_v<Settings::Choice, Row>) {
        setting["kind"] = "choice";
        setting["choices"] = listOf({std::begin(row.choices), std::end(row.choices)});
        setting["initial"] = row.choices[initial];
    } else if constexpr (std::is_base_of_v<Settings::Color, Row>) {
        setting["kind"] = "color";
        setting["initial"] = QJsonArray{double(initial.r), double(initial.g), double(initial.b)};
    } else {
        setting["kind"] = std::is_base_of_v<Settings::Integer, Row> ? "integer" : *row.unit ? "length" : "real";
        setting["initial"] = initial;
        addRange(row, setting);
    }
    return setting;
}

} // namespace

QByteArray makeSettingsList(const std::vector<ktBakeOptionInfo>& options) {
    QJsonArray optionList, settings;
    for (const ktBakeOptionInfo& option : options)
        optionList.append(describe(option));
    Settings::forEachSetting<&Settings::Places::options>([&](auto row) { settings.append(describeSetting(row)); });
    return QJsonDocument({{"version", ktProjectVersion()}, {"options", optionList}, {"settings", settings}}).toJson();
}
