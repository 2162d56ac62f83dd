// SPDX-License-Identifier: LGPL-2.1-or-later
// The content of the templates file, and the presets that are read from it.
#include "ktControllerFixture.h"
#include "ktMessage.h"

#include <QCoreApplication>
#include <QTranslator>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

const char* const path = "/preferences/aotemplates.xml";
const char* const readError = "error: Couldn't read ambient occlusion templates file!";
const char* const writeError = "error: Couldn't write ambient occlusion templates file!";

class Templates : public ktControllerFixture {
protected:
    Templates() {
        presets.clear();
        host.files.clear();
    }

    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const AOPreset& preset : presets)
            result.push_back(preset.name);
        return result;
    }
    template <class T>
    T written(const char* name) const {
        const T* held = boost::any_cast<T>(&host.files.at(path).get(name));
        EXPECT_NE(held, nullptr) << name;
        return held ? *held : T();
    }

    std::vector<AOPreset>& presets = Access::presets(controller);
};

/// A file that each test fills.
class ReadTemplates : public Templates {
protected:
    ReadTemplates() { host.files[path] = ktMessage(); }
    void set(const char* name, const boost::any& value) { host.files[path].set(name, value, true); }
    void setNames(const std::vector<std::string>& values) { set("name", values); }
};

const std::vector<std::string> recovered = {"Default",
                                            "Car Low Quality",
                                            "Car Medium Quality",
                                            "Car High Quality",
                                            "Car Highest Quality",
                                            "Groundplane Low Quality",
                                            "Groundplane High Quality"};

/// Translates the preset names of a new file into names with non-ASCII characters.
class GermanTranslator : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* text, const char*, int) const override {
        if (qstrcmp(context, "ktAmbientOcclusion") == 0 && qstrcmp(text, "Default") == 0)
            return QString::fromUtf8("Übliche");
        if (qstrcmp(context, "ktAmbientOcclusion") == 0 && qstrcmp(text, "Car Low Quality") == 0)
            return QString::fromUtf8("Auto, gröbste");
        return QString();
    }
};

} // namespace

TEST_F(Templates, GivenCatalogue_WritesColumnsInOrder) {
    AOPreset first;
    first.name = "Größe";
    first.quality = 7;
    first.minDistance = 0.5f;
    first.maxDistance = 10;
    first.indirect = true;
    first.indirectQuality = 12;
    first.materialOverride = true;
    first.materialColor = osg::Color3f(0.1f, 0.2f, 0.3f);
    first.colorBleeding = false;
    first.numIndirections = 3;
    first.subdivision = true;
    first.subdivisionQuality = 2;
    first.minEdgeLength = 4;
    first.intensityThreshold = 0.05f;
    AOPreset second;
    second.name = "b";
    second.colorBleeding = true;
    presets = {first, second};
    controller.writePreset();
    EXPECT_THAT(log, ElementsAre(std::string("write ") + path));
    EXPECT_THAT(host.files.at(path).names(),
                ElementsAre("AOPreset", "name", "quality", "minDistance", "maxDistance", "indirect", "indirectQuality",
                            "colorBleeding", "materialOverride", "materialColorR", "materialColorG", "materialColorB",
                            "numIndirections", "subdivision", "subdivisionQuality", "minEdgeLength",
                            "intensityThreshold"));
    EXPECT_EQ(written<unsigned long>("AOPreset"), 2u);
    EXPECT_THAT(written<std::vector<std::string>>("name"), ElementsAre("Größe", "b"));
    EXPECT_THAT(written<std::vector<int>>("quality"), ElementsAre(7, 0));
    EXPECT_THAT(written<std::vector<float>>("minDistance"), ElementsAre(0.5f, 0));
    EXPECT_THAT(written<std::vector<float>>("maxDistance"), ElementsAre(10, 0));
    EXPECT_THAT(written<std::vector<bool>>("indirect"), ElementsAre(true, false));
    EXPECT_THAT(written<std::vector<int>>("indirectQuality"), ElementsAre(12, 0));
    EXPECT_THAT(written<std::vector<bool>>("colorBleeding"), ElementsAre(false, true));
    EXPECT_THAT(written<std::vector<bool>>("materialOverride"), ElementsAre(true, false));
    EXPECT_THAT(written<std::vector<float>>("materialColorR"), ElementsAre(0.1f, 0));
    EXPECT_THAT(written<std::vector<float>>("materialColorG"), ElementsAre(0.2f, 0));
    EXPECT_THAT(written<std::vector<float>>("materialColorB"), ElementsAre(0.3f, 0));
    EXPECT_THAT(written<std::vector<int>>("numIndirections"), ElementsAre(3, 0));
    EXPECT_THAT(written<std::vector<bool>>("subdivision"), ElementsAre(true, false));
    EXPECT_THAT(written<std::vector<int>>("subdivisionQuality"), ElementsAre(2, 0));
    EXPECT_THAT(written<std::vector<float>>("minEdgeLength"), ElementsAre(4, 0));
    EXPECT_THAT(written<std::vector<float>>("intensityThreshold"), ElementsAre(0.05f, 0));
}

