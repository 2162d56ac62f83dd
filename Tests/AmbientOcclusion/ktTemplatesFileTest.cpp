// SPDX-License-Identifier: LGPL-2.1-or-later
// Presets and their file in the real host: restarts, broken files, killed processes and undo.
#include "ktAmbientOcclusion.h"
#include "ktLogOutput.h"
#include "ktMemoryLimit.h"
#include "ktMessageMutator.h"
#include "ktUndoStack.h"

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <random>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

struct ktAmbientOcclusionAccess {
    static ktAmbientOcclusion* make() { return new ktAmbientOcclusion; }
    static void destroy(ktAmbientOcclusion* controller) { delete controller; }
    static std::vector<AOPreset>& presets(ktAmbientOcclusion& controller) { return controller.presets; }
};

namespace {

namespace fs = std::filesystem;
using Access = ktAmbientOcclusionAccess;
using Controller = std::unique_ptr<ktAmbientOcclusion, void (*)(ktAmbientOcclusion*)>;

/// The values of `member` in all presets.
template <class Member>
auto each(const std::vector<AOPreset>& presets, Member member) {
    std::vector<std::decay_t<decltype(presets[0].*member)>> values;
    for (const AOPreset& preset : presets)
        values.push_back(preset.*member);
    return values;
}

bool sameBits(float a, float b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool equal(const AOPreset& a, const AOPreset& b) {
    return a.name == b.name && a.quality == b.quality && sameBits(a.minDistance, b.minDistance) &&
           sameBits(a.maxDistance, b.maxDistance) && a.indirect == b.indirect &&
           a.indirectQuality == b.indirectQuality && a.materialOverride == b.materialOverride &&
           sameBits(a.materialColor[0], b.materialColor[0]) && sameBits(a.materialColor[1], b.materialColor[1]) &&
           sameBits(a.materialColor[2], b.materialColor[2]) && a.colorBleeding == b.colorBleeding &&
           a.numIndirections == b.numIndirections && a.subdivision == b.subdivision &&
           a.subdivisionQuality == b.subdivisionQuality && sameBits(a.minEdgeLength, b.minEdgeLength) &&
           sameBits(a.intensityThreshold, b.intensityThreshold);
}

/// A temporary preferences directory. It is in memory if possible, because some tests write much data.
class TemplatesFile : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern =
            access("/dev/shm", W_OK) == 0 ? "/dev/shm/ktTemplates-XXXXXX" : testing::TempDir() + "ktTemplates-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        file = folder / "aotemplates.xml";
        if (const char* old = std::getenv("KT_PREFERENCES_DIR"))
            oldFolder = old;
        setenv("KT_PREFERENCES_DIR", folder.c_str(), 1);
        ktLogOutput::setSink([this](ktLogLevel, const std::string& line) { log.push_back(line); });
        ktUndoStack::get(0)->clear();
    }
    void TearDown() override {
        ktUndoStack::get(0)->clear();
        ktLogOutput::setSink({});
        setenv("KT_PREFERENCES_DIR", oldFolder.c_str(), 1);
        fs::remove_all(folder);
    }

    static Controller start() { return {Access::make(), Access::destroy}; }
    void put(const std::string& content) const { std::ofstream(file, std::ios::binary) << content; }
    static std::string contentOf(const fs::path& path) {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }
    std::vector<std::string> files() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder))
            found.push_back(entry.path().filename().string());
        return found;
    }

    fs::path folder;
    fs::path file;
    std::string oldFolder;
    std::vector<std::string> log;
};

const std::vector<std::string> recovered = {"Default",
                                            "Car Low Quality",
                                            "Car Medium Quality",
                                            "Car High Quality",
                                            "Car Highest Quality",
                                            "Groundplane Low Quality",
                                            "Groundplane High Quality"};

} // namespace

