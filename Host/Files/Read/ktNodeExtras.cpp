// SPDX-License-Identifier: LGPL-2.1-or-later
// Translates between a glTF node's extras and the node's attachments: settings, named texts and locks.
#include "ktNodeExtras.h"

#include "ktFileMessages.h"
#include "ktNodeAttachments.h"
#include "ktNodeMarks.h"
#include "OSGValuePair.h"

#include <cmath>
#include <limits>
#include <QString>
#include <unordered_map>
#include <vector>

namespace {

typedef osg::AmbientOcclusionSettingsAttachment Settings;
typedef osg::AmbientOcclusionSettingsAttachmentPtr SettingsPtr;

const char* const settingsKey = "ambientOcclusion";
const char* const lockKey = "locked";

// Reads a member. If it is absent or of another kind, returns false and leaves the value.
bool take(const ktJson& json, const char* key, osg::Int32& value) {
    const double number = ktJsonNumber(json, key, std::nan(""));
    if (!(std::fabs(number) <= std::numeric_limits<osg::Int32>::max()) || number != std::floor(number))
        return false;
    value = static_cast<osg::Int32>(number);
    return true;
}

bool take(const ktJson& json, const char* key, osg::Real32& value) {
    const double number = ktJsonNumber(json, key, std::nan(""));
    if (!(std::fabs(number) <= static_cast<double>(std::numeric_limits<float>::max())))
        return false;
    value = static_cast<float>(number);
    return true;
}

bool take(const ktJson& json, const char* key, bool& value) {
    const ktJson* member = ktJsonMember(json, key);
    if (!member || !member->is_boolean())
        return false;
    value = member->get<bool>();
    return true;
}

bool take(const ktJson& json, const char* key, osg::Color3f& value) {
    double numbers[3];
    if (!ktJsonNumbers(json, key, 3, numbers))
        return false;
    value =
        osg::Color3f(static_cast<float>(numbers[0]), static_cast<float>(numbers[1]), static_cast<float>(numbers[2]));
    return true;
}

ktJson jsonOf(osg::Int32 value) {
    return value;
}

ktJson jsonOf(bool value) {
    return value;
}

ktJson jsonOf(osg::Real32 value) {
    return ktJsonFromFloat(value);
}

ktJson jsonOf(const osg::Color3f& value) {
    return {ktJsonFromFloat(value[0]), ktJsonFromFloat(value[1]), ktJsonFromFloat(value[2])};
}

SettingsPtr settingsFrom(const ktJson& json) {
    const SettingsPtr settings = Settings::create();
    osg::beginEditCP(settings);
    ktAmbientOcclusionSettings::forEachSetting([&](auto row) {
        auto value = row.getOnNode(*settings);
        if (take(json, row.names.json, value))
            row.setOnNode(*settings, value);
    });
    osg::endEditCP(settings);
    return settings;
}

void writeSettings(ktJson& extras, const SettingsPtr& settings) {
    ktJson* json = ktJsonMember(extras, settingsKey);
    if (settings == osg::NullFC) {
        if (json && json->is_object())
            extras.erase(settingsKey);
        return;
    }
    if (!json || !json->is_object())
        extras[settingsKey] = ktJson::object();
    ktJson& target = extras[settingsKey];
    ktAmbientOcclusionSettings::forEachSetting([&](auto row) {
        const auto value = row.getOnNode(*settings);
        auto old = value;
        if (!take(target, row.names.json, old) || old != value)
            target[row.names.json] = jsonOf(value);
    });
}

std::string asUtf8(const std::string& text) {
    const bool valid = QString::fromUtf8(text.data(), static_cast<int>(text.size())).toUtf8() ==
                       QByteArray::fromRawData(text.data(), static_cast<int>(text.size()));
    return valid ? text : QString::fromLatin1(text.data(), static_cast<int>(text.size())).toStdString();
}

void writeTexts(ktJson& extras, const osg::ValuePairPtr& texts, const std::string& object, ktFileMessages& messages) {
    std::string ignored;
    for (auto member = extras.begin(); member != extras.end();) {
        const bool isGone = member->is_string() && (texts == osg::NullFC || !texts->get(member.key(), ignored));
        member = isGone ? extras.erase(member) : std::next(member);
    }
    if (texts == osg::NullFC)
        return;
    // A lookup in the JSON compares all members.
    std::unordered_map<std::string, ktJson*> members;
    for (auto member = extras.begin(); member != extras.end(); ++member)
        members.emplace(member.key(), &*member);
    std::vector<osg::UInt32> added;
    for (osg::UInt32 i = 0; i < texts->getSize(); ++i) {
        const std::string key = asUtf8(texts->getKey(i));
        const auto old = members.find(key);
        if (old == members.end())
            added.push_back(i);
        else if (!old->second->is_string())
            messages.warn(object + "/extras", "has another member with the name of a text; the text is left out", key);
        else
            *old->second = asUtf8(texts->getValue(i));
    }
    for (const osg::UInt32 i : added)
        extras[asUtf8(texts->getKey(i))] = asUtf8(texts->getValue(i));
}

} // namespace

SettingsPtr ktReadNodeExtras(const ktJson& json, const osg::NodePtr& node) {
    SettingsPtr settings;
    const ktJson* extras = ktJsonMember(json, "extras");
    if (!extras || !extras->is_object())
        return settings;
    osg::ValuePairPtr texts;
    for (const auto& member : extras->items())
        if (member.value().is_string()) {
            if (texts == osg::NullFC)
                texts = osg::ValuePair::create();
            osg::beginEditCP(texts);
            texts->set(member.key(), member.value().get<std::string>());
            osg::endEditCP(texts);
        }
    const ktJson* stored = ktJsonMember(*extras, settingsKey);
    if (stored && stored->is_object())
        settings = settingsFrom(*stored);
    osg::beginEditCP(node, osg::Node::AttachmentsFieldMask);
    if (texts != osg::NullFC)
        node->addAttachment(texts);
    if (settings != osg::NullFC)
        node->addAttachment(settings);
    osg::endEditCP(node, osg::Node::AttachmentsFieldMask);
    if (ktJsonBool(*extras, lockKey, false))
        ktNodeMarks::setLocked(node, true);
    return settings;
}

void ktWriteNodeExtras(ktJson& json, const osg::NodePtr& node, const std::string& object, ktFileMessages& messages) {
    const SettingsPtr settings = ktFindAttachment<Settings>(node);
    const osg::ValuePairPtr texts = ktFindAttachment<osg::ValuePair>(node);
    const bool locked = ktNodeMarks::isLocked(node);
    const bool nothing = settings == osg::NullFC && (texts == osg::NullFC || texts->getSize() == 0) && !locked;
    ktJson* extras = ktJsonMember(json, "extras");
    if (!extras && nothing)
        return;
    if (extras && !extras->is_object()) {
        if (!nothing)
            messages.warn(object + "/extras", "are no object, so the settings of the node cannot be kept in them");
        return;
    }
    const bool wasEmpty = extras && extras->empty();
    ktJson& target = json["extras"];
    if (target.is_null())
        target = ktJson::object();
    writeSettings(target, settings);
    writeTexts(target, texts, object, messages);
    if (locked)
        target[lockKey] = true;
    else if (ktJsonBool(target, lockKey, false))
        target.erase(lockKey);
    if (target.empty() && !wasEmpty)
        json.erase("extras");
}
