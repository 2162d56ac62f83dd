// SPDX-License-Identifier: LGPL-2.1-or-later
// What is saved: both formats, each option of the output, and the copy for a recovery after each bake.
#include "ktAmbientOcclusion.h"
#include "ktPreferences.h"
#include "ktStudioFixture.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QtTest>

namespace {

class StudioSaving : public ktStudioFixture {
protected:
    /// Options of ktbake for the settings of bakeFast().
    static std::vector<std::string> fast(std::vector<std::string> more = {}) {
        more.insert(more.end(), {"--shadow-quality", "0", "--no-indirect"});
        return more;
    }
    void bakeFast(int quality = 0) {
        ktAmbientOcclusion::the()->setShadowQuality(quality);
        ktAmbientOcclusion::the()->setIndirectIlluminationEnabled(false);
        trigger("start");
    }
};

} // namespace

TEST_F(StudioSaving, GivenOtherFormatInTheDialog_SavesTheFilesOfKtbake) {
    const std::string scene = writeBoxes();
    open(scene);
    bakeFast();
    whenDialogShows([](QWidget& dialog) {
        auto* const formats = dialog.findChild<QComboBox*>("fileTypeCombo");
        formats->setFocus();
        QTest::keyClick(formats, Qt::Key_Down);
        auto* const name = dialog.findChild<QLineEdit*>("fileNameEdit");
        name->setText("out"); // gets the ending of the format
        QTest::keyClick(name, Qt::Key_Return);
    });
    trigger("saveAs");
    EXPECT_TRUE(waitFor([this] { return !window->isWindowModified(); })) << message().toStdString();
    std::filesystem::create_directory(folder.file("theirs"));
    const ktBakeResult result = runBake(folder.path, fast({scene, "-o", "theirs/out.gltf"}));
    EXPECT_EQ(result.exitCode, 0) << result.error;
    int files = 0;
    for (const auto& theirs : std::filesystem::directory_iterator(folder.file("theirs"))) {
        const std::string name = theirs.path().filename().string();
        EXPECT_TRUE(readFile(folder.file(name)) == readFile(theirs.path().string())) << name;
        ++files;
    }
    EXPECT_GT(files, 0);
}

TEST_F(StudioSaving, GivenEachOptionOfTheOutput_SavesTheBytesOfKtbake) {
    const std::string scene = writeBoxes();
    open(scene);
    bakeFast();
    const std::string plain = savedBytes();
    const auto expectBytes = [&](const std::function<void(ktStudioOptions&)>& set,
                                 const std::vector<std::string>& arguments) {
        ktStudioOptions options;
        set(options);
        window->getDocument().setOptions(options, "options");
        const std::string ours = savedBytes();
        EXPECT_FALSE(ours == plain) << arguments[1];
        EXPECT_TRUE(ours == bakedByKtbake(scene, fast(arguments))) << arguments[0] << " " << arguments[1];
    };
    expectBytes([](ktStudioOptions& options) { options.multiplyColors = false; }, {"--shade", "none"});
    expectBytes([](ktStudioOptions& options) { options.strength = 0.5; }, {"--strength", "0.5"});
    expectBytes([](ktStudioOptions& options) { options.exposure = 2; }, {"--exposure", "2"});
    expectBytes([](ktStudioOptions& options) { options.compression = ktCompressionMode::Draco; },
                {"--compress", "draco"});
    expectBytes([](ktStudioOptions& options) { options.compression = ktCompressionMode::Meshopt; },
                {"--compress", "meshopt"});
}

TEST_F(StudioSaving, GivenEachBake_TheCopyForARecoveryHasItsResults) {
    open(writeBoxes());
    const auto copy = [] {
        const QDir folders(ktPreferences::getPreferencesDir() + "recovery");
        const QStringList names = folders.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        return names.size() == 1 ? readFile(folders.filePath(names[0] + "/scene.glb").toStdString()) : std::string();
    };
    bakeFast(0);
    const std::string first = copy();
    EXPECT_FALSE(first.empty());
    bakeFast(1);
    const std::string second = copy();
    EXPECT_FALSE(second == first);
    EXPECT_TRUE(second == savedBytes());
    EXPECT_EQ(copy(), "") << "it is saved";
}