TEST_F(TemplatesFile, GivenFirstStart_MakesTheFileWithSevenPresets) {
    const Controller controller = start();
    EXPECT_EQ(each(Access::presets(*controller), &AOPreset::name), recovered);
    EXPECT_THAT(log, IsEmpty());
    EXPECT_THAT(files(), ElementsAre("aotemplates.xml"));
    const std::string content = contentOf(file);
    for (const std::string& name : recovered)
        EXPECT_THAT(content, HasSubstr("<item>" + name + "</item>"));
    const Controller next = start();
    EXPECT_EQ(each(Access::presets(*next), &AOPreset::name), recovered);
    EXPECT_EQ(contentOf(file), content) << "a start without changes writes nothing";
}

TEST_F(TemplatesFile, GivenAnyValues_ReadsThemBitForBitInTheNextRun) {
    const Controller controller = start();
    std::vector<AOPreset>& presets = Access::presets(*controller);
    presets.clear();
    std::mt19937 random(5);
    const auto anyFloat = [&random] {
        const auto bits = static_cast<std::uint32_t>(random());
        float value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    };
    for (int i = 0; i < 500; ++i) {
        AOPreset preset;
        preset.name = "preset " + std::to_string(i);
        preset.quality = static_cast<int>(random());
        preset.minDistance = anyFloat();
        preset.maxDistance = anyFloat();
        preset.indirect = random() & 1;
        preset.indirectQuality = static_cast<int>(random());
        preset.materialOverride = random() & 1;
        preset.materialColor = osg::Color3f(anyFloat(), anyFloat(), anyFloat());
        preset.colorBleeding = random() & 1;
        preset.numIndirections = static_cast<int>(random());
        preset.subdivision = random() & 1;
        preset.subdivisionQuality = static_cast<int>(random());
        preset.minEdgeLength = anyFloat();
        preset.intensityThreshold = anyFloat();
        presets.push_back(preset);
    }
    presets[0].minDistance = -0.0f;
    presets[1].minDistance = INFINITY;
    presets[2].minDistance = NAN;
    presets[3].minDistance = 1e-45f;
    controller->writePreset();
    const Controller next = start();
    const std::vector<AOPreset>& back = Access::presets(*next);
    ASSERT_EQ(back.size(), presets.size());
    for (std::size_t i = 0; i < back.size(); ++i)
        EXPECT_TRUE(equal(back[i], presets[i])) << "preset " << i;
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(TemplatesFile, GivenAwkwardNames_ReadsThemInTheNextRun) {
    const QList<QString> names = {QString::fromUtf8("Größe äöüß"),
                                  "\"double\" 'single' & <b>",
                                  "]]> <!-- -->",
                                  QString::fromUtf8("🚗💡"),
                                  "line\nbreak\r\nand\ttab\r",
                                  "  blanks  ",
                                  QString(QChar(0x1B)) + "[31mred",
                                  QString(10000, QChar(0x20AC)),
                                  QString(10000, '"'),
                                  ""};
    const Controller controller = start();
    Access::presets(*controller).clear();
    for (const QString& name : names)
        controller->addPreset(name);
    EXPECT_EQ(start()->getPresetNames(), names);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(TemplatesFile, GivenDeletionWithoutSaving_BringsThePresetBack) {
    {
        const Controller controller = start();
        controller->deletePreset(0);
        EXPECT_THAT(controller->getPresetNames(), SizeIs(6));
    }
    EXPECT_THAT(start()->getPresetNames(), SizeIs(7));
}

TEST_F(TemplatesFile, GivenBrokenFile_IsSetAsideAndLoggedBeforeRecovery) {
    const std::string broken = "<message version=\"1\">\n<list name=\"name\" type=\"string\"><item>mine</item>";
    put(broken);
    const Controller controller = start();
    EXPECT_EQ(each(Access::presets(*controller), &AOPreset::name), recovered);
    EXPECT_EQ(contentOf(folder / "aotemplates.xml.broken"), broken);
    EXPECT_THAT(log, ElementsAre(AllOf(HasSubstr("Couldn't read " + file.string()), HasSubstr("line 2, column "),
                                       HasSubstr("set aside as " + file.string() + ".broken"))));
    EXPECT_THAT(start()->getPresetNames(), SizeIs(7));
}

TEST_F(TemplatesFile, GivenDocumentTypeDeclaration_IsSetAside) {
    put("<!DOCTYPE m [<!ENTITY n 'name'>]>\n<message version=\"1\"><list name=\"name\" type=\"string\"/></message>");
    start();
    EXPECT_TRUE(fs::exists(folder / "aotemplates.xml.broken"));
    EXPECT_THAT(log, ElementsAre(HasSubstr("not accepted")));
}

TEST_F(TemplatesFile, GivenMessageOfAnotherKind_LeavesFileAndCatalogueAlone) {
    const std::string content = "<message version=\"1\"><value name=\"text\" type=\"string\">x</value></message>";
    put(content);
    EXPECT_THAT(start()->getPresetNames(), IsEmpty());
    EXPECT_THAT(log, ElementsAre("Couldn't read ambient occlusion templates file!"));
    EXPECT_EQ(contentOf(file), content);
    EXPECT_THAT(files(), SizeIs(1));
}

TEST_F(TemplatesFile, GivenEmptyNames_LeavesTheFileAlone) {
    const std::string content = "<message version=\"1\"><list name=\"name\" type=\"string\"/></message>";
    put(content);
    EXPECT_THAT(start()->getPresetNames(), IsEmpty());
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(contentOf(file), content);
}

TEST_F(TemplatesFile, GivenDirectoryThatTakesNoFiles_LogsAndKeepsTheCatalogue) {
    const Controller controller = start();
    const std::string before = contentOf(file);
    // Not even root can create files there.
    setenv("KT_PREFERENCES_DIR", "/proc", 1);
    controller->addPreset("mine");
    EXPECT_THAT(log, ElementsAre(HasSubstr("Couldn't write /proc/aotemplates.xml: "),
                                 "Couldn't write ambient occlusion templates file!"));
    EXPECT_EQ(controller->getPresetNames().last(), "mine");
    EXPECT_EQ(contentOf(file), before);
}

TEST_F(TemplatesFile, GivenKillsAt200RandomMomentsWhileSaving_AlwaysLeavesAWholeCatalogue) {
    // Catalogues of very different sizes, identified by their names.
    const auto fill = [](ktAmbientOcclusion& controller, int which) {
        AOPreset preset;
        preset.name = "catalogue " + std::to_string(which);
        preset.quality = which;
        Access::presets(controller).assign(static_cast<std::size_t>(which % 2 == 0 ? 3 : 400), preset);
    };
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::mt19937 random(7);
    int last = 0, changes = 0;
    std::chrono::microseconds fourSaves{};
    {
        // Measures the time now, because sanitizers and load change it.
        const Controller controller = start();
        const auto begin = std::chrono::steady_clock::now();
        for (int which = 3; which >= 0; --which) {
            fill(*controller, which);
            controller->writePreset();
        }
        fourSaves = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    }
    for (int i = 0; i < 200; ++i) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const Controller controller = start();
            for (int which = last + 1;; ++which) {
                fill(*controller, which);
                controller->writePreset();
                if (which == last + 1 && ::write(ends[1], "x", 1) != 1)
                    _exit(1);
            }
        }
        char byte = 0;
        ASSERT_EQ(::read(ends[0], &byte, 1), 1);
        std::this_thread::sleep_for(fourSaves * static_cast<int>(random() % 1000) / 1000);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);

        const Controller next = start();
        const std::vector<AOPreset>& presets = Access::presets(*next);
        ASSERT_FALSE(presets.empty()) << "kill " << i;
        const int which = presets[0].quality;
        ASSERT_GT(which, last) << "kill " << i;
        ASSERT_EQ(presets.size(), which % 2 == 0 ? 3u : 400u) << "kill " << i;
        for (const AOPreset& preset : presets)
            ASSERT_EQ(preset.name, "catalogue " + std::to_string(which)) << "kill " << i;
        changes += which > last + 1;
        last = which;
    }
    close(ends[0]);
    close(ends[1]);
    EXPECT_GT(changes, 50) << "the kills came before the saving";
    EXPECT_THAT(log, IsEmpty());
    EXPECT_FALSE(fs::exists(folder / "aotemplates.xml.broken"));
}

