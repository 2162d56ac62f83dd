// SPDX-License-Identifier: LGPL-2.1-or-later
// Brings back what was baked and not saved when a process was killed; the command line of ktstudio.
#include "ktPreferences.h"
#include "ktStudioFixture.h"

#include <gmock/gmock.h>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QtTest>

using StudioRecovery = ktStudioFixture;

namespace {

const char* const victimScene = "KT_STUDIO_VICTIM_SCENE";

QDir recoveryFolder() {
    return QDir(ktPreferences::getPreferencesDir() + "recovery");
}

QStringList copies() {
    return recoveryFolder().entryList(QDir::Dirs | QDir::NoDotAndDotDot);
}

} // namespace

TEST_F(StudioRecovery, GivenUnsavedBake_KeepsACopyUntilItIsSavedOrUndone) {
    recoveryFolder().removeRecursively();
    open(writeBoxes());
    trigger("start");
    EXPECT_EQ(copies().size(), 1);
    EXPECT_TRUE(window->getServices().recovery.findAbandoned().empty()) << "this process lives";
    trigger("undo");
    EXPECT_EQ(copies().size(), 0);
    trigger("start");
    EXPECT_EQ(copies().size(), 1);
    savedBytes();
    EXPECT_EQ(copies().size(), 0);
}

// The process that the next test kills: bakes the scene of the variable and stays. Does nothing without it.
TEST_F(StudioRecovery, GivenVictimScene_BakesAndWaits) {
    const QByteArray scene = qgetenv(victimScene);
    if (scene.isEmpty())
        return;
    open(scene.toStdString());
    trigger("start");
    QTest::qWait(60000);
}

TEST_F(StudioRecovery, GivenKilledProcess_OffersAndOpensItsCopy) {
    recoveryFolder().removeRecursively();
    const std::string scene = writeBoxes();
    open(scene);
    trigger("start");
    const std::string baked = savedBytes();

    QProcess victim;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(victimScene, QString::fromStdString(scene));
    victim.setProcessEnvironment(environment);
    victim.start(QCoreApplication::applicationFilePath(),
                 {"--gtest_filter=StudioRecovery.GivenVictimScene_BakesAndWaits"});
    EXPECT_TRUE(waitFor([] {
        return copies().size() == 1 && QFile::exists(recoveryFolder().filePath(copies().front()) + "/copy.ini");
    }));
    EXPECT_TRUE(window->getServices().recovery.findAbandoned().empty()) << "the process lives";
    victim.kill();
    EXPECT_TRUE(victim.waitForFinished());

    window->begin();
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("boxes.gltf was baked"));
    pressInMessage("Open the copy");
    EXPECT_EQ(window->getDocument().getPath().toStdString(), scene);
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_TRUE(savedBytes() == baked);
    EXPECT_EQ(copies().size(), 0);
}

TEST(StudioCommandLine, GivenHelpOrWrongUnit_NeedsNoWindow) {
    const auto run = [](const QStringList& arguments) {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("ASAN_OPTIONS", "detect_leaks=0"); // Qt's offscreen platform leaks its screen
        process.setProcessEnvironment(environment);
        process.start(KT_STUDIO, arguments);
        EXPECT_TRUE(process.waitForFinished());
        return std::make_pair(process.exitCode(), process.readAll().toStdString());
    };
    const auto help = run({"--help"});
    EXPECT_EQ(help.first, 0);
    EXPECT_THAT(help.second, testing::HasSubstr("--unit"));
    const auto unit = run({"--unit", "parsec", "scene.glb"});
    EXPECT_EQ(unit.first, 2);
    EXPECT_THAT(unit.second, testing::HasSubstr("parsec"));
}
