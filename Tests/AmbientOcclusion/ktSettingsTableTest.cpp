// SPDX-License-Identifier: LGPL-2.1-or-later
// The table of settings. Every row must reach each place that keeps settings.
#include "ktAmbientOcclusionSettings.h"
#include "ktControllerFixture.h"
#include "ktSettingRows.h"

#include <algorithm>
#include <map>

using namespace ktAmbientOcclusionSettings;

namespace {

class SettingsTable : public ktControllerFixture {
protected:
    void setAllToOthers() {
        forEachSetting([&](auto row) { row.set(controller, otherThanInitial(row)); });
    }
    void setAllToInitial() {
        forEachSetting([&](auto row) { row.set(controller, row.initial); });
    }
    /// Rounds to single precision, which files and nodes keep.
    template <class Row>
    typename Row::Field held(Row row) const {
        return static_cast<typename Row::Field>(row.get(controller));
    }
    template <class Row>
    void expectOther(Row row) const {
        EXPECT_EQ(held(row), static_cast<typename Row::Field>(otherThanInitial(row))) << row.names.json;
    }
};

/// How often each name is used. A colour's names end in R, G and B.
using Uses = std::map<std::string, int>;

template <class Row>
void count(Uses& uses, Row, const char* name) {
    if (!name)
        return;
    if constexpr (std::is_base_of_v<Color, Row>)
        for (const char* component : {"R", "G", "B"})
            ++uses[std::string(name) + component];
    else
        ++uses[name];
}

template <int Places::*order>
std::vector<int> placesInOrder() {
    std::vector<int> places;
    forEachSetting([&](auto row) {
        if (row.places.*order != 0)
            places.push_back(row.places.*order);
    });
    std::sort(places.begin(), places.end());
    return places;
}

template <int Places::*order>
std::vector<int> visitedPlaces() {
    std::vector<int> places;
    forEachSetting<order>([&](auto row) { places.push_back(row.places.*order); });
    return places;
}

template <int Places::*order>
void expectEachPlaceOnce() {
    std::vector<int> places = placesInOrder<order>();
    EXPECT_EQ(visitedPlaces<order>(), places);
    for (std::size_t i = 0; i < places.size(); ++i)
        EXPECT_EQ(places[i], static_cast<int>(i) + 1);
}

} // namespace

TEST_F(SettingsTable, GivenRows_GivesEachNameOnce) {
    Uses json, texts, columns, scripts, options;
    forEachSetting([&](auto row) {
        ++json[row.names.json];
        ++options[row.names.option];
        count(texts, row, row.names.textKey);
        count(columns, row, row.names.column);
        count(scripts, row, row.names.script);
    });
    for (const Uses& uses : {json, texts, columns, scripts, options})
        for (const auto& [name, number] : uses) {
            EXPECT_NE(name, "");
            EXPECT_EQ(number, 1) << name;
        }
}

TEST_F(SettingsTable, GivenRows_HavePlacesExactlyWhereTheyHaveNames) {
    expectEachPlaceOnce<&Places::texts>();
    expectEachPlaceOnce<&Places::presets>();
    expectEachPlaceOnce<&Places::scripts>();
    expectEachPlaceOnce<&Places::options>();
    forEachSetting([](auto row) {
        EXPECT_EQ(row.places.texts > 0, row.names.textKey != nullptr) << row.names.json;
        EXPECT_EQ(row.places.texts > 0, row.names.column != nullptr) << row.names.json;
        EXPECT_EQ(row.places.presets > 0, row.names.column != nullptr) << row.names.json;
        EXPECT_EQ(row.places.scripts > 0, row.names.script != nullptr) << row.names.json;
        EXPECT_GT(row.places.options, 0) << row.names.json;
    });
}

TEST_F(SettingsTable, GivenNewControllerAndAttachment_HoldInitialValues) {
    const osg::AmbientOcclusionSettingsAttachmentPtr attachment = osg::AmbientOcclusionSettingsAttachment::create();
    osg::addRefCP(attachment);
    forEachSetting([&](auto row) {
        const typename decltype(row)::Value initial = row.initial;
        EXPECT_EQ(row.get(controller), initial) << row.names.json;
        EXPECT_EQ(row.getOnNode(*attachment), static_cast<typename decltype(row)::Field>(initial)) << row.names.json;
    });
    osg::subRefCP(attachment);
}

TEST_F(SettingsTable, GivenNewValue_IsKeptAndSignalledOnce) {
    forEachSetting([&](auto row) {
        int emissions = 0;
        QObject::connect(&controller, row.changed(controller), [&emissions] { ++emissions; });
        row.set(controller, otherThanInitial(row));
        expectOther(row);
        EXPECT_EQ(emissions, 1) << row.names.json;
        QObject::disconnect(&controller, row.changed(controller), nullptr, nullptr);
    });
}

TEST_F(SettingsTable, GivenAttachment_RestoresEveryValue) {
    const osg::NodePtr node = keep(osg::Node::create());
    setAllToOthers();
    controller.addAOData(node, controller.getAmbientOcclusionSettings());
    setAllToInitial();
    controller.loadFromNode(node);
    forEachSetting([&](auto row) { expectOther(row); });
}

TEST_F(SettingsTable, GivenTextKeys_RestoreEveryValueWithAKey) {
    const osg::NodePtr node = keep(osg::Node::create());
    setAllToOthers();
    controller.addAOData(node);
    setAllToInitial();
    controller.loadFromNode(node);
    forEachSetting<&Places::texts>([&](auto row) { expectOther(row); });
}

TEST_F(SettingsTable, GivenPreset_RestoresEveryValueInIt) {
    setAllToOthers();
    controller.addPreset("mine");
    setAllToInitial();
    controller.applyPreset(static_cast<int>(Access::presets(controller).size()) - 1);
    forEachSetting<&Places::presets>([&](auto row) { expectOther(row); });
}

TEST_F(SettingsTable, GivenTemplatesFile_RestoresEveryValueInIt) {
    setAllToOthers();
    controller.addPreset("mine");
    const std::size_t count = Access::presets(controller).size();
    Access::presets(controller).clear();
    controller.readPreset();
    ASSERT_EQ(Access::presets(controller).size(), count);
    setAllToInitial();
    controller.applyPreset(static_cast<int>(count) - 1);
    forEachSetting<&Places::presets>([&](auto row) { expectOther(row); });
}

TEST_F(SettingsTable, GivenTemplatesFileWithNamesOnly_HoldsTheRowsFallbacks) {
    ktMessage& file = host.files["/preferences/aotemplates.xml"];
    file = ktMessage();
    file.set("name", std::vector<std::string>{"old"}, true);
    controller.readPreset();
    ASSERT_EQ(Access::presets(controller).size(), 1u);
    forEachSetting<&Places::presets>([&](auto row) {
        const auto& inPreset = row.inPreset(Access::presets(controller)[0]);
        const std::decay_t<decltype(inPreset)> fallback = row.fileFallback;
        EXPECT_EQ(inPreset, fallback) << row.names.json;
    });
}