TEST_F(Templates, GivenDirectoryText_AppendsTheNameAsItIs) {
    host.preferencesDirectory = "/Größe/pre";
    controller.writePreset();
    EXPECT_THAT(log, ElementsAre("write /Größe/preaotemplates.xml"));
}

TEST_F(Templates, GivenFailureToWrite_LogsItOnceAndKeepsTheCatalogue) {
    host.canWriteFiles = false;
    controller.addPreset("mine");
    EXPECT_THAT(log, ElementsAre(std::string("write ") + path, writeError));
    EXPECT_THAT(names(), ElementsAre("mine"));
}

TEST_F(Templates, GivenNoFile_RecoversWithDefaultAndBuiltInOnes) {
    host.files.clear();
    const std::unique_ptr<Controller, void (*)(Controller*)> fresh(Access::make(), Access::destroy);
    const std::string reads = std::string("read ") + path;
    const std::string writes = std::string("write ") + path;
    EXPECT_THAT(log, ElementsAre(reads, writes, writes, writes, reads)) << "and no error message";
    presets = Access::presets(*fresh);
    EXPECT_EQ(names(), recovered);
    EXPECT_EQ(presets[0].quality, 8);
    EXPECT_EQ(presets[0].indirectQuality, 8);
    EXPECT_EQ(presets[0].minEdgeLength, 1.0f);
    EXPECT_EQ(presets[0].intensityThreshold, 0.05f);
    EXPECT_TRUE(presets[0].indirect);
    EXPECT_TRUE(presets[0].materialOverride);
    EXPECT_EQ(written<std::vector<std::string>>("name"), recovered);
}

TEST_F(Templates, GivenTranslation_TakesTheNameOfTheFirstForLatin1) {
    int argc = 0;
    QCoreApplication application(argc, nullptr);
    GermanTranslator translator;
    QCoreApplication::installTranslator(&translator);
    host.files.clear();
    controller.readPreset();
    QCoreApplication::removeTranslator(&translator);
    EXPECT_EQ(presets[0].name, QString::fromLatin1("\xC3\x9C"
                                                   "bliche")
                                   .toStdString());
    EXPECT_EQ(presets[1].name, "Auto, gröbste");
}

TEST_F(Templates, GivenWriteAndRead_KeepsEveryField) {
    controller.addDefaultPresets();
    controller.setShadowQuality(5);
    controller.addPreset("mine");
    const std::vector<AOPreset> before = presets;
    log.clear();
    controller.readPreset();
    EXPECT_THAT(log, ElementsAre(std::string("read ") + path)) << "nothing is saved";
    ASSERT_EQ(presets.size(), before.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(presets[i].name, before[i].name);
        EXPECT_EQ(presets[i].quality, before[i].quality);
        EXPECT_EQ(presets[i].indirect, before[i].indirect);
        EXPECT_EQ(presets[i].indirectQuality, before[i].indirectQuality);
        EXPECT_EQ(presets[i].subdivision, before[i].subdivision);
        EXPECT_EQ(presets[i].subdivisionQuality, before[i].subdivisionQuality);
        EXPECT_EQ(presets[i].intensityThreshold, before[i].intensityThreshold);
    }
}