TEST_F(TemplatesFile, GivenUndoAfterApplying_RestoresEverySettingInOneStep) {
    const Controller controller = start();
    ktUndoStack& undoStack = *ktUndoStack::get(0);
    controller->setMode(ktAmbientOcclusion::Shadows);
    controller->setShadowQuality(5);
    controller->setMinEdgeLength(0.123456789);
    controller->setColorBleedingEnabled(true);
    controller->setMaterialColor(0.1f, 0.2f, 0.3f);
    const int steps = undoStack.count();
    int signalCount = 0;
    QObject::connect(controller.get(), &ktAmbientOcclusion::shadowQualityChanged, [&signalCount] { ++signalCount; });
    QObject::connect(controller.get(), &ktAmbientOcclusion::minEdgeLengthChanged, [&signalCount] { ++signalCount; });
    QObject::connect(controller.get(), &ktAmbientOcclusion::colorBleedingChanged, [&signalCount] { ++signalCount; });
    QObject::connect(controller.get(), &ktAmbientOcclusion::materialColorChanged, [&signalCount] { ++signalCount; });
    controller->applyPreset(4);
    EXPECT_EQ(undoStack.count(), steps + 1);
    EXPECT_EQ(controller->getShadowQuality(), 4);
    EXPECT_EQ(signalCount, 4);
    undoStack.undo();
    EXPECT_EQ(controller->getShadowQuality(), 5);
    EXPECT_EQ(controller->getGatherQuality(), 2);
    EXPECT_EQ(controller->getMinEdgeLength(), 0.123456789);
    EXPECT_EQ(controller->getIntensityThreshold(), 0.05);
    EXPECT_TRUE(controller->isColorBleedingEnabled());
    EXPECT_FALSE(controller->isSubdivideEnabled());
    EXPECT_EQ(controller->getMaterialColor(), osg::Color3f(0.1f, 0.2f, 0.3f));
    EXPECT_EQ(controller->getMode(), ktAmbientOcclusion::Shadows);
    EXPECT_EQ(signalCount, 8);
    undoStack.redo();
    EXPECT_EQ(controller->getShadowQuality(), 4);
    EXPECT_EQ(signalCount, 12);
}

