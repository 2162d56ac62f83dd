// SPDX-License-Identifier: LGPL-2.1-or-later
// Saves, loads and erases the settings on nodes in the older format: texts under keys that begin with "AO".
#include "ktAmbientOcclusionTextSettings.h"

#include "ktAmbientOcclusion.h"

#include <clocale>
#include <cstdlib>
#include <type_traits>

namespace ktAmbientOcclusionInternal {

namespace {

namespace Settings = ktAmbientOcclusionSettings;

// A colour has three keys, which end in these letters.
constexpr const char* components[] = {"R", "G", "B"};

std::string latin1(const QString& text) {
    return std::string(text.toLatin1().constData());
}

void write(const osg::ValuePairPtr& values, const std::string& key, int value) {
    values->set(key, latin1(QString::number(value, 10)));
}
void write(const osg::ValuePairPtr& values, const std::string& key, double value) {
    values->set(key, latin1(QString::number(value, 'g', 6)));
}
void write(const osg::ValuePairPtr& values, const std::string& key, float value) {
    write(values, key, static_cast<double>(value));
}
void write(const osg::ValuePairPtr& values, const std::string& key, bool value) {
    values->set(key, value ? "true" : "false");
}
void write(const osg::ValuePairPtr& values, const std::string& key, const osg::Color3f& value) {
    for (osg::UInt32 i = 0; i < 3; ++i)
        write(values, key + components[i], value[i]);
}

// Like atof, but with a decimal point in every locale, as the texts are written.
double realOf(const std::string& text) {
    static const locale_t neutral = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text.c_str(), nullptr, neutral);
}

void parse(const std::string& text, int& value) {
    value = std::atoi(text.c_str());
}
void parse(const std::string& text, bool& value) {
    value = text == "true";
}
template <class Real>
void parse(const std::string& text, Real& value) {
    value = static_cast<Real>(realOf(text));
}

// Reads a key. If it is absent, returns false and does not change the value.
template <class Value>
bool read(const osg::ValuePairPtr& values, const std::string& key, Value& value) {
    std::string text;
    if (!values->get(key, text))
        return false;
    parse(text, value);
    return true;
}
bool read(const osg::ValuePairPtr& values, const std::string& key, osg::Color3f& value) {
    osg::Color3f color;
    for (osg::UInt32 i = 0; i < 3; ++i)
        if (!read(values, key + components[i], color[i]))
            return false;
    value = color;
    return true;
}

template <class Row>
void erase(const osg::ValuePairPtr& values, Row row) {
    const std::string key = row.names.textKey;
    if constexpr (std::is_base_of_v<Settings::Color, Row>)
        for (const char* component : components)
            values->del(key + component);
    else
        values->del(key);
}

} // namespace

void writeTextSettings(const ktAmbientOcclusion& controller, const osg::ValuePairPtr& values) {
    Settings::forEachSetting<&Settings::Places::texts>(
        [&](auto row) { write(values, row.names.textKey, row.get(controller)); });
}

void eraseTextSettings(const osg::ValuePairPtr& values) {
    Settings::forEachSetting<&Settings::Places::texts>([&](auto row) { erase(values, row); });
}

void loadTextSettings(ktAmbientOcclusion& controller, const osg::ValuePairPtr& values) {
    Settings::forEachSetting([&](auto row) {
        if constexpr (row.places.texts > 0) {
            auto value = row.get(controller);
            if (read(values, row.names.textKey, value))
                row.set(controller, value);
        }
    });
}

} // namespace ktAmbientOcclusionInternal