TEST_F(ReadTemplates, GivenOnlyNames_TakesTheDefaultsOfTheFile) {
    setNames({"a", "b", "c"});
    controller.readPreset();
    EXPECT_THAT(names(), ElementsAre("a", "b", "c"));
    for (const AOPreset& preset : presets) {
        EXPECT_EQ(preset.quality, 2);
        EXPECT_EQ(preset.minDistance, 1.0f);
        EXPECT_EQ(preset.maxDistance, 3000.0f);
        EXPECT_FALSE(preset.indirect);
        EXPECT_EQ(preset.indirectQuality, 2);
        EXPECT_FALSE(preset.materialOverride);
        EXPECT_EQ(preset.materialColor, osg::Color3f(0.7f, 0.7f, 0.7f));
        EXPECT_FALSE(preset.colorBleeding);
        EXPECT_EQ(preset.numIndirections, 1);
        EXPECT_FALSE(preset.subdivision);
        EXPECT_EQ(preset.subdivisionQuality, 0);
        EXPECT_EQ(preset.minEdgeLength, 5.0f);
        EXPECT_EQ(preset.intensityThreshold, 0.05f);
    }
    controller.setShadowQuality(3);
    controller.applyPreset(0);
    EXPECT_EQ(controller.getShadowQuality(), 0) << "2 in the units of presets";
}

TEST_F(ReadTemplates, GivenShortColumn_TakesTheDefaultForWhatIsMissing) {
    setNames({"a", "b", "c"});
    set("quality", std::vector<int>{12});
    set("indirect", std::vector<bool>{true, true});
    set("minEdgeLength", std::vector<float>());
    set("maxDistance", std::vector<float>{1, 2, 3, 4, 5});
    controller.readPreset();
    ASSERT_THAT(presets, SizeIs(3));
    EXPECT_EQ(presets[0].quality, 12);
    EXPECT_EQ(presets[1].quality, 2);
    EXPECT_EQ(presets[2].quality, 2);
    EXPECT_TRUE(presets[1].indirect);
    EXPECT_FALSE(presets[2].indirect);
    EXPECT_EQ(presets[0].minEdgeLength, 5.0f);
    EXPECT_EQ(presets[2].maxDistance, 3.0f);
}

TEST_F(ReadTemplates, GivenColumnOfAnotherType_TakesItsDefaultAndReadsOn) {
    setNames({"a"});
    set("AOPreset", 1);
    set("quality", std::vector<float>{16});
    set("minDistance", std::vector<float>{0.5f});
    testing::internal::CaptureStderr();
    controller.readPreset();
    const std::string reported = testing::internal::GetCapturedStderr();
    EXPECT_THAT(reported, testing::HasSubstr("'AOPreset' has wrong type (is:'i' != req:'m')"));
    EXPECT_THAT(reported, testing::HasSubstr("'quality' has wrong type"));
    EXPECT_LT(reported.find("'AOPreset'"), reported.find("'quality'"));
    ASSERT_THAT(presets, SizeIs(1));
    EXPECT_EQ(presets[0].quality, 2);
    EXPECT_EQ(presets[0].minDistance, 0.5f);
    EXPECT_THAT(entriesWith(log, "error"), IsEmpty());
}

TEST_F(ReadTemplates, GivenEmptyNames_EmptiesTheCatalogueAndDoesNotWrite) {
    setNames({});
    controller.readPreset();
    EXPECT_THAT(log, ElementsAre(std::string("read ") + path));
    EXPECT_THAT(presets, IsEmpty());
    presets.resize(2);
    controller.readPreset();
    EXPECT_THAT(presets, IsEmpty());
}

TEST_F(ReadTemplates, GivenNoUsableNames_LogsItAndLeavesTheCatalogue) {
    set("something", 7);
    const std::unique_ptr<Controller, void (*)(Controller*)> fresh(Access::make(), Access::destroy);
    EXPECT_THAT(Access::presets(*fresh), IsEmpty());
    EXPECT_THAT(log, ElementsAre(std::string("read ") + path, readError));

    presets.resize(2);
    set("name", std::vector<int>{1});
    set("quality", std::vector<int>{8});
    testing::internal::CaptureStderr();
    controller.readPreset();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(log.back(), readError);
    EXPECT_THAT(presets, SizeIs(2));
    EXPECT_THAT(entriesWith(log, "write"), IsEmpty());
}

TEST_F(ReadTemplates, GivenSecondRead_ReplacesTheCatalogue) {
    setNames({"a", "b"});
    controller.readPreset();
    setNames({"c"});
    controller.readPreset();
    EXPECT_THAT(names(), ElementsAre("c"));
}