TEST_F(TemplatesFile, GivenTenThousandMutations_AlwaysStarts) {
    ktMessageMutator mutator(4);
    // Each wrong type prints a call trace on standard error, here many thousand times.
    const int standardError = dup(STDERR_FILENO);
    const int nothing = open("/dev/null", O_WRONLY);
    dup2(nothing, STDERR_FILENO);
    start(); // objects that are made only once are made now
    int kept = 0;
    {
        const ktMemoryLimit limit(64 << 20);
        for (int i = 0; i < 10000; ++i) {
            put(mutator.next().toStdString());
            const Controller controller = start();
            kept += !fs::exists(folder / "aotemplates.xml.broken");
            fs::remove(folder / "aotemplates.xml.broken");
            if (!Access::presets(*controller).empty())
                controller->applyPreset(0);
            log.clear();
            ktUndoStack::get(0)->clear();
        }
    }
    dup2(standardError, STDERR_FILENO);
    close(standardError);
    close(nothing);
    EXPECT_GT(kept, 1000);
    EXPECT_LT(kept, 9000);
    EXPECT_THAT(files(), ElementsAre("aotemplates.xml"));
}

TEST_F(TemplatesFile, GivenLargestFiles_StaysBelow64MiB) {
    const auto list = [](const char* name, const std::string& item, int count) {
        std::string text = std::string("<list name=\"") + name + "\" type=\"string\">";
        for (int i = 0; i < count; ++i)
            text += item;
        return "<message version=\"1\">" + text + "</list></message>";
    };
    start();
    for (const std::string& content :
         {list("name", "<item/>", 200000), list("name", "<item>0123456789abcdef</item>", 140000),
          list("name", "<item>" + std::string(4000000, 'x') + "</item>", 1), std::string(100 << 20, ' ')}) {
        put(content);
        const ktMemoryLimit limit(64 << 20);
        EXPECT_NO_THROW(start()) << content.substr(0, 80);
    }
}
